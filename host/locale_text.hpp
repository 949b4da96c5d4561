// Between ICU's UTF-16 and the texts of a locale's operations.
#pragma once

#include <unicode/unistr.h>

#include "vqstring/base.h"

namespace vq::host {

// Puts a text behind `blanks` blanks into a buffer of VQChar or of UTF-8 bytes, `capacity` in its elements.
// VQSTATUS_RETRY_LARGER with the length needed when it does not fit; the buffer's contents are not defined
// then.
VQStatus deliver(const icu::UnicodeString& text, int64_t blanks, VQChar* buffer, int64_t capacity,
                 int64_t* length);
VQStatus deliver(const icu::UnicodeString& text, int64_t blanks, char* buffer, int64_t capacity,
                 int64_t* length);

// A UTF-8 text (-1: zero-terminated) without the blanks around it; what is ill-formed cannot be read later.
icu::UnicodeString fromUtf8(const char* text, int64_t byteCount);

}  // namespace vq::host
