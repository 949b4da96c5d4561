#include "encoding_option.hpp"

#include "command.hpp"

namespace vqs {

const VQHostEncoding* encodingNamed(const std::string& option, const std::string& name) {
  if (const VQHostEncoding* encoding = vqhostFindEncoding(name.c_str())) return encoding;
  throw UsageFailure(option + ": no encoding is called \"" + name + "\"; vqs encodings lists them all");
}

}  // namespace vqs
