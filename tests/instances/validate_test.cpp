// Validation: the order of the checks, the two channels, and the built-in patterns.
#include <algorithm>
#include <optional>
#include <thread>
#include <vector>

#include "instances/string_instances.hpp"
#include "support/fault_injector.hpp"

namespace {

using test::Held;

constexpr uint32_t untouched = 7;

struct Outcome {
  VQStatus status;
  uint32_t verdict;
  bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << std::hex << "status " << outcome.status << " verdict " << outcome.verdict;
}

Outcome validate(VQInstance* string, VQInstance* constraint) {
  uint32_t verdict = untouched;
  const VQStatus status = string->instanceValidate(string, constraint, &verdict);
  return {status, verdict};
}

constexpr Outcome valid = {0, 0};
constexpr Outcome rejected = {0, VQSTATUS_VALIDATE_REJECTED};
constexpr Outcome tooShort = {0, VQSTATUS_VALIDATE_TOO_SHORT};
constexpr Outcome tooLong = {0, VQSTATUS_VALIDATE_TOO_LONG};

// A list as a constraint may declare it: absent, an array, or something that is no array.
struct List {
  enum { absent, array, number } form = absent;
  std::vector<std::u32string> items = {};
};

struct Declared {
  std::optional<int64_t> minLength = {}, maxLength = {};
  List values = {}, patterns = {};
};

Held instanceOf(VQKernel* host, VQStringService* service, VQPool* pool, const List& list) {
  VQInstance* instance = nullptr;
  if (list.form == List::number) {
    EXPECT_EQ(vqhostCreateInt32(host, pool, 3, &instance), 0u);
    return Held(instance);
  }
  EXPECT_EQ(vqhostCreateArray(host, pool, nullptr, 0, &instance), 0u);
  for (size_t i = 0; i < list.items.size(); ++i) {
    // Both kinds of string among the items.
    const Held item = test::ofKind(i % 2 == 0, service, pool, list.items[i]);
    EXPECT_EQ(vqhostArrayAppend(instance, item.get()), 0u);
  }
  return Held(instance);
}

Held constraintOf(VQKernel* host, VQStringService* service, VQPool* pool, const Declared& declared) {
  VQInstance* constraint = nullptr;
  EXPECT_EQ(vqhostCreateConstraint(host, pool, &constraint), 0u);
  const auto setNumber = [&](const VQChar* name, std::optional<int64_t> number) {
    if (number) {
      EXPECT_EQ(vqhostConstraintSetSigned(constraint, name, -1, *number), 0u);
    }
  };
  setNumber(U"minLength", declared.minLength);
  setNumber(U"maxLength", declared.maxLength);
  const auto setList = [&](const VQChar* name, const List& list) {
    if (list.form == List::absent) return;
    const Held instance = instanceOf(host, service, pool, list);
    EXPECT_EQ(vqhostConstraintSetInstance(constraint, name, -1, instance.get()), 0u);
  };
  setList(U"values", declared.values);
  setList(U"patterns", declared.patterns);
  return Held(constraint);
}

class Validation : public test::HostTest {};

TEST_F(Validation, FirstCheckThatAppliesDecides) {
  const List red = {List::array, {U"red", U"grün"}};
  const List digits = {List::array, {U"x", U"[0-9]+"}};
  const List none = {List::array, {}};
  const List number = {List::number, {}};
  const List broken = {List::array, {U"x", U"(", U"red"}};
  const struct {
    std::u32string_view text;
    Declared declared;
    Outcome outcome;
  } cases[] = {
      {U"abc", {}, valid},
      {U"abc", {3, 3}, valid},
      {U"ab", {3, 5}, tooShort},
      {U"abcdef", {3, 5}, tooLong},
      {U"", {1, {}}, tooShort},
      // A length outside the bounds hides everything behind it.
      {U"ab", {3, 1}, tooShort},
      {U"abcd", {{}, 3, number}, tooLong},
      {U"red", {{}, {}, number}, {VQSTATUS_VALUES_NOT_ARRAY, untouched}},
      {U"red", {{}, {}, number, number}, {VQSTATUS_VALUES_NOT_ARRAY, untouched}},
      // A bad list of patterns counts even if a value would have been equal.
      {U"red", {{}, {}, red, number}, {VQSTATUS_PATTERNS_NOT_ARRAY, untouched}},
      {U"red", {{}, {}, red}, valid},
      {U"grün", {{}, {}, red}, valid},
      {U"blue", {{}, {}, red}, rejected},
      {U"red", {{}, {}, none}, rejected},
      {U"red", {{}, {}, {}, none}, rejected},
      {U"red", {{}, {}, none, none}, rejected},
      {U"42 ", {{}, {}, {}, digits}, valid},
      {U" 42", {{}, {}, {}, digits}, rejected},
      // Either list will do, the values come first.
      {U"42", {{}, {}, red, digits}, valid},
      {U"red", {{}, {}, red, broken}, valid},
      {U"blue", {{}, {}, red, broken}, {VQHOST_STATUS_PATTERN, untouched}},
      // Behind the lists the built-in patterns wait.
      {U"<script>", {{}, {}, {List::array, {U"<script>"}}}, rejected},
      {U"<script>", {{}, {}, {}, {List::array, {U"<"}}}, rejected},
  };
  for (const auto& row : cases) {
    const Held constraint = constraintOf(host(), service(), pool(), row.declared);
    for (const bool isWide : {true, false}) {
      // A letter of two bytes is the reader's trap in a bound: none stands in a row with bounds.
      const Held string = test::ofKind(isWide, service(), pool(), row.text);
      EXPECT_EQ(validate(string.get(), constraint.get()), row.outcome) << isWide << " row " << &row - cases;
    }
  }
}

TEST_F(Validation, LengthCountsElementsOfTheKind) {
  const Held constraint = constraintOf(host(), service(), pool(), {4, 5});
  EXPECT_EQ(validate(test::wide(service(), pool(), U"äöü").get(), constraint.get()), tooShort);
  EXPECT_EQ(validate(test::u8(service(), pool(), "äöü").get(), constraint.get()), tooLong);
}

// A constraint that tells the two ways to ask for a number apart, and answers oddly.
struct OddConstraint : VQConstraint {
  VQStatus status = 0;
  uint8_t found = 1;
  int64_t asSigned = 0;
  uint64_t asUnsigned = 0;

