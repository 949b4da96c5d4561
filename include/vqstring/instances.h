/* What the library does with instances as such: regular expressions, equality, validation, rendering. */
#ifndef VQSTRING_INSTANCES_H
#define VQSTRING_INSTANCES_H

#include "base.h"
#include "instance.h"

VQ_BEGIN_DECLS

VQ_END_DECLS

#endif
