// What a run of `vqs check` has counted: records and bytes by reason. Tallies add up, of blocks to a run and
// of runs to a total.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "validator.hpp"

namespace vqs {

// The name in tables and JSON, such as "too-short".
const char* reasonName(Reason reason);

// A row of the built-in patterns in UTF-8.
std::string builtinPattern(int row);

struct Tally {
  uint64_t records = 0;
  uint64_t bytes = 0;
  std::array<uint64_t, reasonCount> byReason{};
  // By row of the built-in patterns.
  std::map<int, uint64_t> byPattern;

  uint64_t rejected() const { return records - byReason[static_cast<size_t>(Reason::Accepted)]; }
  void count(const Verdict& verdict);
  void add(const Tally& other);
};

// A few lines for people.
std::string summaryText(const Tally& tally, double seconds);

// One JSON object. Numbers are sums, so that objects of several runs can be added, field by field.
nlohmann::ordered_json summaryJson(const Tally& tally, double seconds);

// Adds `other` to `total`: numbers are added, lists of versions joined. UsageFailure when one of them is no
// summary. An empty total becomes the other.
void addSummary(nlohmann::ordered_json& total, const nlohmann::ordered_json& other);

}  // namespace vqs
