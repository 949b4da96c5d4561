/* Conversion between the kinds of string, and the escaped text forms. */
#ifndef VQSTRING_ENCODINGS_H
#define VQSTRING_ENCODINGS_H

#include "base.h"
#include "strings.h"

VQ_BEGIN_DECLS

VQ_END_DECLS

#endif
