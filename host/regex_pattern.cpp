// Compilation by ICU, and the kernel's cache of the results.
#include "host/regex_pattern.hpp"

#include <atomic>
#include <cstring>

#include "utf/transcode.hpp"

namespace vq::host {

namespace {

__extension__ using DoubleWord = unsigned __int128;

// Both words of the product, folded into one.
uint64_t folded(uint64_t a, uint64_t b) noexcept {
  const DoubleWord product = static_cast<DoubleWord>(a) * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

// Patterns are short, and every making of an engine hashes one: sixteen bytes a step under keys of the step's
// own, so that no multiplication waits for the one before.
uint64_t hashOf(const char* bytes, size_t byteCount, uint64_t seed) noexcept {
  constexpr uint64_t firstStep = 0x9E3779B97F4A7C15;
  constexpr uint64_t secondStep = 0xD1B54A32D192ED03;
  uint64_t firstKey = seed ^ byteCount;
  uint64_t secondKey = ~firstKey;
  uint64_t sum = byteCount;
  uint64_t words[2];
  const auto addWords = [&] {
    firstKey += firstStep;
    secondKey += secondStep;
    sum += folded(words[0] ^ firstKey, words[1] ^ secondKey);
  };
  for (; byteCount >= sizeof(words); bytes += sizeof(words), byteCount -= sizeof(words)) {
    std::memcpy(words, bytes, sizeof(words));
    addWords();
  }
  if (byteCount != 0) {
    words[0] = words[1] = 0;
    std::memcpy(words, bytes, byteCount);
    addWords();
  }
  return folded(sum ^ firstStep, secondStep);
}

VQStatus toUtf16(uint32_t encoding, std::string_view bytes, std::u16string& out) {
  // No form has more units than UTF-8 has bytes, or wide text has half-elements.
  out.resize(encoding == ENC_UTF8 ? bytes.size() : bytes.size() / 2);
  transcode::Result result{};
  if (encoding == ENC_UTF8) {
    result = transcode::utf8ToUtf16(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), out.data(),
                                    out.size());
  } else {
    result = transcode::wideToUtf16(reinterpret_cast<const VQChar*>(bytes.data()),
                                    bytes.size() / sizeof(VQChar), out.data(), out.size());
  }
  out.resize(result.written);
  return result.status;
}

}  // namespace

PatternKey::PatternKey(uint32_t patternEncoding, const void* pattern, uint64_t byteCount) noexcept
    : encoding(patternEncoding),
      bytes(static_cast<const char*>(pattern), byteCount),
      hash(hashOf(bytes.data(), bytes.size(), patternEncoding)) {}

Pattern::Pattern(const PatternKey& key) : bytes_(key.bytes), hash_(key.hash), encoding_(key.encoding) {
  compile();
}

Pattern::~Pattern() {
  if (compiled_ != nullptr) uregex_close(compiled_);
}

void Pattern::compile() {
  std::u16string pattern;
  status_ = toUtf16(encoding_, bytes_, pattern);
  if (status_ != 0) return;
  // ICU refuses an empty pattern; an empty group is the same expression.
  if (pattern.empty()) pattern = u"(?:)";
  if (pattern.size() > INT32_MAX) {
    status_ = VQHOST_STATUS_TEXT_TOO_LONG;
    return;
  }
  UErrorCode error = U_ZERO_ERROR;
  UParseError where;
  // No flags: blanks in a pattern are literal.
  compiled_ = uregex_open(pattern.data(), static_cast<int32_t>(pattern.size()), 0, &where, &error);
  if (U_FAILURE(error)) {
    status_ = error == U_MEMORY_ALLOCATION_ERROR ? VQSTATUS_NO_MEMORY : VQHOST_STATUS_PATTERN;
    return;
  }
  literals_ = requiredLiterals(pattern);
}

URegularExpression* Pattern::createMatcher() const {
  UErrorCode error = U_ZERO_ERROR;
  URegularExpression* matcher = uregex_clone(compiled_, &error);
  return U_SUCCESS(error) ? matcher : nullptr;
}

PatternCache::PatternCache(size_t maxEntries)
    : maxEntries_(maxEntries), id_([] {
        static std::atomic<uint64_t> next{1};
        return next.fetch_add(1, std::memory_order_relaxed);
      }()) {}

std::shared_ptr<const Pattern> PatternCache::find(const PatternKey& key) {
  {
    const std::lock_guard hold(mutex_);
    if (const auto found = index_.find(key); found != index_.end()) {
      entries_.splice(entries_.begin(), entries_, found->second);
      return *found->second;
    }
  }
  // Compiling takes long, so two threads may do it for the same pattern; the later one takes the earlier's.
  auto compiled = std::make_shared<const Pattern>(key);
  if (compiled->isTransient()) return compiled;
  const std::lock_guard hold(mutex_);
  if (const auto found = index_.find(key); found != index_.end()) return *found->second;
  entries_.push_front(compiled);
  index_.emplace(compiled->key(), entries_.begin());
  if (entries_.size() > maxEntries_) {
    index_.erase(entries_.back()->key());
    entries_.pop_back();
  }
  return compiled;
}

size_t PatternCache::entryCount() const {
  const std::lock_guard hold(mutex_);
  return entries_.size();
}

}  // namespace vq::host
