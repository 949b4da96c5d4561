// A typed instance from the words of a command line.
#pragma once

#include <string>

#include "session.hpp"

namespace vqs {

// The types by name, one a line with what a value looks like.
extern const char* const typedValueHelp;

// UsageFailure when there is no such type, or the value is none of it. Numbers are plain decimals; dates and
// times are in the ISO 8601 form that the service itself writes.
InstancePointer<VQInstance> typedValue(Session& session, const std::string& type, const std::string& value);

}  // namespace vqs
