// Makers of the typed instances: a header, the pool in the host's word, and a payload that nothing points
// into, so that a clone is a copy of the bytes.
#include <cstring>
#include <type_traits>

#include "host/instance_extension.hpp"

namespace vq::host {

namespace {

VQPool* poolOf(VQInstance* instance) {
  return reinterpret_cast<VQPool*>(reinterpret_cast<VQBooleanInstance*>(instance)->reserved);
}

VQStatus destroyTyped(VQInstance* instance) noexcept {
  VQPool* pool = poolOf(instance);
  return pool->poolFree(pool, instance);
}

template <class Record>
VQStatus cloneTyped(VQInstance* instance, VQPool* pool, uint64_t, VQInstance** copy) noexcept {
  if (pool == nullptr) pool = poolOf(instance);
  auto* record = static_cast<Record*>(pool->poolAlloc(pool, sizeof(Record), 0));
  if (record == nullptr) return VQSTATUS_NO_MEMORY;
  // All but the count, which other threads may be changing.
  const uint64_t one = 1;
  std::memcpy(static_cast<void*>(record), instance, offsetof(VQInstance, refCount));
  std::memcpy(&record->header.refCount, &one, sizeof(one));
  constexpr size_t behindCount = offsetof(VQInstance, refCount) + sizeof(uint64_t);
  std::memcpy(reinterpret_cast<char*>(record) + behindCount, reinterpret_cast<char*>(instance) + behindCount,
              sizeof(Record) - behindCount);
  record->reserved = reinterpret_cast<uint64_t>(pool);
  *copy = &record->header;
  return 0;
}

template <class Record, class Fill>
VQStatus createTyped(VQKernel* kernel, VQPool* pool, const char* typeName, VQInstance** instance, Fill fill) {
  VQInstance* made = createInstance(kernel, pool, sizeof(Record), typeName, destroyTyped);
  if (made == nullptr) return VQSTATUS_NO_MEMORY;
  auto* record = reinterpret_cast<Record*>(made);
  record->reserved = reinterpret_cast<uint64_t>(pool);
  record->header.instanceClone = cloneTyped<Record>;
  fill(*record);
  *instance = made;
  return 0;
}

template <class Record, class Value>
VQStatus createNumber(VQKernel* kernel, VQPool* pool, const char* typeName, Value value,
                      VQInstance** instance) {
  return createTyped<Record>(kernel, pool, typeName, instance, [&](Record& record) { record.value = value; });
}

template <class Record>
void setZone(Record& record, const double* zoneOffset) {
  if (zoneOffset == nullptr) return;
  record.zoneOffset = *zoneOffset;
  record.hasZoneOffset = 1;
}

// Days from 1960-01-01 to a date of the proleptic Gregorian calendar; a month outside 1 to 12 moves the year.
int64_t daysFrom1960(int64_t year, int64_t month, int64_t day) {
  const int64_t months = year * 12 + (month - 1);
  const int64_t wholeYear = months >= 0 ? months / 12 : (months - 11) / 12;
  const int64_t monthIndex = months - wholeYear * 12;
  // The year is taken to begin in March, so that the leap day is its last.
  const int64_t shifted = monthIndex < 2 ? wholeYear - 1 : wholeYear;
  const int64_t marchMonth = (monthIndex + 10) % 12;
  const int64_t era = (shifted >= 0 ? shifted : shifted - 399) / 400;
  const int64_t yearOfEra = shifted - era * 400;
  const int64_t dayOfYear = (153 * marchMonth + 2) / 5;
  const int64_t daysFromMarchOfYear0 =
      era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  constexpr int64_t march1Of0To1960 = 715815;
  return daysFromMarchOfYear0 - march1Of0To1960 + (day - 1);
}

double calendarToDatetime(VQCalendarDateTimeInstance* instance) noexcept {
  const double days = static_cast<double>(daysFrom1960(instance->year, instance->month, instance->day));
  return days * 86400.0 + instance->hour * 3600.0 + instance->minute * 60.0 + instance->second +
         instance->millisecond / 1000.0;
}

}  // namespace

}  // namespace vq::host

