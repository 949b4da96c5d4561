// The public headers are C++17 and up.
#include "vqstring.h"

static_assert(sizeof(VQStringService) == 109 * 8, "the service record has 109 words");

int main() {
  VQStamp stamp{};
  vqstamp1(&stamp);
  return stamp.moduleName != nullptr && *stamp.empty1 == '\0' ? 0 : 1;
}
