#include "utf/utf8_regular.hpp"

namespace vq::utf8 {

Regular regularPrefix(const uint8_t*, size_t, size_t) {
  return {};
}

}  // namespace vq::utf8
