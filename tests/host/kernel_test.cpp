// The kernel's own services: pools, locks, named values, extensions, instances.
#include "support/fault_injector.hpp"

namespace {

class Kernel : public test::KernelTest {};

TEST_F(Kernel, NamedValuesAreMeasuredThenCopied) {
  const std::u32string_view name = U"site.name";
  ASSERT_EQ(vqhostSetNamedValue(host(), name.data(), -1, U"Köln", 4), 0u);
  EXPECT_NE(host()->kernelNameExists(host(), name.data(), 9), 0);
  EXPECT_EQ(host()->kernelNameExists(host(), name.data(), 8), 0);

  uint64_t size = 0;
  EXPECT_EQ(host()->kernelGetNameValue(host(), name.data(), 9, 4, nullptr, &size), VQSTATUS_VALUE_TOO_LONG);
  EXPECT_EQ(size, 16u);
  VQChar value[4] = {};
  size = 15;
  EXPECT_EQ(host()->kernelGetNameValue(host(), name.data(), 9, 4, value, &size), VQSTATUS_VALUE_TOO_LONG);
  size = 16;
  EXPECT_EQ(host()->kernelGetNameValue(host(), name.data(), 9, 4, value, &size), 0u);
  EXPECT_EQ(std::u32string_view(value, 4), U"Köln");

  ASSERT_EQ(vqhostSetNamedValue(host(), name.data(), 9, nullptr, 0), 0u);
  size = 0;
  EXPECT_EQ(host()->kernelGetNameValue(host(), name.data(), 9, 4, nullptr, &size), 0u);
  EXPECT_EQ(vqhostRemoveNamedValue(host(), name.data(), 9), 0u);
  EXPECT_EQ(vqhostRemoveNamedValue(host(), name.data(), 9), VQSTATUS_NAME_NOT_FOUND);
}

TEST_F(Kernel, PoolsKeepContentsAndFillWithZeros) {
  auto* block = static_cast<unsigned char*>(pool()->poolAlloc(pool(), 100, VQ_POOL_ZERO_FILL));
  for (int i = 0; i < 100; ++i) ASSERT_EQ(block[i], 0);
  for (int i = 0; i < 100; ++i) block[i] = static_cast<unsigned char>(i);
  block = static_cast<unsigned char*>(pool()->poolRealloc(pool(), block, 100'000, 0));
  for (int i = 0; i < 100; ++i) ASSERT_EQ(block[i], i);
  EXPECT_EQ(vqhostLiveBlocks(pool()), 1u);
  EXPECT_EQ(pool()->poolAlloc(pool(), UINT64_MAX, 0), nullptr);
  EXPECT_EQ(pool()->poolAlloc(pool(), UINT64_MAX - 8, VQ_POOL_ZERO_FILL), nullptr);
  EXPECT_EQ(pool()->poolFree(pool(), block), 0u);
  EXPECT_EQ(vqhostLiveBlocks(pool()), 0u);
}

TEST_F(Kernel, PoolEndsWithAllItsBlocks) {
  VQPool* other = nullptr;
  ASSERT_EQ(vqhostCreatePool(host(), "short-lived", &other), 0u);
  for (uint64_t size = 1; size < 200'000; size *= 3) ASSERT_NE(other->poolAlloc(other, size, 0), nullptr);
  other->poolDestroy(other);
}

TEST_F(Kernel, ConstraintAnswersNumbersBothWaysAndInstances) {
  VQInstance* constraint = nullptr;
  ASSERT_EQ(vqhostCreateConstraint(host(), pool(), &constraint), 0u);
  auto* record = reinterpret_cast<VQConstraint*>(constraint);
  const auto number = [&](const VQChar* name, uint64_t kind) {
    int64_t signedValue = 77;
    uint64_t unsignedValue = 77;
    uint8_t found = 9;
    EXPECT_EQ(record->table->instanceGetNumberProperty(constraint, 0, 0, name, -1, 0, kind,
                                                       kind == 0 ? &signedValue : nullptr,
                                                       kind == 1 ? &unsignedValue : nullptr, 0, 0, &found),
              0u);
    return std::tuple(int{found}, kind == 0 ? signedValue : static_cast<int64_t>(unsignedValue));
  };
  EXPECT_EQ(number(U"minLength", 0), std::tuple(0, 77));
  ASSERT_EQ(vqhostConstraintSetSigned(constraint, U"minLength", 9, -5), 0u);
  ASSERT_EQ(vqhostConstraintSetUnsigned(constraint, U"maxLength", 9, UINT64_MAX), 0u);
  EXPECT_EQ(number(U"minLength", 0), std::tuple(1, -5));
  EXPECT_EQ(number(U"minLength", 1), std::tuple(1, 0));
  EXPECT_EQ(number(U"maxLength", 0), std::tuple(1, INT64_MAX));
  EXPECT_EQ(number(U"maxLength", 1), std::tuple(1, -1));

  VQInstance* seven = nullptr;
  VQInstance* array = nullptr;
  VQInstance* found = nullptr;
  ASSERT_EQ(vqhostCreateInt32(host(), pool(), 7, &seven), 0u);
  ASSERT_EQ(vqhostCreateArray(host(), pool(), &seven, 1, &array), 0u);
  for (int i = 0; i < 10; ++i) ASSERT_EQ(vqhostArrayAppend(array, seven), 0u);
  ASSERT_EQ(vqhostConstraintSetInstance(constraint, U"values", 6, array), 0u);
  ASSERT_EQ(vqhostConstraintSetInstance(constraint, U"values", 6, array), 0u);
  ASSERT_EQ(vqhostConstraintSetInstance(constraint, U"minLength", 9, seven), 0u);
  EXPECT_EQ(number(U"minLength", 0), std::tuple(0, 77));
  EXPECT_EQ(record->instanceFindProperty(constraint, U"patterns", 8, &found), 0);
  ASSERT_NE(record->instanceFindProperty(constraint, U"values", 6, &found), 0);
  EXPECT_EQ(found, array);
  EXPECT_EQ(reinterpret_cast<VQArray*>(array)->count, 11u);
  EXPECT_EQ(seven->refCount, 13u);
  EXPECT_EQ(array->instanceIsKindOf(array, "VQArray"), 1);
  EXPECT_EQ(array->instanceIsKindOf(array, "VQString"), 0);
  for (VQInstance* instance : {seven, array, constraint}) instance->instanceRelease(instance);
  EXPECT_EQ(vqhostLiveBlocks(pool()), 0u);
}

TEST_F(Kernel, TypedInstancesCloneIntoAnotherPool) {
  const double offset = -3600;
  VQInstance* time = nullptr;
  VQInstance* copy = nullptr;
  VQPool* other = nullptr;
  ASSERT_EQ(vqhostCreatePool(host(), "other", &other), 0u);
  ASSERT_EQ(vqhostCreateTime(host(), pool(), 23, 59, 58, 7, &offset, &time), 0u);
  std::atomic_ref(time->refCount).fetch_add(1);
  ASSERT_EQ(time->instanceClone(time, other, 0, &copy), 0u);
  time->instanceRelease(time);
  time->instanceRelease(time);
  EXPECT_EQ(vqhostLiveBlocks(pool()), 0u);
  const auto* record = reinterpret_cast<VQTimeInstance*>(copy);
  EXPECT_EQ(record->hour * 1000 + record->millisecond, 23'007);
  EXPECT_EQ(record->zoneOffset, -3600);
  EXPECT_EQ(record->hasZoneOffset, 1);
  EXPECT_EQ(copy->refCount, 1u);
  copy->instanceRelease(copy);
  EXPECT_EQ(vqhostLiveBlocks(other), 0u);
  other->poolDestroy(other);
}

TEST_F(Kernel, CalendarDateTimeKnowsItsValue) {
  struct Case {
    int32_t year, month, day, hour;
    double seconds;
  };
  for (const Case& c : {Case{1960, 1, 1, 0, 0}, Case{1960, 1, 2, 1, 90'000}, Case{1959, 12, 31, 0, -86'400},
                        Case{2000, 3, 1, 0, 1'267'488'000}, Case{2000, 2, 29, 24, 1'267'488'000},
                        Case{1582, 10, 15, 0, -11'903'673'600.0}}) {
    VQInstance* instance = nullptr;
    ASSERT_EQ(vqhostCreateCalendarDateTime(host(), pool(), c.year, c.month, c.day, c.hour, 0, 0, 500, nullptr,
                                           &instance),
              0u);
    auto* record = reinterpret_cast<VQCalendarDateTimeInstance*>(instance);
    EXPECT_EQ(record->calendarToDatetime(record), c.seconds + 0.5) << c.year << '-' << c.month;
    instance->instanceRelease(instance);
  }
}

TEST_F(Kernel, ClassMaskFollowsTheOrderOfCategories) {
  struct Case {
    VQChar character;
    int bit;
  };
  for (const Case& c :
       {Case{U'A', 0},       Case{U'a', 1},    Case{0x1C5, 2},  Case{0x300, 3},   Case{0x903, 4},
        Case{0x488, 5},      Case{U'7', 6},    Case{0x2160, 7}, Case{0xB2, 8},    Case{U' ', 9},
        Case{0x2028, 10},    Case{0x2029, 11}, Case{1, 12},     Case{0xAD, 13},   Case{0xD800, 14},
        Case{0xE000, 15},    Case{0x378, 16},  Case{0x2B0, 17}, Case{0x4E00, 18}, Case{U'_', 19},
        Case{U'-', 20},      Case{U'(', 21},   Case{U')', 22},  Case{0xAB, 23},   Case{0xBB, 24},
        Case{U'!', 25},      Case{U'+', 26},   Case{U'$', 27},  Case{U'^', 28},   Case{0xA6, 29},
        Case{0x7FFFFFFF, 16}}) {
    for (int bit = 0; bit < 30; ++bit) {
      EXPECT_EQ(nls()->nlsClassify(nls(), c.character, 1u << bit) & 0xFF, bit == c.bit ? 1u : 0u)
          << std::hex << uint32_t{c.character} << " bit " << bit;
    }
  }
  EXPECT_EQ(nls()->nlsToUpper(nls(), 0x1F601, 1), VQChar{0x1F601});
  EXPECT_EQ(nls()->nlsToUpper(nls(), 0xE9, 1), VQChar{0xC9});
  EXPECT_EQ(nls()->nlsToLower(nls(), 0x80000000, 1), VQChar{0x80000000});
}

TEST_F(Kernel, UnknownExtensionsAreRefused) {
  void* record = nullptr;
  EXPECT_EQ(vqhostLoadExtension(host(), "vqnothing", nullptr, &record), VQHOST_STATUS_EXTENSION);
  // A shared object that is there but no extension.
  EXPECT_EQ(vqhostLoadExtension(host(), "vqnothing", "libm.so.6", &record), VQHOST_STATUS_EXTENSION);
  EXPECT_EQ(host()->kernelLoadExtension(host(), U"../x", 4, 0), nullptr);
}

TEST_F(Kernel, LibraryComesInAsASharedObjectAndGoes) {
  const uint64_t before = vqhostLiveObjects(host());
  for (int round = 0; round < 2; ++round) {
    VQStringService* service = nullptr;
    ASSERT_EQ(vqhostLoadStrings(host(), VQSTRING_LIBRARY, &service), 0u);
    uint64_t major = 0;
    uint64_t minor = 0;
    uint64_t patch = 0;
    EXPECT_EQ(service->vqStringGetVersion(service, &major, &minor, &patch), 0u);
    EXPECT_EQ(major, 2u);
    VQString* string = service->vqStringCreate(service, nullptr, U"text", 4, 1);
    ASSERT_NE(string, nullptr);
    service->vqStringDestroy(string);

    void* again = nullptr;
    ASSERT_EQ(vqhostLoadExtension(host(), "vqstring", nullptr, &again), 0u);
    EXPECT_EQ(again, service);
    vqhostReleaseExtension(host(), again);
    EXPECT_EQ(service->vqStringGetVersion(service, &major, &minor, &patch), 0u);
    vqhostReleaseExtension(host(), service);
    EXPECT_EQ(vqhostLiveObjects(host()), before);
  }
}

class StartFaults : public test::FaultTest {};

// The library's start-up takes each host object in turn; whichever fails, nothing may stay.
TEST_F(StartFaults, EveryFailureGivesBackWhatWasTaken) {
  int faults = 0;
  const VQStringService* last = forEveryFault(
      [&] {
        VQStringService* another = vqstring(kernel());
        if (another != nullptr) vqStringRealDestroy(another);
        return another;
      },
      [&](VQStringService* another, const test::Fault&) {
        ++faults;
        EXPECT_EQ(another, nullptr);
      });
  EXPECT_NE(last, nullptr);
  EXPECT_EQ(faults, 6);
}

}  // namespace
