// The operation that no version has supported; it keeps its place among the exported names.
#include "vqstring/text.h"

VQStatus mhUnsup(void) {
  return VQSTATUS_UNSUPPORTED;
}
