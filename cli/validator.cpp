#include "validator.hpp"

#include <algorithm>
#include <cstring>

namespace vqs {
namespace {

// Converts a whole text, giving the target more room as long as that is what fails.
template <class Buffer>
VQStatus convert(VQTranscoder* transcoder, const void* source, size_t byteCount, Buffer& target,
                 size_t& elementCount) {
  constexpr size_t elementBytes = sizeof(typename Buffer::value_type);
  while (true) {
    uint64_t written = 0;
    const VQStatus status = transcoder->transcoderConvert(transcoder, source, byteCount, target.data(),
                                                          target.size() * elementBytes, &written, 0);
    elementCount = written / elementBytes;
    if (status != VQSTATUS_TARGET_FULL) return status;
    target.resize(target.size() * 2 + 64);
  }
}

VQTranscoder* transcoderBetween(Session& session, uint32_t source, uint32_t target) {
  VQTranscoder* transcoder = session.nls()->nlsCreateTranscoder(session.nls(), source, target, 0, 0);
  if (!transcoder) throw InputOutputFailure("the host has no transcoder for the encoding");
  return transcoder;
}

}  // namespace

Validator::Validator(Session& session, VQPool* pool, const ConstraintOptions& options, uint32_t encoding)
    : kernel_(session.kernel()),
      service_(session.service()),
      pool_(pool),
      encoding_(encoding),
      unit_(options.unit),
      constraint_(session, pool, options),
      decoder_(encoding_ == ENC_WIDE ? nullptr : transcoderBetween(session, encoding_, ENC_WIDE)),
      toUtf8_(transcoderBetween(session, ENC_WIDE, ENC_UTF8)) {}

Validator::~Validator() {
  if (decoder_) decoder_->transcoderDestroy(decoder_);
  toUtf8_->transcoderDestroy(toUtf8_);
}

// Leaves the text in wide_, and says what is wrong with it.
VQStatus Validator::decodeWide(std::string_view bytes) {
  if (decoder_) {
    // Hardly any encoding makes more characters than bytes.
    if (wide_.size() < bytes.size()) wide_.resize(bytes.size());
    return convert(decoder_, bytes.data(), bytes.size(), wide_, wideLength_);
  }
  wideLength_ = bytes.size() / sizeof(VQChar);
  if (wide_.size() < wideLength_) wide_.resize(wideLength_);
  if (wideLength_) std::memcpy(wide_.data(), bytes.data(), wideLength_ * sizeof(VQChar));
  // Wide text is not judged by anything that only carries it; the way into UTF-8 is strict.
  if (utf8_.size() < bytes.size()) utf8_.resize(bytes.size());
  size_t ignored = 0;
  if (VQStatus status = convert(toUtf8_, wide_.data(), wideLength_ * sizeof(VQChar), utf8_, ignored))
    return status;
  return bytes.size() % sizeof(VQChar) ? VQSTATUS_SHORT_SEQUENCE : 0;
}

Verdict Validator::check(std::string_view bytes) {
  if (VQStatus status = decodeWide(bytes)) {
    Verdict verdict{.reason = Reason::IllFormed};
    verdict.status = status;
    verdict.faultAt = faultOf(bytes);
    return verdict;
  }
  if (unit_ == Unit::Bytes) {
    const std::string_view utf8 = textInUtf8(bytes);
    VQU8String string;
    service_->vqU8StringInitStatic(service_, &string, pool_, utf8.data(), static_cast<int64_t>(utf8.size()));
    return judge(&string.header, string.length);
  }
  VQString string;
  service_->vqStringInitStatic(service_, &string, pool_, wide_.data(), static_cast<int64_t>(wideLength_));
  return judge(&string.header, wideLength_);
}

std::string_view Validator::textInUtf8(std::string_view bytes) {
  if (encoding_ == ENC_UTF8) return bytes;
  size_t byteCount = 0;
  if (utf8_.size() < wideLength_) utf8_.resize(wideLength_);
  convert(toUtf8_, wide_.data(), wideLength_ * sizeof(VQChar), utf8_, byteCount);
  return std::string_view(utf8_).substr(0, byteCount);
}

// Where the first ill-formed sequence begins, which a converter tells and a transcoder does not.
uint64_t Validator::faultOf(std::string_view bytes) {
  VQHostConverter* converter = nullptr;
  if (vqhostConverterOpen(kernel_, encoding_, ENC_UTF8, &converter)) return 0;
  VQStatus status = VQSTATUS_TARGET_FULL;
  uint64_t consumed = 0;
  VQHostProgress progress{};
  if (utf8_.size() < bytes.size()) utf8_.resize(bytes.size() + 64);
  while (status == VQSTATUS_TARGET_FULL) {
    status = vqhostConverterPush(converter, bytes.data() + consumed, bytes.size() - consumed, 1, utf8_.data(),
                                 utf8_.size(), &progress);
    consumed += progress.consumed;
  }
  vqhostConverterClose(converter);
  return progress.offset;
}

Verdict Validator::judge(VQInstance* string, uint64_t length) {
  Verdict verdict;
  uint32_t answer = 0;
  verdict.length = length;
  verdict.status = string->instanceValidate(string, constraint_.instance(), &answer);
  if (verdict.status) {
    verdict.reason = Reason::Undecided;
  } else if (answer == VQSTATUS_VALIDATE_TOO_SHORT) {
    verdict.reason = Reason::TooShort;
  } else if (answer == VQSTATUS_VALIDATE_TOO_LONG) {
    verdict.reason = Reason::TooLong;
  } else if (answer == VQSTATUS_VALIDATE_REJECTED) {
    verdict.reason = isInLists(string) ? Reason::Forbidden : Reason::NotAllowed;
    if (verdict.reason == Reason::Forbidden) findForbidden(string, verdict);
  } else if (answer != 0) {
    verdict.reason = Reason::Undecided;
    verdict.status = answer;
  }
  return verdict;
}

// True as well when there are no lists: what is rejected then is rejected by the built-in patterns.
bool Validator::isInLists(VQInstance* string) {
  if (!constraint_.hasLists()) return true;
  const auto says = [string](auto operation, const InstancePointer<VQInstance>& item) {
    uint8_t answer = 0;
    return operation(string, item.get(), &answer) == 0 && answer == 1;
  };
  return std::ranges::any_of(
             constraint_.values(),
             [&](const auto& value) { return says(service_->vqStringInstanceEqual, value); }) ||
         std::ranges::any_of(constraint_.patterns(), [&](const auto& pattern) {
           return says(service_->vqStringInstanceMatch, pattern);
         });
}

// The first row in the service's order that is found; a row whose search fails counts as not found there too.
void Validator::findForbidden(VQInstance* string, Verdict& verdict) {
  for (uint32_t row = 0; row < numValidationPatterns; ++row) {
    VQString pattern;
    service_->vqStringInitStatic(service_, &pattern, pool_, validationPatterns[row], -1);
    VQRegex* regex = nullptr;
    if (service_->vqStringInstanceCreateRegex(&pattern.header, 0, &regex)) continue;
    const InstancePointer<VQRegex> held(regex);
    VQRegexMatch match{-1, 0};
    if (service_->vqStringInstanceFindNext(regex, string, &match) || match.start < 0) continue;
    verdict.pattern = static_cast<int>(row);
    verdict.foundAt = match.start;
    return;
  }
}

}  // namespace vqs
