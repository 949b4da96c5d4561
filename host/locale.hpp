// Locales: numbers, dates and times by the customs of a place.
#pragma once

#include "host/nls.hpp"

namespace vq::host {

// Sets nlsDefaultLocale.
void installLocale(Nls& nls);

}  // namespace vq::host
