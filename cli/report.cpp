#include "report.hpp"

#include <nlohmann/json.hpp>

#include "escape.hpp"
#include "tally.hpp"

namespace vqs {
namespace {

// What a line for people shows of a long text; tables and JSON have it whole.
constexpr size_t shownBytes = 400;

std::string counted(uint64_t count, Unit unit) {
  std::string text = std::to_string(count);
  text += unit == Unit::Bytes ? " byte" : " character";
  return count == 1 ? text : text + "s";
}

// Shortens at a character's first byte.
std::string_view shortened(std::string_view text) {
  size_t end = shownBytes;
  while (end > shownBytes - 4 && (static_cast<uint8_t>(text[end]) & 0xc0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

Reporter::Reporter(Session& session, Format format, const ConstraintOptions& options,
                   const VQHostEncoding& encoding)
    : session_(session), format_(format), options_(options), encoding_(encoding) {}

std::string_view Reporter::heading() const {
  return format_ == Format::Tsv ? "file\tline\toffset\tverdict\treason\tdetail\ttext\n" : "";
}

void Reporter::append(std::string& target, const Finding& finding) const {
  switch (format_) {
    case Format::Text:
      return appendText(target, finding);
    case Format::Tsv:
      return appendTsv(target, finding);
    case Format::Json:
      return appendJson(target, finding);
  }
}

std::string Reporter::detail(const Finding& finding) const {
  const Verdict& verdict = finding.verdict;
  switch (verdict.reason) {
    case Reason::Accepted:
      return "accepted";
    case Reason::TooShort:
      return "too short: " + counted(verdict.length, options_.unit) + ", at least " +
             std::to_string(*options_.minLength) + " wanted";
    case Reason::TooLong:
      return "too long: " + counted(verdict.length, options_.unit) + ", at most " +
             std::to_string(*options_.maxLength) + " allowed";
    case Reason::NotAllowed: {
      const bool hasValues = !options_.values.empty() || !options_.valueFiles.empty();
      const bool hasPatterns = !options_.patterns.empty() || !options_.patternFiles.empty();
      if (!hasPatterns) return "not one of the allowed values";
      return hasValues ? "not one of the allowed values, and no pattern matches" : "no pattern matches";
    }
    case Reason::Forbidden:
      if (verdict.pattern < 0) return "contains a forbidden pattern";
      return "contains the forbidden pattern " + builtinPattern(verdict.pattern) + " at character " +
             std::to_string(verdict.foundAt + 1);
    case Reason::IllFormed:
      return std::string(verdict.status == VQSTATUS_SHORT_SEQUENCE ? "incomplete " : "ill-formed ") +
             encoding_.name + " at byte " + std::to_string(finding.record.offset + verdict.faultAt);
    case Reason::Undecided:
      return "could not be checked: " + session_.statusText(verdict.status);
  }
  return {};
}

void Reporter::appendText(std::string& target, const Finding& finding) const {
  appendEscapedUtf8(target, finding.file);
  target += ':' + std::to_string(finding.record.line) + ": byte " + std::to_string(finding.record.offset) +
            ": " + detail(finding) + ": ";
  if (finding.text.size() <= shownBytes) {
    appendEscapedUtf8(target, finding.text);
  } else {
    appendEscapedUtf8(target, shortened(finding.text));
    target += "... (" + std::to_string(finding.text.size()) + " bytes)";
  }
  target += '\n';
}

void Reporter::appendTsv(std::string& target, const Finding& finding) const {
  const bool isAccepted = finding.verdict.reason == Reason::Accepted;
  appendEscapedColumn(target, finding.file);
  target += '\t' + std::to_string(finding.record.line) + '\t' + std::to_string(finding.record.offset);
  target += isAccepted ? "\taccepted\t\t\t" : "\trejected\t";
  if (!isAccepted) {
    target += reasonName(finding.verdict.reason);
    target += '\t';
    appendEscapedColumn(target, detail(finding));
    target += '\t';
  }
  appendEscapedColumn(target, finding.text);
  target += '\n';
}

void Reporter::appendJson(std::string& target, const Finding& finding) const {
  const Verdict& verdict = finding.verdict;
  nlohmann::ordered_json line{{"file", finding.file},
                              {"line", finding.record.line},
                              {"offset", finding.record.offset},
                              {"verdict", verdict.reason == Reason::Accepted ? "accepted" : "rejected"}};
  if (verdict.reason != Reason::Accepted) {
    line["reason"] = reasonName(verdict.reason);
    line["detail"] = detail(finding);
  }
  switch (verdict.reason) {
    case Reason::TooShort:
    case Reason::TooLong:
      line["length"] = verdict.length;
      break;
    case Reason::Forbidden:
      if (verdict.pattern < 0) break;
      line["pattern"] = builtinPattern(verdict.pattern);
      line["character"] = verdict.foundAt + 1;
      break;
    case Reason::IllFormed:
      line["faultOffset"] = finding.record.offset + verdict.faultAt;
      break;
    case Reason::Undecided:
      line["status"] = verdict.status;
      break;
    case Reason::Accepted:
    case Reason::NotAllowed:
      break;
  }
  line["text"] = std::string(finding.text);
  // Bytes that are not UTF-8 become U+FFFD; offset and faultOffset still say where the real ones are.
  target += line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  target += '\n';
}

}  // namespace vqs
