// The one table that says which operation stands in which slot of the service record.
#pragma once

#include "vqstring/service.h"

namespace vq {

// Stores every operation in its slot; data words and reserved words stay as they are.
void fillSlots(VQStringService* service);

}  // namespace vq
