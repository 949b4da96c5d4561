// The default locale, of which there is none yet.
#include "host/locale.hpp"

namespace vq::host {

void installLocale(Nls& nls) {
  nls.nlsDefaultLocale = [](VQNls*) noexcept -> VQLocale* { return nullptr; };
}

}  // namespace vq::host
