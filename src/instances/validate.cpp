// Validation: a string against the declared properties of a constraint, and against the patterns that no text
// may contain. Two channels come back, the status of the check and the verdict on the text.
#include <cstring>

#include "frame/scopes.hpp"
#include "instances/kind_of.hpp"
#include "vqstring/encodings.h"
#include "vqstring/instances.h"
#include "vqstring/service.h"

// Rows 3 and 4 open a group that nothing closes. An engine that refuses them never finds them, and the table
// is no less right for it.
const VQChar* validationPatterns[] = {
    U"(?i)<script>", U"(?i)</script>", U"alert *(", U"prompt *(", U"(?i)javascript:", U"(?i)< */? *script *>",
};
uint32_t numValidationPatterns = sizeof(validationPatterns) / sizeof(*validationPatterns);

namespace vq {

namespace {

// The name of a declared property.
struct PropertyName {
  const VQChar* text;
  int64_t length;
};

constexpr PropertyName minLengthName = {U"minLength", 9};
constexpr PropertyName maxLengthName = {U"maxLength", 9};
constexpr PropertyName valuesName = {U"values", 6};
constexpr PropertyName patternsName = {U"patterns", 8};

// The declared properties, as they are asked for.
class Constraint {
 public:
  explicit Constraint(VQInstance* instance)
      : instance_(instance), record_(reinterpret_cast<const VQConstraint*>(instance)) {}

  // A bound on a length, signed or unsigned as the length is. A failure to get it counts as its absence.
  bool readBound(PropertyName name, int64_t* bound) const { return readNumber(name, 0, bound, nullptr); }
  bool readBound(PropertyName name, uint64_t* bound) const { return readNumber(name, 1, nullptr, bound); }

  // A list of instances; null when it is not declared.
  VQStatus readList(PropertyName name, VQStatus notArray, const VQArray** list) const {
    VQInstance* property = nullptr;
    *list = nullptr;
    if (record_->instanceFindProperty(instance_, name.text, name.length, &property) == 0) return 0;
    if (!isKindOf(property, "VQArray")) return notArray;
    *list = reinterpret_cast<const VQArray*>(property);
    return 0;
  }

 private:
  bool readNumber(PropertyName name, uint64_t kind, int64_t* signedValue, uint64_t* unsignedValue) const {
    uint8_t found = 0;
    const VQStatus status = record_->table->instanceGetNumberProperty(
        instance_, 0, 0, name.text, name.length, 0, kind, signedValue, unsignedValue, 0, 0, &found);
    return status == 0 && found == 1;
  }

  VQInstance* instance_;
  const VQConstraint* record_;
};

template <class Length>
uint32_t judgeLength(const Constraint& constraint, Length length) {
  Length bound = 0;
  if (constraint.readBound(minLengthName, &bound) && length < bound) return VQSTATUS_VALIDATE_TOO_SHORT;
  if (constraint.readBound(maxLengthName, &bound) && length > bound) return VQSTATUS_VALIDATE_TOO_LONG;
  return 0;
}

// Walks a list until `test` says yes of an item or fails.
template <class Test>
VQStatus findItem(const VQArray* list, VQInstance* string, Test test, bool* isFound) {
  if (list == nullptr) return 0;
  for (uint64_t i = 0; i < list->count && !*isFound; ++i) {
    uint8_t answer = 0;
    if (const VQStatus status = test(string, list->items[i], &answer); status != 0) return status;
    *isFound = answer != 0;
  }
  return 0;
}

// The lists are alternatives, the values first. Both are looked at before any item is.
VQStatus judgeLists(const Constraint& constraint, VQInstance* string, uint32_t* verdict) {
  const VQArray *values = nullptr, *patterns = nullptr;
  VQStatus status = constraint.readList(valuesName, VQSTATUS_VALUES_NOT_ARRAY, &values);
  if (status != 0) return status;
  status = constraint.readList(patternsName, VQSTATUS_PATTERNS_NOT_ARRAY, &patterns);
  if (status != 0) return status;
  if (values == nullptr && patterns == nullptr) return 0;
  bool isFound = false;
  status = findItem(values, string, vqStringInstanceEqual, &isFound);
  if (status == 0 && !isFound) status = findItem(patterns, string, vqStringInstanceMatch, &isFound);
  if (status == 0 && !isFound) *verdict = VQSTATUS_VALIDATE_REJECTED;
  return status;
}

// The wide form of a UTF-8 string, so that the rows of the table need not convert it one by one. Nothing when
// it cannot be had: each row then tries for itself, and fails or not as it does.
Reference<VQString> wideForm(VQInstance* string) {
  if (stringKindOf(string) != StringKind::u8) return {};
  const VQU8String* record = u8Record(string);
  VQString* wide = nullptr;
  const VQStatus status = vqStringEncode(record->service, &wide, record->pool, record->text,
                                         static_cast<int64_t>(record->length), ENC_UTF8);
  return Reference<VQString>(status == 0 ? wide : nullptr);
}

uint32_t judgeForbidden(VQInstance* string) {
  if (wideRecord(string)->service->noBuiltinPatterns != 0 || numValidationPatterns == 0) return 0;
  const Reference<VQString> wide = wideForm(string);
  VQInstance* subject = wide ? &wide->header : string;
  for (uint32_t i = 0; i < numValidationPatterns; ++i) {
    uint8_t isFound = 0;
    // A search that fails finds nothing, and the others go on.
    vqStringInstanceContainsVQText(subject, validationPatterns[i], &isFound);
    if (isFound != 0) return VQSTATUS_VALIDATE_REJECTED;
  }
  return 0;
}

}  // namespace

}  // namespace vq

using namespace vq;

VQStatus vqStringValidate(VQInstance* string, VQInstance* constraint, uint32_t* verdict) {
  uint32_t judgement = 0;
  if (constraint != nullptr) {
    const Constraint declared(constraint);
    judgement = isKindOf(string, "VQU8String") ? judgeLength(declared, u8Record(string)->length)
                                               : judgeLength(declared, wideRecord(string)->length);
    if (judgement == 0) {
      if (const VQStatus status = judgeLists(declared, string, &judgement); status != 0) return status;
    }
  }
  if (judgement == 0) judgement = judgeForbidden(string);
  *verdict = judgement;
  return 0;
}

VQStatus vqStringSetValidateOpt(VQStringService* service, uint32_t options) {
  service->noBuiltinPatterns = options & 1u;
  return 0;
}
