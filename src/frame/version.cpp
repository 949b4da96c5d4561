// What the library says of itself: versions and the stamp of the build.
#include "vqstring/service.h"

namespace {

// The kernel interface that the library is built for; the third number is the lowest patch that serves.
constexpr uint64_t kernelVersion[3] = {9, 1, 1};
constexpr uint64_t libraryVersion[3] = {2, 0, 0};

VQStatus store(const uint64_t (&version)[3], uint64_t* first, uint64_t* second, uint64_t* third) {
  *first = version[0];
  *second = version[1];
  *third = version[2];
  return 0;
}

// Fields of a fixed width, so that a tool can write into the built file.
constexpr char hotfixField[] = "QEM_VERSION_HOTFIX_NUMBER=                                       ";
constexpr char imageField[] = "STAMPR_IMAGE_DESCRIPTION=                                        ";
constexpr char buildDate[] = VQSTRING_BUILD_DATE;
static_assert(sizeof hotfixField == 65 + 1 && sizeof imageField == 65 + 1);
static_assert(sizeof buildDate == 28 + 1);

constexpr VQStamp info = {
    .release = VQSTRING_RELEASE,
    .buildArea = VQSTRING_BUILD_TYPE,
    .empty1 = "",
    .buildTime = VQSTRING_BUILD_TIME,
    .familyName = "vqcore",
    .familyTag = "vqcore91",
    .moduleName = "vqstring",
    .moduleTag = "vqstring-2.0.0-libc6",
    .empty2 = "",
    .label = "vqstamp",
    .separator = ": ",
    .empty3 = "",
    .hotfixField = hotfixField,
    .empty4 = "",
    .imageField = imageField,
    .platform = "linux-x86_64",
    .buildDate = buildDate,
    .reserved = {},
};

}  // namespace

VQStatus vqextver(VQKernel* kernel, uint64_t* first, uint64_t* second) {
  *first = kernelVersion[0];
  *second = kernelVersion[1];
  return vqextent(kernel);
}

VQStatus vqStringGetVersion(VQStringService*, uint64_t* major, uint64_t* minor, uint64_t* patch) {
  return store(libraryVersion, major, minor, patch);
}

VQStatus vqStringGetReqVersion(VQStringService*, uint64_t* major, uint64_t* minor, uint64_t* patch) {
  return store(kernelVersion, major, minor, patch);
}

void vqstamp1(VQStamp* stamp) {
  *stamp = info;
}