using vq::host::createNumber;
using vq::host::createTyped;
using vq::host::setZone;

VQStatus vqhostCreateBoolean(VQKernel* kernel, VQPool* pool, uint8_t value, VQInstance** instance) {
  return createNumber<VQBooleanInstance>(kernel, pool, "VQBooleanInstance", value, instance);
}
VQStatus vqhostCreateInt32(VQKernel* kernel, VQPool* pool, int32_t value, VQInstance** instance) {
  return createNumber<VQInt32Instance>(kernel, pool, "VQInt32Instance", value, instance);
}
VQStatus vqhostCreateInt64(VQKernel* kernel, VQPool* pool, int64_t value, VQInstance** instance) {
  return createNumber<VQInt64Instance>(kernel, pool, "VQInt64Instance", value, instance);
}
VQStatus vqhostCreateUInt32(VQKernel* kernel, VQPool* pool, uint32_t value, VQInstance** instance) {
  return createNumber<VQUInt32Instance>(kernel, pool, "VQUInt32Instance", value, instance);
}
VQStatus vqhostCreateUInt64(VQKernel* kernel, VQPool* pool, uint64_t value, VQInstance** instance) {
  return createNumber<VQUInt64Instance>(kernel, pool, "VQUInt64Instance", value, instance);
}
VQStatus vqhostCreateDouble(VQKernel* kernel, VQPool* pool, double value, VQInstance** instance) {
  return createNumber<VQDoubleInstance>(kernel, pool, "VQDoubleInstance", value, instance);
}

VQStatus vqhostCreateCalendarDate(VQKernel* kernel, VQPool* pool, int32_t year, int32_t month, int32_t day,
                                  VQInstance** instance) {
  return createTyped<VQCalendarDateInstance>(kernel, pool, "VQCalendarDateInstance", instance,
                                             [&](VQCalendarDateInstance& record) {
                                               record.month = month;
                                               record.day = day;
                                               record.year = year;
                                             });
}

VQStatus vqhostCreateTime(VQKernel* kernel, VQPool* pool, int32_t hour, int32_t minute, int32_t second,
                          int32_t millisecond, const double* zoneOffset, VQInstance** instance) {
  return createTyped<VQTimeInstance>(kernel, pool, "VQTimeInstance", instance, [&](VQTimeInstance& record) {
    record.hour = hour;
    record.minute = minute;
    record.second = second;
    record.millisecond = millisecond;
    setZone(record, zoneOffset);
  });
}

VQStatus vqhostCreateDateTime(VQKernel* kernel, VQPool* pool, double value, const double* zoneOffset,
                              VQInstance** instance) {
  return createTyped<VQDateTimeInstance>(kernel, pool, "VQDateTimeInstanceName", instance,
                                         [&](VQDateTimeInstance& record) {
                                           record.value = value;
                                           setZone(record, zoneOffset);
                                         });
}

VQStatus vqhostCreateCalendarDateTime(VQKernel* kernel, VQPool* pool, int32_t year, int32_t month,
                                      int32_t day, int32_t hour, int32_t minute, int32_t second,
                                      int32_t millisecond, const double* zoneOffset, VQInstance** instance) {
  return createTyped<VQCalendarDateTimeInstance>(kernel, pool, "VQCalendarDateTimeInstance", instance,
                                                 [&](VQCalendarDateTimeInstance& record) {
                                                   record.month = month;
                                                   record.day = day;
                                                   record.year = year;
                                                   record.hour = hour;
                                                   record.minute = minute;
                                                   record.second = second;
                                                   record.millisecond = millisecond;
                                                   record.calendarToDatetime = vq::host::calendarToDatetime;
                                                   setZone(record, zoneOffset);
                                                 });
}
