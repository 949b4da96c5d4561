// An encoding, given by name on the command line.
#pragma once

#include <string>

#include "vqhost.h"

namespace vqs {

// UsageFailure with a hint when no encoding has the name. `option` is how the user gave it, for the message.
const VQHostEncoding* encodingNamed(const std::string& option, const std::string& name);

}  // namespace vqs
