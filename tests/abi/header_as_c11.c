/* The public headers are C11: one translation unit takes them all, and uses what a caller uses. */
#include "vqstring.h"

_Static_assert(sizeof(struct VQString) == 17 * 8, "the string record has seventeen words");
_Static_assert(sizeof(VQChar) == 4, "a wide element has 32 bits");

int main(void) {
  uint64_t major = 0, minor = 0, patch = 0;
  const VQStatus status = vqStringGetVersion(NULL, &major, &minor, &patch);
  return status == 0 && major == 2 && minor == 0 && patch == 0 ? 0 : 1;
}
