// The kernel that the library runs under: the one variable of the library that start-up writes.
#pragma once

#include "vqstring/base.h"

VQ_BEGIN_DECLS

// Set by vqextent. Nothing tests it for null but the status front-ends: the host sets it first of all.
VQ_API extern VQKernel* Exported_VQHandle;

VQ_END_DECLS
