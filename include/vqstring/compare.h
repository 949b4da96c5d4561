/* Questions put to a string without changing it, and the walk over its tokens. */
#ifndef VQSTRING_COMPARE_H
#define VQSTRING_COMPARE_H

#include "base.h"
#include "strings.h"

VQ_BEGIN_DECLS

VQ_END_DECLS

#endif
