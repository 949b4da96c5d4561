#include "text_argument.hpp"

namespace vqs {
namespace {

constexpr char32_t lastCodePoint = 0x10FFFF;

// The value of {HEX} at `at`, which ends up behind the closing brace; above the last code point when it is
// none.
char32_t bracedHex(const std::u32string& text, size_t& at) {
  const size_t end = text.find(U'}', at);
  if (at >= text.size() || text[at] != U'{' || end == std::u32string::npos || end == at + 1)
    return lastCodePoint + 1;
  char32_t value = 0;
  for (++at; at < end && value <= lastCodePoint; ++at) {
    const char32_t digit = text[at] | 0x20;
    if (text[at] >= U'0' && text[at] <= U'9')
      value = value * 16 + text[at] - U'0';
    else if (digit >= U'a' && digit <= U'f')
      value = value * 16 + digit - U'a' + 10;
    else
      return lastCodePoint + 1;
  }
  at = end + 1;
  return value;
}

std::u32string unescaped(const std::string& option, const std::u32string& text) {
  std::u32string result;
  for (size_t at = 0; at < text.size();) {
    if (text[at] != U'\\') {
      result += text[at++];
      continue;
    }
    const char32_t letter = at + 1 < text.size() ? text[at + 1] : 0;
    at += 2;
    constexpr std::u32string_view letters = U"tnr0\\", meanings{U"\t\n\r\0\\", 5};
    const size_t index = letter == 0 ? letters.npos : letters.find(letter);
    char32_t meaning = lastCodePoint + 1;
    if (index != letters.npos) meaning = meanings[index];
    if (letter == U'u') meaning = bracedHex(text, at);
    if (meaning > lastCodePoint)
      throw UsageFailure(option + ": behind a backslash stands one of t n r 0 \\ or u{HEX}");
    result += meaning;
  }
  return result;
}

}  // namespace

std::u32string textArgument(Session& session, const std::string& option, const std::string& argument,
                            bool hasEscapes) {
  VQStringService* service = session.service();
  VQString string;
  service->vqStringInitStatic(service, &string, session.pool(), nullptr, 0);
  const VQStatus status =
      service->vqStringCopyText(&string, argument.data(), static_cast<int64_t>(argument.size()), ENC_UTF8);
  std::u32string text(string.text, static_cast<size_t>(string.length));
  service->vqStringDestroy(&string);
  if (status) throw UsageFailure(option + ": the text is not UTF-8");
  return hasEscapes ? unescaped(option, text) : text;
}

}  // namespace vqs
