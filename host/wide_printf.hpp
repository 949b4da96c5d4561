// printf over wide text. One pass over the format; nothing is allocated but for long doubles; the process's
// locale plays no part.
//
//   %d %i %u %o %x %X   int, or by hh h l ll j z t
//   %f %e %g %a         double, or long double by L; also in capitals
//   %c %lc              a code point, given as int
//   %s %hs              zero-terminated UTF-8 text
//   %ls %S              zero-terminated wide text
//   %p                  a pointer
//   %%                  the sign itself
//
// Flags (- + blank # 0), width and precision, each also by *, have their usual meanings; the width and the
// precision of a text count elements of the result. %n, positions (%1$d) and all other letters are
// ill-formed.
#pragma once

#include <cstdarg>

#include "vqstring/base.h"

namespace vq::host {

// Writes at most `capacity` elements. 0 with the elements written in `length`; VQSTATUS_RETRY_LARGER with the
// elements needed; VQHOST_STATUS_FORMAT for an ill-formed format, or the status of an ill-formed UTF-8 text,
// with `length` untouched.
VQStatus formatWide(const VQChar* format, uint64_t formatLength, VQChar* buffer, int64_t capacity,
                    int64_t* length, va_list list);

}  // namespace vq::host
