// An engine searches one text after another for one pattern.
//
// The subject stays in its own encoding until the engine proper is needed: first the literals that a match
// must contain are looked for where the text lies. Then the text goes to UTF-16 in one pass, which also
// judges it: an ill-formed subject gives its status from the first search, whether or not the literals were
// there. Positions come back by walking the UTF-16 text on from the last one, so that many matches cost one
// walk together.
#include "host/regex_engine.hpp"

#include <cstdlib>
#include <utility>

#include "host/nls.hpp"
#include "utf/transcode.hpp"

namespace vq::host {

namespace {

// A block of UTF-16 that grows and is not kept when it is large.
class Units {
 public:
  ~Units() { std::free(data_); }
  Units() = default;
  Units(const Units&) = delete;
  Units& operator=(const Units&) = delete;

  bool reserve(size_t count) {
    if (count <= capacity_) return true;
    drop();
    data_ = static_cast<char16_t*>(std::malloc(count * sizeof(char16_t)));
    if (data_ == nullptr) return false;
    capacity_ = count;
    return true;
  }
  void dropIfLarge() {
    constexpr size_t kept = 16 * 1024;
    if (capacity_ > kept) drop();
  }
  char16_t* data() const { return data_; }
  size_t capacity() const { return capacity_; }

 private:
  void drop() {
    std::free(data_);
    data_ = nullptr;
    capacity_ = 0;
  }
  char16_t* data_ = nullptr;
  size_t capacity_ = 0;
};

struct Engine : VQRegexEngine {
  Engine(std::shared_ptr<const Pattern> compiled);
  ~Engine() { dropMatcher(); }
  static Engine& of(VQRegexEngine* engine) { return *static_cast<Engine*>(engine); }

  VQStatus setText(const void* text, uint64_t byteCount);
  VQStatus find(uint8_t* found);
  VQStatus findNext(uint8_t* found);
  VQStatus matchStart(int32_t* offset);
  VQStatus matchEnd(int32_t* offset);

  // Before the engine waits for its next use.
  void rest() {
    state_ = Text::none;
    units_.dropIfLarge();
  }

  void dropMatcher() {
    if (matcher_ != nullptr) uregex_close(matcher_);
    matcher_ = nullptr;
  }

  const std::shared_ptr<const Pattern> pattern;
  // Set while the engine is in use.
  Kernel* kernel = nullptr;

 private:
  enum class Text : uint8_t { none, fresh, withoutMatch, converted };

  bool isWide() const { return pattern->encoding() == ENC_WIDE; }
  bool passesLiterals(bool& isPlain) const;
  VQStatus convert();
  VQStatus prepareMatcher();
  VQStatus search(bool isFirst, uint8_t* found);
  int32_t byteOffset(int64_t unit);

  URegularExpression* matcher_ = nullptr;
  const void* text_ = nullptr;
  uint64_t byteCount_ = 0;
  Units units_;
  size_t unitCount_ = 0;
  Text state_ = Text::none;
  bool hasMatch_ = false;
  // A match in units, and a place that is known both ways.
  int64_t start_ = 0;
  int64_t end_ = 0;
  int64_t knownUnit_ = 0;
  int64_t knownByte_ = 0;
};

// The engines of one thread that wait for their next use, one a pattern. The slots hold patterns beyond the
// end of their kernel, until others take the place or the thread ends.
class ThreadSlots {
 public:
  struct Slot {
    uint64_t cacheId = 0;
    std::shared_ptr<const Pattern> pattern;
    std::unique_ptr<Engine> idle;
  };

  // Null once the thread is ending.
  static ThreadSlots* mine() noexcept {
    if (current_ != nullptr) return current_;
    return isOver_ ? nullptr : create();
  }

  Slot& at(uint64_t hash) { return slots_[hash % slotCount]; }

 private:
  // Several times the patterns that a program searches at once; a clash costs a look into the shared cache.
  static constexpr size_t slotCount = 128;

  struct Owner {
    std::unique_ptr<ThreadSlots> slots;
    ~Owner() {
      current_ = nullptr;
      isOver_ = true;
    }
  };
  static ThreadSlots* create() noexcept {
    thread_local Owner owner;
    try {
      owner.slots = std::make_unique<ThreadSlots>();
    } catch (...) {
      return nullptr;
    }
    return current_ = owner.slots.get();
  }

  static inline thread_local constinit ThreadSlots* current_ = nullptr;
  static inline thread_local constinit bool isOver_ = false;

