// Conversion of whole texts between any two encodings.
//
// Ill-formed input, and a character that the target cannot express, give VQSTATUS_BAD_SEQUENCE; a source that
// ends inside a character gives VQSTATUS_SHORT_SEQUENCE. Nothing is ever replaced.
#pragma once

#include "host/kernel.hpp"

namespace vq::host {

// False for equal encodings: such a text passes as it stands and costs nothing.
bool conversionExists(uint32_t source, uint32_t target) noexcept;

// Null when there is no such conversion. Those between UTF-8 and wide text are immortal and shared: making
// and destroying one costs nothing.
VQTranscoder* makeTranscoder(Kernel& kernel, uint32_t source, uint32_t target) noexcept;

// The size of the converted text. Between UTF-8 and wide text the source is counted and not judged; the
// conversion then tells what is wrong with it.
VQStatus measureConversion(uint32_t source, const void* text, uint64_t byteCount, uint32_t target,
                           uint64_t* targetBytes) noexcept;

}  // namespace vq::host
