// Derivation of required literals from a pattern in ICU's syntax.
#include "host/required_literals.hpp"

#include <algorithm>
#include <optional>
#include <string_view>

namespace vq::host {

namespace {

constexpr bool isLetter(char16_t c) {
  return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}

// How often a character stands in running text and mark-up, in 1/10000; what is not listed is rare. Only the
// order matters.
int frequency(char c, bool ignoresCase) {
  if (c >= 'A' && c <= 'Z') return ignoresCase ? frequency(static_cast<char>(c + 32), true) : 30;
  constexpr int letters[] = {640, 120, 230, 330, 1000, 180, 160, 470, 570, 10,  60, 330, 200,
                             550, 610, 150, 10,  490,  510, 740, 220, 80,  180, 15, 150, 10};
  if (c >= 'a' && c <= 'z') return letters[c - 'a'];
  if (c == ' ') return 1800;
  if (c >= '0' && c <= '9') return 60;
  if (c == '.' || c == ',' || c == '-' || c == '\n') return 100;
  if (c == '/' || c == ':' || c == '"' || c == '\'') return 40;
  return 5;
}

class Reader {
 public:
  explicit Reader(std::u16string_view pattern) : pattern_(pattern) {}

  // All runs, or none at all when the pattern is beyond this reader.
  std::vector<RequiredLiteral> read() {
    while (at_ < pattern_.size()) {
      if (!readItem()) return {};
    }
    endRun();
    return std::move(found_);
  }

 private:
  bool atEnd() const { return at_ >= pattern_.size(); }
  bool startsWith(std::u16string_view text) const { return pattern_.substr(at_).starts_with(text); }

  void endRun() {
    if (!run_.empty()) found_.push_back({std::move(run_), ignoresCase_, 0});
    run_.clear();
  }

  bool readItem() {
    const char16_t c = pattern_[at_];
    switch (c) {
      case u'|':
      case u'*':
      case u'+':
      case u'?':
      case u')':
      case u']':
      case u'{':
      case u'}':
        return false;
      case u'(':
        return readGroup();
      case u'[':
        if (!skipClass()) return false;
        break;
      case u'\\':
        return readEscape();
      case u'^':
      case u'$':
      case u'.':
        ++at_;
        break;
      default:
        ++at_;
        // A surrogate is half a character; both halves end the run, and a quantifier behind them binds
        // nothing that was kept.
        if (c < 0x80) return addLiteral(static_cast<char>(c));
    }
    endRun();
    skipQuantifier();
    return true;
  }

  // A quantifier decides what the character before it is worth.
  bool addLiteral(char c) {
    const size_t before = at_;
    const bool isRequired = !atEnd() && pattern_[at_] == u'+';
    skipQuantifier();
    if (at_ == before) {
      run_ += c;
      return true;
    }
    if (isRequired) run_ += c;
    endRun();
    return true;
  }

  // `?`, `*`, `+` or `{...}`, with the mark for lazy or possessive behind it.
  void skipQuantifier() {
    if (atEnd()) return;
    const char16_t c = pattern_[at_];
    if (c == u'{') {
      const size_t end = pattern_.find(u'}', at_);
      at_ = end == std::u16string_view::npos ? pattern_.size() : end + 1;
    } else if (c == u'?' || c == u'*' || c == u'+') {
      ++at_;
    } else {
      return;
    }
    if (!atEnd() && (pattern_[at_] == u'?' || pattern_[at_] == u'+')) ++at_;
  }

  bool readEscape() {
    if (at_ + 1 >= pattern_.size()) return false;
    const char16_t c = pattern_[at_ + 1];
    at_ += 2;
    if (c < 0x80 && !isLetter(c) && !(c >= u'0' && c <= u'9')) return addLiteral(static_cast<char>(c));
    // One item each, with nothing behind the letter that belongs to it.
    constexpr std::u16string_view lone = u"dDwWsSbBAzZGXRhHvVntrfae";
    if (lone.find(c) == std::u16string_view::npos) return false;
    endRun();
    skipQuantifier();
    return true;
  }

