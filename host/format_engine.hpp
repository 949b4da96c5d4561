// The format engine: printf conversions over wide text, and the texts of statuses.
#pragma once

#include "host/kernel.hpp"

namespace vq::host {

// Sets kernelCapture, kernelFormatBuff, kernelRender, kernelRenderFmt and kernelStatusBuff.
void installFormatEngine(Kernel& kernel);

}  // namespace vq::host
