// The predicates on one character. With a host's VQNls, ASCII is answered from the class masks here and the
// rest by nlsClassify; without one, everything from the library's table.
#include "text/classify.hpp"

#include "frame/handle.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"

namespace {

using vq::text::isInClass;
namespace classBit = vq::text::classBit;

// Masks for nlsClassify, by the order of categories that it is documented with.
namespace mask {
constexpr uint32_t upper = 0x1;         // Lu
constexpr uint32_t lower = 0x2;         // Ll
constexpr uint32_t digit = 0x40;        // Nd
constexpr uint32_t alpha = 0x60007;     // Lu Ll Lt Lm Lo
constexpr uint32_t alnum = 0x60047;     // alpha, Nd
constexpr uint32_t punct = 0x3f80000;   // Pc Pd Ps Pe Pi Pf Po
constexpr uint32_t control = 0x3c00;    // Zl Zp Cc Cf
constexpr uint32_t print = 0x3ffe03ff;  // all but Zl Zp Cc Cf Cs Co Cn
constexpr uint32_t graph = 0xfffe81ff;  // all but Zs Zl Zp Cc Cf Cs Cn
}  // namespace mask

inline uint32_t classifyByHost(VQNls* nls, VQChar c, uint32_t classMask) {
  if (c < 0x80) return (vq::text::asciiClassMasks[c] & classMask) != 0;
  return nls->nlsClassify(nls, c, classMask);
}

// The path without a host is laid out straight: with one, the call outweighs a jump.
inline uint32_t classify(VQChar c, uint32_t classMask, uint32_t classes) {
  VQNls* const nls = Exported_VQHandle->kernelNls;
  if (nls == nullptr) [[likely]]
    return isInClass(c, classes);
  return classifyByHost(nls, c, classMask);
}

bool isHexLetter(VQChar c) {
  const VQChar narrow = c >= 0xff21 ? c - (0xff21 - 'A') : c;
  const VQChar upper = narrow & ~VQChar{0x20};
  return upper >= 'A' && upper <= 'F';
}

}  // namespace

uint32_t vqnlsisupper(VQChar character) {
  return classify(character, mask::upper, classBit::upper);
}

uint32_t vqnlsislower(VQChar character) {
  return classify(character, mask::lower, classBit::lower);
}

uint32_t vqnlsisdigit(VQChar character) {
  return classify(character, mask::digit, classBit::digit);
}

uint32_t vqnlsisalpha(VQChar character) {
  return classify(character, mask::alpha, classBit::alpha);
}

uint32_t vqnlsisalnum(VQChar character) {
  return classify(character, mask::alnum, classBit::alpha | classBit::digit);
}

uint32_t vqnlsisxdigit(VQChar character) {
  VQNls* const nls = Exported_VQHandle->kernelNls;
  if (nls == nullptr) [[likely]]
    return isInClass(character, classBit::xdigit);
  return isHexLetter(character) ? 1 : classifyByHost(nls, character, mask::digit);
}

uint32_t vqnlsispunct(VQChar character) {
  return classify(character, mask::punct, classBit::punct);
}

uint32_t vqnlsiscntrl(VQChar character) {
  return classify(character, mask::control, classBit::control);
}

uint32_t vqnlsisprint(VQChar character) {
  return classify(character, mask::print, classBit::print);
}

uint32_t vqnlsisgraph(VQChar character) {
  return classify(character, mask::graph, classBit::graph);
}

uint32_t vqnlsisspace(VQChar character) {
  return vq::text::isSpace(character);
}
