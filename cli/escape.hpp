// Text from anywhere, made safe to show: what could steer a terminal, hide or reorder other text, or stand
// for nothing at all is written as an escape. What is left is one line that reads as it stands.
//
//   \n \r \t \\        these characters
//   \u{202e}           a control, format, private-use or unassigned character, a line separator
//   \xff               a byte that is not part of well-formed UTF-8
#pragma once

#include <string>
#include <string_view>

namespace vqs {

// Appends `text`, bytes that should be UTF-8, in its safe form.
void appendEscapedUtf8(std::string& target, std::string_view text);
std::string escapedUtf8(std::string_view text);

// For a column of a tab-separated table: only tab, newline, carriage return, NUL and backslash are escaped;
// all other bytes go through.
void appendEscapedColumn(std::string& target, std::string_view text);

}  // namespace vqs