  Slot slots_[slotCount];
};

VQStatus statusOf(UErrorCode error) {
  switch (error) {
    case U_REGEX_TIME_OUT:
      return VQHOST_STATUS_REGEX_TIME;
    case U_REGEX_STACK_OVERFLOW:
      return VQHOST_STATUS_REGEX_STACK;
    case U_MEMORY_ALLOCATION_ERROR:
      return VQSTATUS_NO_MEMORY;
    default:
      return VQHOST_STATUS_REGEX_ENGINE;
  }
}

void destroyEngine(VQRegexEngine* handle) noexcept {
  Engine& engine = Engine::of(handle);
  std::exchange(engine.kernel, nullptr)->liveObjects.add(-1);
  engine.rest();
  // Back into the slot of the thread that destroys it, if that is still the pattern's.
  if (ThreadSlots* slots = ThreadSlots::mine()) {
    ThreadSlots::Slot& slot = slots->at(engine.pattern->hash());
    if (slot.pattern == engine.pattern && slot.idle == nullptr) {
      slot.idle.reset(&engine);
      return;
    }
  }
  delete &engine;
}

VQStatus setText(VQRegexEngine* engine, const void* text, uint64_t byteCount) noexcept {
  return Engine::of(engine).setText(text, byteCount);
}
VQStatus find(VQRegexEngine* engine, uint64_t, uint8_t* found) noexcept {
  return Engine::of(engine).find(found);
}
VQStatus findNext(VQRegexEngine* engine, uint8_t* found) noexcept {
  return Engine::of(engine).findNext(found);
}
VQStatus matchStart(VQRegexEngine* engine, uint64_t, int32_t* offset) noexcept {
  return Engine::of(engine).matchStart(offset);
}
VQStatus matchEnd(VQRegexEngine* engine, uint64_t, int32_t* offset) noexcept {
  return Engine::of(engine).matchEnd(offset);
}

Engine::Engine(std::shared_ptr<const Pattern> compiled)
    : VQRegexEngine{destroyEngine,  host::setText,    host::find,
                    host::findNext, host::matchStart, host::matchEnd},
      pattern(std::move(compiled)) {}

VQStatus Engine::setText(const void* text, uint64_t byteCount) {
  state_ = Text::none;
  hasMatch_ = false;
  // Offsets are 32-bit numbers of bytes.
  if (byteCount > INT32_MAX) return VQHOST_STATUS_TEXT_TOO_LONG;
  text_ = text;
  byteCount_ = byteCount;
  state_ = Text::fresh;
  return 0;
}

bool Engine::passesLiterals(bool& isPlain) const {
  isPlain = false;
  for (const RequiredLiteral& literal : pattern->literals()) {
    const ScanAnswer answer =
        isWide() ? scanFor(literal, {static_cast<const VQChar*>(text_), byteCount_ / sizeof(VQChar)})
                 : scanFor(literal, {static_cast<const uint8_t*>(text_), byteCount_});
    if (!answer.mayMatch) {
      isPlain = answer.isPlain;
      return false;
    }
  }
  return true;
}

VQStatus Engine::convert() {
  transcode::Result result{};
  if (isWide()) {
    const auto* text = static_cast<const VQChar*>(text_);
    const size_t elements = byteCount_ / sizeof(VQChar);
    if (!units_.reserve(elements)) return VQSTATUS_NO_MEMORY;
    result = transcode::wideToUtf16(text, elements, units_.data(), units_.capacity());
    // Supplementary characters take two units each.
    if (result.status == VQSTATUS_TARGET_FULL) {
      if (!units_.reserve(2 * elements)) return VQSTATUS_NO_MEMORY;
      result = transcode::wideToUtf16(text, elements, units_.data(), units_.capacity());
    }
    if (result.status == 0 && byteCount_ % sizeof(VQChar) != 0) return VQSTATUS_SHORT_SEQUENCE;
  } else {
    if (!units_.reserve(byteCount_)) return VQSTATUS_NO_MEMORY;
    result = transcode::utf8ToUtf16(static_cast<const uint8_t*>(text_), byteCount_, units_.data(),
                                    units_.capacity());
  }
  unitCount_ = result.written;
  return result.status;
}

VQStatus Engine::prepareMatcher() {
  UErrorCode error = U_ZERO_ERROR;
  if (matcher_ == nullptr) {
    matcher_ = pattern->createMatcher();
    if (matcher_ == nullptr) return VQSTATUS_NO_MEMORY;
    uregex_setTimeLimit(matcher_, static_cast<int32_t>(kernel->settings.regexTimeLimit), &error);
    uregex_setStackLimit(matcher_, static_cast<int32_t>(kernel->settings.regexStackLimit), &error);
  }
  // ICU keeps the pointer, also to no text at all.
  static constexpr char16_t nothing[] = u"";
  uregex_setText(matcher_, units_.data() != nullptr ? units_.data() : nothing,
                 static_cast<int32_t>(unitCount_), &error);
  return U_SUCCESS(error) ? 0 : statusOf(error);
}

VQStatus Engine::find(uint8_t* found) {
  hasMatch_ = false;
  *found = 0;
  if (state_ == Text::none) return VQSTATUS_BAD_ARGUMENT;
  if (state_ == Text::withoutMatch) return 0;
  if (state_ == Text::fresh) {
    bool isPlain = false;
    const bool mayMatch = passesLiterals(isPlain);
    if (!mayMatch && isPlain && (!isWide() || byteCount_ % sizeof(VQChar) == 0)) {
      state_ = Text::withoutMatch;
      return 0;
    }
    // Converting judges the text, also where nothing can match.
    if (const VQStatus status = convert(); status != 0) return status;
    if (!mayMatch) {
      state_ = Text::withoutMatch;
      return 0;
    }
    if (const VQStatus status = prepareMatcher(); status != 0) return status;
    state_ = Text::converted;
  }
  knownUnit_ = 0;
  knownByte_ = 0;
  return search(true, found);
}

VQStatus Engine::findNext(uint8_t* found) {
  *found = 0;
  if (state_ == Text::fresh) return find(found);
  hasMatch_ = false;
  if (state_ == Text::none) return VQSTATUS_BAD_ARGUMENT;
  return state_ == Text::withoutMatch ? 0 : search(false, found);
}

VQStatus Engine::search(bool isFirst, uint8_t* found) {
  UErrorCode error = U_ZERO_ERROR;
  const bool isFound =
      isFirst ? uregex_find64(matcher_, 0, &error) != 0 : uregex_findNext(matcher_, &error) != 0;
  if (isFound && U_SUCCESS(error)) {
    start_ = uregex_start64(matcher_, 0, &error);
    end_ = uregex_end64(matcher_, 0, &error);
  }
  if (U_FAILURE(error)) {
    // A search that was broken off has grown its stack to the limit.
    dropMatcher();
    state_ = Text::fresh;
    return statusOf(error);
  }
  hasMatch_ = isFound;
  *found = isFound ? 1 : 0;
  return 0;
}

int32_t Engine::byteOffset(int64_t unit) {
  if (unit < knownUnit_) {
    knownUnit_ = 0;
    knownByte_ = 0;
  }
  const char16_t* from = units_.data() + knownUnit_;
  const auto count = static_cast<size_t>(unit - knownUnit_);
  const size_t bytes = isWide() ? transcode::wideLengthOfUtf16(from, count) * sizeof(VQChar)
                                : transcode::utf8LengthOfUtf16(from, count);
  knownUnit_ = unit;
  knownByte_ += static_cast<int64_t>(bytes);
  return static_cast<int32_t>(knownByte_);
}

VQStatus Engine::matchStart(int32_t* offset) {
  if (!hasMatch_) return VQHOST_STATUS_NO_MATCH;
  *offset = byteOffset(start_);
  return 0;
}

VQStatus Engine::matchEnd(int32_t* offset) {
  if (!hasMatch_) return VQHOST_STATUS_NO_MATCH;
  // From the start on, so that an end asked for first does not make the start a way back.
  byteOffset(start_);
  *offset = byteOffset(end_);
  return 0;
}

}  // namespace

VQStatus createRegexEngine(Kernel& kernel, uint32_t encoding, const void* pattern, uint64_t patternBytes,
                           VQRegexEngine** engine) {
  if (encoding != ENC_WIDE && encoding != ENC_UTF8) return VQSTATUS_BAD_ARGUMENT;
  if (encoding == ENC_WIDE && patternBytes % sizeof(VQChar) != 0) return VQSTATUS_SHORT_SEQUENCE;
  PatternCache& cache = kernel.nls->icu.patterns;
  const PatternKey key(encoding, pattern, patternBytes);
  ThreadSlots* slots = ThreadSlots::mine();
  ThreadSlots::Slot* slot = slots != nullptr ? &slots->at(key.hash) : nullptr;

  std::shared_ptr<const Pattern> found;
  if (slot != nullptr && slot->cacheId == cache.id() && slot->pattern->matches(key)) {
    if (const VQStatus status = slot->pattern->status(); status != 0) return status;
    if (Engine* idle = slot->idle.release()) {
      idle->kernel = &kernel;
      kernel.liveObjects.add(1);
      *engine = idle;
      return 0;
    }
    found = slot->pattern;
  } else {
    found = cache.find(key);
    if (slot != nullptr && !found->isTransient()) {
      slot->idle.reset();
      slot->pattern = found;
      slot->cacheId = cache.id();
    }
    if (found->status() != 0) return found->status();
  }
  auto made = std::make_unique<Engine>(std::move(found));
  made->kernel = &kernel;
  kernel.liveObjects.add(1);
  *engine = made.release();
  return 0;
}

}  // namespace vq::host
