#include "constraint.hpp"

#include "record_source.hpp"
#include "utf8_front.hpp"

namespace vqs {
namespace {

VQStatus setNumber(VQInstance* constraint, std::u32string_view name, uint64_t value) {
  return vqhostConstraintSetUnsigned(constraint, name.data(), static_cast<int64_t>(name.size()), value);
}

void orFail(VQStatus status, Session& session) {
  if (status) throw InputOutputFailure("the constraint cannot be made: " + session.statusText(status));
}

}  // namespace

Constraint::Constraint(Session& session, VQPool* pool, const ConstraintOptions& options)
    : session_(session), pool_(pool), unit_(options.unit), hasLists_(options.hasLists()) {
  if (options.minLength && options.maxLength && *options.minLength > *options.maxLength)
    throw UsageFailure("--min-length " + std::to_string(*options.minLength) + " is above --max-length " +
                       std::to_string(*options.maxLength) + ": no value could pass");
  for (const std::string& value : options.values) values_.push_back(stringOf(value, "--value"));
  for (const std::string& pattern : options.patterns) compile(pattern, "--pattern");
  for (const std::string& path : options.valueFiles) addFile(path, false);
  for (const std::string& path : options.patternFiles) addFile(path, true);
  if (!options.minLength && !options.maxLength && !options.hasLists()) return;

  VQInstance* made = nullptr;
  orFail(vqhostCreateConstraint(session.kernel(), pool, &made), session);
  constraint_.reset(made);
  if (options.minLength) orFail(setNumber(made, U"minLength", *options.minLength), session);
  if (options.maxLength) orFail(setNumber(made, U"maxLength", *options.maxLength), session);
  // A file without lines still makes a list: an empty one, which nothing is in.
  if (!options.values.empty() || !options.valueFiles.empty()) setArray(U"values", values_);
  if (!options.patterns.empty() || !options.patternFiles.empty()) setArray(U"patterns", patterns_);
}

InstancePointer<VQInstance> Constraint::stringOf(const std::string& text, const std::string& what) {
  if (utf8FaultAt(text) != std::string_view::npos) throw UsageFailure(what + ": the text is not UTF-8");
  VQStringService* service = session_.service();
  const auto byteCount = static_cast<int64_t>(text.size());
  if (unit_ == Unit::Bytes) {
    VQU8String* string = nullptr;
    orFail(service->vqU8StringCreate(service, &string, pool_, text.data(), byteCount, 1), session_);
    return InstancePointer<VQInstance>(&string->header);
  }
  VQString* string = nullptr;
  orFail(service->vqStringEncode(service, &string, pool_, text.data(), byteCount, ENC_UTF8), session_);
  return InstancePointer<VQInstance>(&string->header);
}

void Constraint::compile(const std::string& pattern, const std::string& where) {
  InstancePointer<VQInstance> instance = stringOf(pattern, where);
  VQRegex* regex = nullptr;
  if (VQStatus status = session_.service()->vqStringInstanceCreateRegex(instance.get(), 0, &regex))
    throw UsageFailure(where + " \"" + pattern + "\" does not compile: " + session_.statusText(status));
  InstancePointer<VQRegex>{regex};
  patterns_.push_back(std::move(instance));
}

// One value or pattern a line, in UTF-8.
void Constraint::addFile(const std::string& path, bool isPatterns) {
  RecordFormat format;
  format.byteOrderMark = "\xef\xbb\xbf";
  RecordSource source({path}, format);
  for (RecordBlock block; source.next(block);) {
    RecordWalk walk(block, source.format());
    for (Record record; walk.next(record);) {
      const std::string text(record.bytes);
      const std::string where = path + ":" + std::to_string(record.line) + ":";
      if (isPatterns)
        compile(text, where);
      else
        values_.push_back(stringOf(text, where));
    }
  }
}

void Constraint::setArray(std::u32string_view name, const std::vector<InstancePointer<VQInstance>>& items) {
  std::vector<VQInstance*> plain;
  for (const auto& item : items) plain.push_back(item.get());
  VQInstance* array = nullptr;
  orFail(vqhostCreateArray(session_.kernel(), pool_, plain.data(), plain.size(), &array), session_);
  const InstancePointer<VQInstance> held(array);
  orFail(
      vqhostConstraintSetInstance(constraint_.get(), name.data(), static_cast<int64_t>(name.size()), array),
      session_);
}

}  // namespace vqs
