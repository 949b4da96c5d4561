// The record of national language support. Case and classes are ICU's; conversions are those of transcoders.
#include "host/nls.hpp"

#include <unicode/uchar.h>

#include <atomic>

#include "host/encodings.hpp"
#include "host/locale.hpp"
#include "host/transcoders.hpp"

namespace vq::host {

namespace {

uint8_t canConvert(VQNls*, uint32_t source, uint32_t target, uint64_t) noexcept {
  return conversionExists(source, target) ? 1 : 0;
}

VQStatus encodingInfo(VQNls*, uint32_t encoding, const VQEncodingInfo** info) noexcept {
  const VQEncodingInfo* found = encodingInfoOf(encoding);
  if (found == nullptr) return VQHOST_STATUS_NO_ENCODING;
  *info = found;
  return 0;
}

VQTranscoder* createTranscoder(VQNls* nls, uint32_t source, uint32_t target, uint64_t, uint64_t) noexcept {
  return makeTranscoder(Nls::of(nls).kernel, source, target);
}

VQTranscoder* createDecoder(VQNls* nls, uint32_t source, uint64_t, uint64_t) noexcept {
  return makeTranscoder(Nls::of(nls).kernel, source, ENC_WIDE);
}

VQTranscoder* createEncoder(VQNls* nls, uint32_t target, uint64_t, uint64_t) noexcept {
  return makeTranscoder(Nls::of(nls).kernel, ENC_WIDE, target);
}

VQStatus measure(VQNls*, uint32_t source, const void* text, uint64_t byteCount, uint32_t target,
                 uint64_t* targetBytes) noexcept {
  return measureConversion(source, text, byteCount, target, targetBytes);
}

// Values above U+10FFFF are carried, not judged: they have no case.
VQChar toUpper(VQNls* nls, VQChar c, uint64_t) noexcept {
  if (c < CaseAnswers::end) return Nls::of(nls).caseAnswers.upper[c];
  return c <= UCHAR_MAX_VALUE ? static_cast<VQChar>(u_toupper(static_cast<UChar32>(c))) : c;
}

VQChar toLower(VQNls* nls, VQChar c, uint64_t) noexcept {
  if (c < CaseAnswers::end) return Nls::of(nls).caseAnswers.lower[c];
  return c <= UCHAR_MAX_VALUE ? static_cast<VQChar>(u_tolower(static_cast<UChar32>(c))) : c;
}

// The order of the mask's bits, told by ICU's categories.
constexpr UCharCategory maskOrder[] = {U_UPPERCASE_LETTER,
                                       U_LOWERCASE_LETTER,
                                       U_TITLECASE_LETTER,
                                       U_NON_SPACING_MARK,
                                       U_COMBINING_SPACING_MARK,
                                       U_ENCLOSING_MARK,
                                       U_DECIMAL_DIGIT_NUMBER,
                                       U_LETTER_NUMBER,
                                       U_OTHER_NUMBER,
                                       U_SPACE_SEPARATOR,
                                       U_LINE_SEPARATOR,
                                       U_PARAGRAPH_SEPARATOR,
                                       U_CONTROL_CHAR,
                                       U_FORMAT_CHAR,
                                       U_SURROGATE,
                                       U_PRIVATE_USE_CHAR,
                                       U_UNASSIGNED,
                                       U_MODIFIER_LETTER,
                                       U_OTHER_LETTER,
                                       U_CONNECTOR_PUNCTUATION,
                                       U_DASH_PUNCTUATION,
                                       U_START_PUNCTUATION,
                                       U_END_PUNCTUATION,
                                       U_INITIAL_PUNCTUATION,
                                       U_FINAL_PUNCTUATION,
                                       U_OTHER_PUNCTUATION,
                                       U_MATH_SYMBOL,
                                       U_CURRENCY_SYMBOL,
                                       U_MODIFIER_SYMBOL,
                                       U_OTHER_SYMBOL};

struct CategoryBits {
  uint32_t bit[U_CHAR_CATEGORY_COUNT] = {};
  constexpr CategoryBits() {
    uint32_t next = 1;
    for (const UCharCategory category : maskOrder) {
      bit[category] = next;
      next <<= 1;
    }
  }
};
constexpr CategoryBits categoryBits;

// The last code point stands for all values above it: none of them is assigned.
uint32_t classify(VQNls*, VQChar c, uint32_t classMask) noexcept {
  const int category = u_charType(c <= UCHAR_MAX_VALUE ? static_cast<UChar32>(c) : UCHAR_MAX_VALUE);
  return (categoryBits.bit[category] & classMask) != 0 ? 1 : 0;
}

// ICU itself needs no start: the load only makes the access object visible, so racing loads agree.
VQStatus loadIcu(VQNls* nls, VQIcu** icu, uint64_t) noexcept {
  VQIcu* access = &Nls::of(nls).icu;
  std::atomic_ref(nls->nlsIcu).store(access, std::memory_order_release);
  *icu = access;
  return 0;
}

}  // namespace

CaseAnswers::CaseAnswers() {
  for (UChar32 c = 0; c < static_cast<UChar32>(end); ++c) {
    lower[static_cast<size_t>(c)] = static_cast<uint16_t>(u_tolower(c));
    upper[static_cast<size_t>(c)] = static_cast<uint16_t>(u_toupper(c));
  }
}

Nls::Nls(Kernel& owner) : VQNls{}, kernel(owner), icu(owner) {
  nlsMeasureConversion = measure;
  nlsCanConvert = canConvert;
  nlsEncodingInfo = encodingInfo;
  nlsCreateTranscoder = createTranscoder;
  nlsCreateDecoder = createDecoder;
  nlsCreateEncoder = createEncoder;
  nlsToUpper = toUpper;
  nlsToLower = toLower;
  nlsLoadICU = loadIcu;
  nlsClassify = classify;
  nlsIcu = nullptr;
  installLocale(*this);
}

Nls::~Nls() = default;

std::unique_ptr<Nls> createNls(Kernel& kernel) {
  return std::make_unique<Nls>(kernel);
}

}  // namespace vq::host
