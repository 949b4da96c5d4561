#include "frame/handle.hpp"
VQKernel* Exported_VQHandle;
