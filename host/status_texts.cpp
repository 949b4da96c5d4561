// The one table of messages, and what programs put over it.
#include "host/status_texts.hpp"

#include <algorithm>
#include <mutex>

#include "vqhost.h"

namespace vq::host {

namespace {

struct Message {
  VQStatus status;
  std::u32string_view text;
};

// By status, rising.
constexpr Message messages[] = {
    {0, U"Success"},
    {VQSTATUS_NO_MEMORY, U"Out of memory"},
    {VQSTATUS_BAD_ARGUMENT, U"An argument is out of bounds or of the wrong kind"},
    {VQSTATUS_UNSUPPORTED, U"The operation is not supported for this kind of object"},
    {VQSTATUS_NOT_AVAILABLE, U"There is no conversion into UTF-8, or no context for a message"},
    {VQSTATUS_RETRY_LARGER, U"The buffer is too small for the text"},
    {VQSTATUS_VALUE_TOO_LONG, U"The buffer is too small for the named value"},
    {VQSTATUS_NAME_NOT_FOUND, U"There is no value of that name"},
    {VQSTATUS_NO_CONVERTER, U"There is no conversion between the two encodings"},
    {VQSTATUS_TARGET_FULL, U"The target of the conversion is full"},
    {VQSTATUS_BAD_SEQUENCE, U"The text contains a sequence that its encoding does not allow"},
    {VQSTATUS_SHORT_SEQUENCE, U"The text ends inside a character"},
    {VQHOST_STATUS_PATTERN, U"The regular expression does not compile"},
    {VQHOST_STATUS_REGEX_TIME, U"The search took longer than its time limit"},
    {VQHOST_STATUS_REGEX_STACK, U"The search needed more memory than its limit"},
    {VQHOST_STATUS_NO_MATCH, U"There is no match to ask for"},
    {VQHOST_STATUS_REGEX_ENGINE, U"The regular-expression engine failed"},
    {VQHOST_STATUS_TEXT_TOO_LONG, U"The text is too long for a regular expression"},
    {VQHOST_STATUS_NO_ENCODING, U"There is no encoding of that name or number"},
    {VQHOST_STATUS_ICU, U"ICU refused a converter or a normaliser"},
    {VQHOST_STATUS_EXTENSION, U"The extension cannot be loaded"},
    {VQHOST_STATUS_EXTENSION_VERSION, U"The extension was built for another version of the kernel"},
    {VQHOST_STATUS_FORMAT, U"The format has a conversion that does not exist"},
    {VQHOST_STATUS_LOCALE, U"There is no locale of that name"},
    {VQHOST_STATUS_LOCALE_TEXT, U"The text is no number, date or time of the locale"},
    {VQHOST_STATUS_LOCALE_RANGE, U"The number is out of range"},
    {VQSTATUS_REGEX_KIND, U"The subject of the search is neither a wide nor a UTF-8 string"},
    {VQSTATUS_VALUES_NOT_ARRAY, U"The property \"values\" of the constraint is not an array"},
    {VQSTATUS_PATTERNS_NOT_ARRAY, U"The property \"patterns\" of the constraint is not an array"},
    {VQSTATUS_VALIDATE_REJECTED, U"The value is not an allowed one, or contains a forbidden pattern"},
    {VQSTATUS_VALIDATE_TOO_SHORT, U"The value is too short"},
    {VQSTATUS_VALIDATE_TOO_LONG, U"The value is too long"},
};

constexpr bool before(const Message& message, VQStatus status) {
  return message.status < status;
}
static_assert(std::is_sorted(std::begin(messages), std::end(messages),
                             [](const Message& a, const Message& b) { return a.status < b.status; }));

}  // namespace

std::u32string_view builtInStatusText(VQStatus status) {
  const Message* found = std::lower_bound(std::begin(messages), std::end(messages), status, before);
  return found != std::end(messages) && found->status == status ? found->text : std::u32string_view{};
}

void StatusTexts::set(const VQFormatContext* context, VQStatus status, std::u32string_view text) {
  const std::lock_guard hold(mutex_);
  texts_[Key(context, status)] = text;
  isUsed_.store(true, std::memory_order_release);
}

void StatusTexts::remove(const VQFormatContext* context, VQStatus status) {
  const std::lock_guard hold(mutex_);
  texts_.erase(Key(context, status));
}

void StatusTexts::removeAll(const VQFormatContext* context) {
  const std::lock_guard hold(mutex_);
  std::erase_if(texts_, [&](const auto& entry) { return entry.first.first == context; });
}

std::u32string_view StatusTexts::find(const VQFormatContext* context, VQStatus status) const {
  for (const VQFormatContext* owner : {context, static_cast<const VQFormatContext*>(nullptr)}) {
    if (const auto found = texts_.find(Key(owner, status)); found != texts_.end()) return found->second;
  }
  return builtInStatusText(status);
}

}  // namespace vq::host
