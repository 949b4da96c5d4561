// How the answer for one record is written: a line for people, a row of a table, or a JSON object.
#pragma once

#include <string>
#include <string_view>

#include "record_source.hpp"
#include "validator.hpp"

namespace vqs {

enum class Format { Text, Tsv, Json };

// Everything that a line about one record tells.
struct Finding {
  const std::string& file;
  const Record& record;
  const Verdict& verdict;
  // In UTF-8; the raw bytes of an ill-formed record.
  std::string_view text;
};

class Reporter {
 public:
  Reporter(Session& session, Format format, const ConstraintOptions& options, const VQHostEncoding& encoding);

  // The first line of a table, or nothing.
  std::string_view heading() const;
  void append(std::string& target, const Finding& finding) const;

 private:
  std::string detail(const Finding& finding) const;
  void appendText(std::string& target, const Finding& finding) const;
  void appendTsv(std::string& target, const Finding& finding) const;
  void appendJson(std::string& target, const Finding& finding) const;

  Session& session_;
  const Format format_;
  const ConstraintOptions& options_;
  const VQHostEncoding& encoding_;
};

}  // namespace vqs