  // A group is one item and its contents are left aside, but flags set for the rest of the pattern count.
  bool readGroup() {
    endRun();
    if (std::optional<bool> flagged = readFlags()) return *flagged;
    size_t depth = 0;
    do {
      if (atEnd()) return false;
      const char16_t c = pattern_[at_];
      if (c == u'\\') {
        if (startsWith(u"\\Q")) return false;
        at_ += 2;
        continue;
      }
      if (c == u'[') {
        if (!skipClass()) return false;
        continue;
      }
      if (c == u'(') {
        ++depth;
        // Comments could hide a parenthesis.
        if (startsWith(u"(?#") || setsComments()) return false;
      }
      if (c == u')') --depth;
      ++at_;
    } while (depth != 0);
    skipQuantifier();
    return true;
  }

  bool setsComments() const {
    if (!startsWith(u"(?")) return false;
    for (size_t i = at_ + 2; i < pattern_.size() && (isLetter(pattern_[i]) || pattern_[i] == u'-'); ++i) {
      if (pattern_[i] == u'x') return true;
    }
    return false;
  }

  // `(?i)` and its like: true when read, false when they go beyond this reader, nothing when this is a group.
  std::optional<bool> readFlags() {
    if (!startsWith(u"(?")) return std::nullopt;
    size_t i = at_ + 2;
    bool isOn = true;
    bool ignoresCase = ignoresCase_;
    for (; i < pattern_.size() && (isLetter(pattern_[i]) || pattern_[i] == u'-'); ++i) {
      if (pattern_[i] == u'-') isOn = false;
      if (pattern_[i] == u'i') ignoresCase = isOn;
      if (pattern_[i] == u'x') return false;
    }
    if (i >= pattern_.size()) return false;
    if (pattern_[i] != u')') return std::nullopt;
    ignoresCase_ = ignoresCase;
    at_ = i + 1;
    return true;
  }

  // A set in brackets, sets inside it included.
  bool skipClass() {
    size_t depth = 0;
    do {
      if (atEnd()) return false;
      const char16_t c = pattern_[at_++];
      if (c == u'\\') {
        if (atEnd() || pattern_[at_] == u'Q') return false;
        ++at_;
      } else if (c == u'[') {
        ++depth;
        if (!atEnd() && pattern_[at_] == u'^') ++at_;
        // Whether this closes the set or belongs to it is a matter of dialect.
        if (!atEnd() && pattern_[at_] == u']') return false;
      } else if (c == u']') {
        --depth;
      }
    } while (depth != 0);
    return true;
  }

  std::u16string_view pattern_;
  size_t at_ = 0;
  bool ignoresCase_ = false;
  std::string run_;
  std::vector<RequiredLiteral> found_;
};

// Puts the anchor on the rarest character that can bear it; false when none can.
bool chooseAnchor(RequiredLiteral& literal) {
  int best = 0;
  for (size_t i = 0; i < literal.text.size(); ++i) {
    char& c = literal.text[i];
    if (literal.ignoresCase) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
      if (!matchesAsciiAlone(c)) continue;
    }
    const int common = frequency(c, literal.ignoresCase);
    if (best == 0 || common < best) {
      best = common;
      literal.anchor = i;
    }
  }
  return best != 0;
}

int anchorFrequency(const RequiredLiteral& literal) {
  return frequency(literal.text[literal.anchor], literal.ignoresCase);
}

}  // namespace

// These letters occur in the case folding of a character outside ASCII: the Kelvin sign, the long s, the
// dotted I, ligatures and letters with a mark that have no upper case of their own.
bool matchesAsciiAlone(char c) noexcept {
  return std::string_view("afhijklnstwyAFHIJKLNSTWY").find(c) == std::string_view::npos;
}

std::vector<RequiredLiteral> requiredLiterals(std::u16string_view pattern) {
  std::vector<RequiredLiteral> literals = Reader(pattern).read();
  std::erase_if(literals, [](RequiredLiteral& literal) { return !chooseAnchor(literal); });
  std::stable_sort(literals.begin(), literals.end(), [](const RequiredLiteral& a, const RequiredLiteral& b) {
    const int rarity = anchorFrequency(a) - anchorFrequency(b);
    return rarity != 0 ? rarity < 0 : a.text.size() > b.text.size();
  });
  if (literals.size() > maxLiterals) literals.resize(maxLiterals);
  return literals;
}

}  // namespace vq::host
