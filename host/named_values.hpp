// The kernel's store of named values.
#pragma once

#include "host/kernel.hpp"

namespace vq::host {

// Sets kernelNameExists and kernelGetNameValue.
void installNamedValues(Kernel& kernel);

}  // namespace vq::host
