#include "session.hpp"

#include <cstdio>

namespace vqs {
namespace {

std::string statusNumber(VQStatus status) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", status);
  return text;
}

// What a user of the tool is likely to meet, for a kernel that has no words of its own.
const char* plainWords(VQStatus status) {
  switch (status) {
    case VQSTATUS_NO_MEMORY:
      return "out of memory";
    case VQSTATUS_BAD_SEQUENCE:
      return "ill-formed text";
    case VQSTATUS_SHORT_SEQUENCE:
      return "text ends inside a character";
    case VQHOST_STATUS_PATTERN:
      return "not a regular expression";
    case VQHOST_STATUS_REGEX_TIME:
      return "the search took longer than --time-limit allows";
    case VQHOST_STATUS_REGEX_STACK:
      return "the search needed too much memory for backtracking";
    case VQHOST_STATUS_TEXT_TOO_LONG:
      return "too long for a regular expression";
    case VQHOST_STATUS_EXTENSION:
      return "its shared library was not found or does not start";
    default:
      return nullptr;
  }
}

}  // namespace

Session::~Session() {
  if (pool_) pool_->poolDestroy(pool_);
  if (service_) vqhostReleaseExtension(kernel_, service_);
  vqhostClose(kernel_);
}

VQKernel* Session::kernel() {
  if (!kernel_) {
    if (VQStatus status = vqhostOpen(&hostOptions, &kernel_))
      throw InputOutputFailure("the host does not open, status " + statusNumber(status));
  }
  return kernel_;
}

VQStringService* Session::service() {
  if (!service_) {
    if (VQStatus status = vqhostLoadStrings(kernel(), nullptr, &service_))
      throw InputOutputFailure("the string service does not start: " + statusText(status));
  }
  return service_;
}

VQPool* Session::pool() {
  if (!pool_) {
    if (VQStatus status = vqhostCreatePool(kernel(), "vqs", &pool_))
      throw InputOutputFailure("no memory pool: " + statusText(status));
  }
  return pool_;
}

namespace {

// The host formats the inserts of a message from a va_list; these messages have none.
VQStatus messageText(VQKernel* kernel, VQStatus status, VQChar* buffer, int64_t capacity, int64_t* length,
                     ...) {
  va_list list;
  va_start(list, length);
  VQFormatRecord record{};
  VQStatus result = kernel->kernelStatusBuff(kernel, &record, status, buffer, capacity, length, list);
  va_end(list);
  return result;
}

}  // namespace

std::string Session::statusText(VQStatus status) {
  VQChar wide[256];
  int64_t length = 0;
  if (kernel_ && messageText(kernel_, status, wide, 256, &length) == 0 && length > 0) {
    std::string text(static_cast<size_t>(length) * 4, '\0');
    VQTranscoder* transcoder = nls()->nlsCreateTranscoder(nls(), ENC_WIDE, ENC_UTF8, 0, 0);
    if (transcoder) {
      uint64_t bytes = 0;
      VQStatus failed =
          transcoder->transcoderConvert(transcoder, wide, static_cast<uint64_t>(length) * sizeof(VQChar),
                                        text.data(), text.size(), &bytes, 0);
      transcoder->transcoderDestroy(transcoder);
      if (!failed) {
        text.resize(bytes);
        return text + " (" + statusNumber(status) + ")";
      }
    }
  }
  if (const char* words = plainWords(status)) return std::string(words) + " (" + statusNumber(status) + ")";
  return "status " + statusNumber(status);
}

}  // namespace vqs
