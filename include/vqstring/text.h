/* Plain functions on bytes and wide text. */
#ifndef VQSTRING_TEXT_H
#define VQSTRING_TEXT_H

#include "base.h"

VQ_BEGIN_DECLS

/* Bytes in front of the first zero byte; 0 for null. */
VQ_API uint64_t mhStrLen(const char* text);
/* Elements in front of the first zero element; 0 for null. */
VQ_API uint64_t mhStrTLen(const VQChar* text);

VQ_END_DECLS

#endif
