#include "tally.hpp"

#include <algorithm>
#include <cstdio>

namespace vqs {
namespace {

using Json = nlohmann::ordered_json;

struct ReasonWords {
  const char* name;
  const char* sentence;
};

// In the order of Reason.
constexpr std::array<ReasonWords, reasonCount> words{{
    {"accepted", "accepted"},
    {"too-short", "shorter than allowed"},
    {"too-long", "longer than allowed"},
    {"not-allowed", "equal to no allowed value and matched by no pattern"},
    {"forbidden", "with a forbidden pattern inside"},
    {"ill-formed", "not well-formed in their encoding"},
    {"undecided", "that could not be checked to the end"},
}};

std::string sizeText(double bytes) {
  const char* const units[] = {"bytes", "KB", "MB", "GB", "TB"};
  size_t unit = 0;
  for (; bytes >= 1000 && unit < 4; ++unit) bytes /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
  return text;
}

}  // namespace

const char* reasonName(Reason reason) {
  return words[static_cast<size_t>(reason)].name;
}

std::string builtinPattern(int row) {
  std::string text;
  // The built-in patterns are ASCII.
  for (const VQChar* at = validationPatterns[row]; *at; ++at) text += static_cast<char>(*at);
  return text;
}

void Tally::count(const Verdict& verdict) {
  ++records;
  ++byReason[static_cast<size_t>(verdict.reason)];
  if (verdict.reason == Reason::Forbidden && verdict.pattern >= 0) ++byPattern[verdict.pattern];
}

void Tally::add(const Tally& other) {
  records += other.records;
  bytes += other.bytes;
  for (size_t index = 0; index < reasonCount; ++index) byReason[index] += other.byReason[index];
  for (const auto& [row, count] : other.byPattern) byPattern[row] += count;
}

std::string summaryText(const Tally& tally, double seconds) {
  char line[160];
  std::snprintf(line, sizeof line, "%llu checked (%s in %.2f s): %llu accepted, %llu rejected\n",
                static_cast<unsigned long long>(tally.records),
                sizeText(static_cast<double>(tally.bytes)).c_str(), seconds,
                static_cast<unsigned long long>(tally.records - tally.rejected()),
                static_cast<unsigned long long>(tally.rejected()));
  std::string text = line;
  for (size_t index = 1; index < reasonCount; ++index) {
    if (!tally.byReason[index]) continue;
    std::snprintf(line, sizeof line, "%10llu %s\n", static_cast<unsigned long long>(tally.byReason[index]),
                  words[index].sentence);
    text += line;
  }
  return text;
}

Json summaryJson(const Tally& tally, double seconds) {
  uint64_t version[3] = {};
  uint64_t required[3] = {};
  vqStringGetVersion(nullptr, &version[0], &version[1], &version[2]);
  vqStringGetReqVersion(nullptr, &required[0], &required[1], &required[2]);
  const auto dotted = [](const uint64_t* parts) {
    return std::to_string(parts[0]) + "." + std::to_string(parts[1]) + "." + std::to_string(parts[2]);
  };
  Json reasons;
  for (size_t index = 1; index < reasonCount; ++index) reasons[words[index].name] = tally.byReason[index];
  Json patterns = Json::object();
  for (const auto& [row, count] : tally.byPattern) patterns[builtinPattern(row)] = count;
  return Json{{"summary", "vqs check"},
              {"runs", 1},
              {"records", tally.records},
              {"accepted", tally.records - tally.rejected()},
              {"rejected", tally.rejected()},
              {"reasons", reasons},
              {"forbidden", patterns},
              {"bytes", tally.bytes},
              {"seconds", seconds},
              {"versions",
               {{"vqs", Json::array({VQS_VERSION})},
                {"libvqstring", Json::array({dotted(version)})},
                {"kernel", Json::array({dotted(required)})}}}};
}

void addSummary(Json& total, const Json& other) {
  if (total.is_null()) {
    total = other;
    return;
  }
  for (const auto& [name, value] : other.items()) {
    Json& mine = total[name];
    if (mine.is_null()) {
      mine = value;
    } else if (value.is_number() && mine.is_number()) {
      if (value.is_number_float() || mine.is_number_float())
        mine = mine.get<double>() + value.get<double>();
      else
        mine = mine.get<uint64_t>() + value.get<uint64_t>();
    } else if (value.is_object() && mine.is_object()) {
      addSummary(mine, value);
    } else if (value.is_array() && mine.is_array()) {
      for (const Json& item : value)
        if (std::ranges::find(mine, item) == mine.end()) mine.push_back(item);
    } else if (mine != value) {
      throw UsageFailure("\"" + name + "\" is not the same kind of thing in all summaries");
    }
  }
}

}  // namespace vqs