  OddConstraint() : VQConstraint{} {
    static constexpr VQConstraintTable operations = {
        [](VQInstance* self, uint64_t, uint64_t, const VQChar* name, int64_t length, uint64_t, uint64_t kind,
           int64_t* signedValue, uint64_t* unsignedValue, uint64_t, uint64_t, uint8_t* isFound) -> VQStatus {
          const auto* odd = reinterpret_cast<OddConstraint*>(self);
          if (std::u32string_view(name, static_cast<size_t>(length)) != U"maxLength") {
            *isFound = 0;
            return 0;
          }
          EXPECT_EQ(signedValue == nullptr, kind == 1);
          EXPECT_EQ(unsignedValue == nullptr, kind == 0);
          if (signedValue != nullptr) *signedValue = odd->asSigned;
          if (unsignedValue != nullptr) *unsignedValue = odd->asUnsigned;
          *isFound = odd->found;
          return odd->status;
        }};
    table = &operations;
    instanceFindProperty = [](VQInstance*, const VQChar*, int64_t, VQInstance**) -> uint8_t { return 0; };
  }
};

TEST_F(Validation, BoundsAreReadInTheSignOfTheLength) {
  const Held wide = test::wide(service(), pool(), U"abc");
  const Held bytes = test::u8(service(), pool(), "abc");
  OddConstraint odd;
  odd.asSigned = -1;
  odd.asUnsigned = UINT64_MAX;
  EXPECT_EQ(validate(wide.get(), &odd.header), tooLong);
  EXPECT_EQ(validate(bytes.get(), &odd.header), valid);
  odd.asUnsigned = 2;
  EXPECT_EQ(validate(bytes.get(), &odd.header), tooLong);
  odd.found = 2;
  EXPECT_EQ(validate(bytes.get(), &odd.header), valid) << "only exactly 1 is found";
  odd.found = 1;
  odd.status = 5;
  EXPECT_EQ(validate(wide.get(), &odd.header), valid) << "a failure is an absence";
}

TEST_F(Validation, ItemsThatCannotBeComparedEndIt) {
  VQInstance* number = nullptr;
  ASSERT_EQ(vqhostCreateInt32(host(), pool(), 3, &number), 0u);
  const Held item(number);
  for (const VQChar* name : {U"values", U"patterns"}) {
    const Held constraint = constraintOf(host(), service(), pool(), {});
    VQInstance* array = nullptr;
    ASSERT_EQ(vqhostCreateArray(host(), pool(), &number, 1, &array), 0u);
    const Held list(array);
    ASSERT_EQ(vqhostConstraintSetInstance(constraint.get(), name, -1, array), 0u);
    EXPECT_EQ(validate(test::wide(service(), pool(), U"a").get(), constraint.get()),
              (Outcome{VQSTATUS_BAD_ARGUMENT, untouched}));
  }
}

TEST_F(Validation, BuiltInPatterns) {
  const struct {
    std::u32string_view text;
    Outcome outcome;
  } cases[] = {
      {U"", valid},
      {U"a < script", valid},
      {U"x<SCRIPT>y", rejected},
      {U"</Script>", rejected},
      {U"<  / script  >", rejected},
      {U"JavaScript:", rejected},
      {U"é😀javascript:", rejected},
      {U"javascript", valid},
      // The rows for these two open a group that nothing closes, and no engine takes them.
      {U"alert(1)", valid},
      {U"prompt (1)", valid},
  };
  for (const auto& row : cases) {
    for (const bool isWide : {true, false}) {
      const Held string = test::ofKind(isWide, service(), pool(), row.text);
      EXPECT_EQ(validate(string.get(), nullptr), row.outcome) << isWide << " row " << &row - cases;
    }
  }
  // A text that is not UTF-8 cannot be searched, and what cannot be searched is not found.
  const Held broken = test::u8(service(), pool(), "<script>\xFF");
  EXPECT_EQ(validate(broken.get(), nullptr), valid);
}

TEST_F(Validation, OptionSwitchesBuiltInPatternsOff) {
  const Held string = test::u8(service(), pool(), "<script>");
  EXPECT_EQ(vqStringSetValidateOpt(service(), 3), 0u);
  EXPECT_EQ(service()->noBuiltinPatterns, 1);
  EXPECT_EQ(validate(string.get(), nullptr), valid);
  EXPECT_EQ(vqStringSetValidateOpt(service(), 2), 0u);
  EXPECT_EQ(validate(string.get(), nullptr), rejected);
}

TEST_F(Validation, TableOfPatternsIsWritable) {
  std::vector<const VQChar*> rows(validationPatterns, validationPatterns + 6);
  ASSERT_EQ(numValidationPatterns, 6u);
  const Held script = test::u8(service(), pool(), "<script> zebra");
  const Held zebra = test::wide(service(), pool(), U"zebra");
  numValidationPatterns = 0;
  EXPECT_EQ(validate(script.get(), nullptr), valid);
  validationPatterns[0] = U"zebra";
  numValidationPatterns = 1;
  EXPECT_EQ(validate(zebra.get(), nullptr), rejected);
  std::copy(rows.begin(), rows.end(), validationPatterns);
  numValidationPatterns = 6;
}

class ValidationFaults : public test::FaultTest {};

TEST_F(ValidationFaults, FailedRowsDoNotHideTheOthers) {
  // Two rows know this text, so that one failure cannot save it, whichever it is.
  for (const bool isWide : {true, false}) {
    const Held script = test::ofKind(isWide, service(), faultyPool(), U"é<script>");
    const Held benign = test::ofKind(isWide, service(), faultyPool(), U"é");
    const auto check = [](const Outcome& expected) {
      return [&](const Outcome& outcome, const test::Fault&) { EXPECT_EQ(outcome, expected); };
    };
    EXPECT_EQ(forEveryFault([&] { return validate(script.get(), nullptr); }, check(rejected)), rejected);
    EXPECT_EQ(forEveryFault([&] { return validate(benign.get(), nullptr); }, check(valid)), valid);
  }
}

TEST_F(ValidationFaults, FailedItemsReachTheCaller) {
  vqStringSetValidateOpt(service(), 1);
  const Held string = test::u8(service(), faultyPool(), "42");
  const Held constraint = constraintOf(host(), service(), faultyPool(),
                                       {{}, {}, {List::array, {U"a", U"b"}}, {List::array, {U"x", U"4"}}});
  const Outcome last = forEveryFault([&] { return validate(string.get(), constraint.get()); },
                                     [](const Outcome& outcome, const test::Fault&) {
                                       EXPECT_NE(outcome.status, 0u);
                                       EXPECT_EQ(outcome.verdict, untouched);
                                     });
  EXPECT_EQ(last, valid);
}

class ValidationThreads : public test::HostTest {};

// The first regular expression of the service is everybody's.
TEST_F(ValidationThreads, OneServiceForAll) {
  const Held constraint =
      constraintOf(host(), service(), pool(), {1, 40, {}, {List::array, {U"[a-z]+", U"[0-9]"}}});
  const auto work = [&](bool isWide) {
    for (int i = 0; i < 25; ++i) {
      const Held good = test::ofKind(isWide, service(), service()->pool, U"grün");
      const Held bad = test::ofKind(isWide, service(), service()->pool, U"1 <script>");
      const Held other = test::ofKind(!isWide, service(), service()->pool, U"grün");
      EXPECT_EQ(validate(good.get(), constraint.get()), valid);
      EXPECT_EQ(validate(bad.get(), constraint.get()), rejected);
      uint8_t isEqual = 0;
      EXPECT_EQ(vqStringInstanceEqual(good.get(), other.get(), &isEqual), 0u);
      EXPECT_EQ(isEqual, 1);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back(work, i % 2 == 0);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
