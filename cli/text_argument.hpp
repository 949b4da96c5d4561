// Text given as an argument: UTF-8 from the command line, wide text for the service.
#pragma once

#include <string>

#include "session.hpp"

namespace vqs {

// UsageFailure when the argument is not UTF-8. With `hasEscapes`, \t \n \r \0 \\ and \u{HEX} stand for one
// character each, as in what the tool prints; any other character behind a backslash is a UsageFailure.
// `option` is how the user gave the text, for the message.
std::u32string textArgument(Session& session, const std::string& option, const std::string& argument,
                            bool hasEscapes);

}  // namespace vqs
