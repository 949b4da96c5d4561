// What `vqs check` asks of a value: bounds, allowed values, patterns, the built-in patterns. Told on the
// command line, turned into the constraint instance that the service reads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "session.hpp"

namespace vqs {

// What the lengths count, and which kind of string a value is made into.
enum class Unit { Characters, Bytes };

struct ConstraintOptions {
  std::optional<uint64_t> minLength;
  std::optional<uint64_t> maxLength;
  // UTF-8, as the command line gives it.
  std::vector<std::string> values;
  std::vector<std::string> patterns;
  std::vector<std::string> valueFiles;
  std::vector<std::string> patternFiles;
  bool hasBuiltin = true;
  Unit unit = Unit::Characters;

  bool hasLists() const {
    return !values.empty() || !patterns.empty() || !valueFiles.empty() || !patternFiles.empty();
  }
};

// The values and patterns as string instances of the kind that `unit` asks for, in `pool`.
class Constraint {
 public:
  // UsageFailure for a pattern that does not compile, a text that is no UTF-8, bounds that let nothing
  // through; InputOutputFailure for a file that cannot be read.
  Constraint(Session& session, VQPool* pool, const ConstraintOptions& options);

  // Null when there is nothing to ask but the built-in patterns.
  VQInstance* instance() const { return constraint_.get(); }
  const std::vector<InstancePointer<VQInstance>>& values() const { return values_; }
  const std::vector<InstancePointer<VQInstance>>& patterns() const { return patterns_; }
  bool hasLists() const { return hasLists_; }

 private:
  InstancePointer<VQInstance> stringOf(const std::string& text, const std::string& what);
  void compile(const std::string& pattern, const std::string& where);
  void addFile(const std::string& path, bool isPatterns);
  void setArray(std::u32string_view name, const std::vector<InstancePointer<VQInstance>>& items);

  Session& session_;
  VQPool* pool_;
  Unit unit_;
  bool hasLists_;
  std::vector<InstancePointer<VQInstance>> values_;
  std::vector<InstancePointer<VQInstance>> patterns_;
  InstancePointer<VQInstance> constraint_;
};

}  // namespace vqs
