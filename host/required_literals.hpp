// Texts that every match of a pattern must contain, derived from the pattern, so that a subject without them
// needs no engine.
//
// The derivation reads the pattern's top level as a sequence of items and keeps the runs of plain ASCII
// characters in it. Whatever it does not understand for certain - an alternation, comments, a quotation, a
// back reference in doubt - gives fewer texts or none: the engine then decides alone, and nothing is lost but
// time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "vqstring/base.h"

namespace vq::host {

struct RequiredLiteral {
  // ASCII, in lower case when `ignoresCase`.
  std::string text;
  bool ignoresCase = false;
  // The character to look for first: the rarest of those that no character outside ASCII can stand for.
  size_t anchor = 0;
};

// The rarest first, at most `maxLiterals`.
constexpr size_t maxLiterals = 3;
std::vector<RequiredLiteral> requiredLiterals(std::u16string_view pattern);

// Under case-insensitive matching: no character outside ASCII, alone or as a ligature, matches `c`.
bool matchesAsciiAlone(char c) noexcept;

struct ScanAnswer {
  // False: no match is possible.
  bool mayMatch;
  // Of what was looked at: all bytes below 0x80, all elements below 0xD800. Says nothing when mayMatch.
  bool isPlain;
};

// Looks for the literal in a text of UTF-8 or of wide elements. Under `ignoresCase` any character outside
// ASCII beside the anchor may stand for what the literal has there.
ScanAnswer scanFor(const RequiredLiteral& literal, std::span<const uint8_t> text) noexcept;
ScanAnswer scanFor(const RequiredLiteral& literal, std::span<const VQChar> text) noexcept;

}  // namespace vq::host
