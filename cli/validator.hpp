// One value against one constraint, through the service, and the answer in terms that can be told to people.
//
// A value is a static string over borrowed memory, so a check makes no string object; UTF-8 input checked by
// bytes is not even copied. The service answers "rejected" for several reasons; which it was is found out
// afterwards by asking the same questions one by one, so only rejected values pay for it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "constraint.hpp"

namespace vqs {

enum class Reason { Accepted, TooShort, TooLong, NotAllowed, Forbidden, IllFormed, Undecided };
constexpr size_t reasonCount = 7;

struct Verdict {
  Reason reason = Reason::Accepted;
  // TooShort, TooLong: the length, in the unit of the check.
  uint64_t length = 0;
  // Forbidden: the row of the built-in patterns, or -1 when it could not be found again.
  int pattern = -1;
  // Forbidden: where it was found, in characters from 0.
  int64_t foundAt = 0;
  // IllFormed: the bytes before the first ill-formed sequence.
  uint64_t faultAt = 0;
  // IllFormed, Undecided: what the service said.
  VQStatus status = 0;
};

class Validator {
 public:
  // `pool` serves this validator alone. Failures are those of Constraint.
  Validator(Session& session, VQPool* pool, const ConstraintOptions& options, uint32_t encoding);
  ~Validator();
  Validator(const Validator&) = delete;
  Validator& operator=(const Validator&) = delete;

  Verdict check(std::string_view bytes);

  // The text in UTF-8 of the value that check() was called with last, unless it was ill-formed. Good until
  // the next check.
  std::string_view textInUtf8(std::string_view bytes);

 private:
  VQStatus decodeWide(std::string_view bytes);
  uint64_t faultOf(std::string_view bytes);
  Verdict judge(VQInstance* string, uint64_t length);
  bool isInLists(VQInstance* string);
  void findForbidden(VQInstance* string, Verdict& verdict);

  VQKernel* kernel_;
  VQStringService* service_;
  VQPool* pool_;
  const uint32_t encoding_;
  const Unit unit_;
  Constraint constraint_;
  // Null when the input already is wide text.
  VQTranscoder* decoder_;
  VQTranscoder* toUtf8_;
  // Both grow to the longest value and stay; the lengths are those of the last one.
  std::u32string wide_;
  size_t wideLength_ = 0;
  std::string utf8_;
};

}  // namespace vqs
