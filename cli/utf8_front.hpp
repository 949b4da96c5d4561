// One character at a time out of UTF-8 that may be broken, for messages: the place of a fault, the form to
// show. Texts as such are judged by the service.
#pragma once

#include <string_view>

namespace vqs {

struct Utf8Character {
  char32_t value;
  // 0: the front is not well-formed.
  size_t bytes;
};

// `text` must not be empty.
Utf8Character utf8Front(std::string_view text);

// Where the first ill-formed sequence begins; npos when there is none.
size_t utf8FaultAt(std::string_view text);

}  // namespace vqs
