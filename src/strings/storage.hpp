// The record of a string and its three storage forms, for all kinds.
//
//   inline     [ header | service .. capacity | text .............. 0 ]     ownsBuffer 0, capacity > 0
//   separate   [ header | service .. capacity ]  text -> [ ....... 0 ]      ownsBuffer 1
//   borrowed   [ header | service .. capacity ]  text -> the caller's       ownsBuffer 0, capacity 0
//
// A form changes one way: inline or borrowed becomes separate at the first growth. This header makes, fills
// and ends records; growth is the business of editing.
#pragma once

#include <cassert>

#include "frame/scopes.hpp"
#include "strings/capacity.hpp"
#include "strings/elements.hpp"
#include "strings/kinds.hpp"
#include "vqstring/service.h"

namespace vq {

template <class Kind>
using RecordOf = typename Kind::Record;
template <class Kind>
using ElementOf = typename Kind::Element;

// The storage of an inline string.
template <class Kind>
ElementOf<Kind>* behindRecord(RecordOf<Kind>* record) {
  return reinterpret_cast<ElementOf<Kind>*>(record + 1);
}

// Exactly one form holds. For assertions.
template <class Kind>
bool isSound(const RecordOf<Kind>* record) {
  if (record->header.signature != VQ_SIGNATURE || record->ownsBuffer > 1) return false;
  const auto* storage = reinterpret_cast<const ElementOf<Kind>*>(record + 1);
  const bool isInline = record->ownsBuffer == 0 && record->text == storage && !record->isStatic;
  return record->ownsBuffer == 1 || isInline || record->capacity == 0;
}

// Header and the fields that no form changes. The text fields are the caller's to set.
template <class Kind>
void fillRecord(RecordOf<Kind>* record, VQStringService* service, VQPool* pool, bool isStatic) {
  VQInstanceExtension* extension = service->instanceExtensionRecord;
  VQInstance& header = record->header;
  header.signature = VQ_SIGNATURE;
  header.typeName = Kind::typeName;
  header.instanceRelease = extension->instanceRelease;
  // Nobody else can know the record yet, so the store needs no order, only to be whole.
  __atomic_store_n(&header.refCount, 1, __ATOMIC_RELAXED);
  header.instanceIsKindOf = extension->instanceIsKindOf;
  header.instanceRealDestroy = reinterpret_cast<decltype(header.instanceRealDestroy)>(Kind::destroy);
  header.instanceExtension = extension;
  header.instanceValidate = Kind::validate != nullptr ? Kind::validate : extension->instanceDefaultValidate;
  header.instanceClone = reinterpret_cast<decltype(header.instanceClone)>(Kind::clone);
  record->service = service;
  record->isStatic = isStatic;
  record->encoding = Kind::encoding;
  record->pool = pool;
}

template <class Kind>
void setText(RecordOf<Kind>* record, ElementOf<Kind>* text, uint64_t length, uint64_t capacity,
             bool ownsBuffer) {
  record->text = text;
  record->length = static_cast<typename Kind::Length>(length);
  record->capacity = static_cast<typename Kind::Length>(capacity);
  record->ownsBuffer = ownsBuffer;
}

// A string over the caller's text.
template <class Kind>
[[gnu::noinline]] RecordOf<Kind>* createBorrowing(VQStringService* service, VQPool* pool,
                                                  const ElementOf<Kind>* text, uint64_t length) {
  auto* record = allocate<RecordOf<Kind>>(pool, 1);
  if (record == nullptr) return nullptr;
  fillRecord<Kind>(record, service, pool, false);
  if constexpr (Kind::borrowedClone == nullptr) {
    record->header.instanceClone = service->instanceExtensionRecord->instanceDefaultClone;
  }
  setText<Kind>(record, const_cast<ElementOf<Kind>*>(text), length, 0, false);
  return record;
}

// An empty string with record and text in one block.
template <class Kind>
inline RecordOf<Kind>* createInline(VQStringService* service, VQPool* pool, uint64_t capacity,
                                    uint64_t elementCount) {
  using Record = RecordOf<Kind>;
  const uint64_t byteCount = sizeof(Record) + elementCount * sizeof(ElementOf<Kind>);
  auto* record = static_cast<Record*>(pool->poolAlloc(pool, byteCount, 0));
  if (record == nullptr) return nullptr;
  fillRecord<Kind>(record, service, pool, false);
  setText<Kind>(record, behindRecord<Kind>(record), 0, capacity, false);
  record->text[0] = 0;
  return record;
}

// An empty string with a block of its own for the text.
template <class Kind>
[[gnu::noinline]] RecordOf<Kind>* createSeparate(VQStringService* service, VQPool* pool, uint64_t capacity,
                                                 uint64_t elementCount) {
  PoolBlock<RecordOf<Kind>> record(pool, allocate<RecordOf<Kind>>(pool, 1));
  if (!record) return nullptr;
  auto* block = allocate<ElementOf<Kind>>(pool, elementCount);
  if (block == nullptr) return nullptr;
  fillRecord<Kind>(record.get(), service, pool, false);
  setText<Kind>(record.get(), block, 0, capacity, true);
  block[0] = 0;
  return record.release();
}

// An empty string, inline or separate, whose storage has `elementCount` elements and whose capacity reads
// `capacity`: the makers differ in whether the terminator counts.
template <class Kind>
inline RecordOf<Kind>* createEmpty(VQStringService* service, VQPool* pool, uint64_t capacity,
                                   uint64_t elementCount) {
  return capacity <= inlineCapacityLimit ? createInline<Kind>(service, pool, capacity, elementCount)
                                         : createSeparate<Kind>(service, pool, capacity, elementCount);
}

// Puts a text into a string just made with room for it. A null text leaves the string empty.
template <class Kind>
RecordOf<Kind>* withText(RecordOf<Kind>* record, const ElementOf<Kind>* text, uint64_t length) {
  if (record == nullptr || text == nullptr) return record;
  moveMostlyShort(record->text, text, length);
  record->text[length] = 0;
  record->length = static_cast<typename Kind::Length>(length);
  assert(isSound<Kind>(record));
  return record;
}

// A copy in storage by the capacity rule, which counts the terminator.
template <class Kind>
[[gnu::noinline]] RecordOf<Kind>* createCopy(VQStringService* service, VQPool* pool,
                                             const ElementOf<Kind>* text, uint64_t length) {
  const uint64_t capacity = capacityFor(length);
  return withText<Kind>(createEmpty<Kind>(service, pool, capacity, capacity), text, length);
}

// A copy in storage of the asked size; the terminator comes on top.
template <class Kind>
RecordOf<Kind>* createSized(VQStringService* service, VQPool* pool, const ElementOf<Kind>* text,
                            uint64_t length, uint64_t askedCapacity) {
  const uint64_t capacity = askedCapacity > length ? askedCapacity : length;
  if (capacity == UINT64_MAX) return nullptr;
  return withText<Kind>(createEmpty<Kind>(service, pool, capacity, capacity + 1), text, length);
}

// The making operation: only a copy flag of exactly 1 copies.
template <class Kind>
inline RecordOf<Kind>* createCounted(VQStringService* service, VQPool* pool, const ElementOf<Kind>* text,
                                     uint64_t length, uint8_t copy) {
  VQPool* home = pool != nullptr ? pool : service->pool;
  return copy == 1 ? createCopy<Kind>(service, home, text, length)
                   : createBorrowing<Kind>(service, home, text, length);
}

template <class Kind>
[[gnu::noinline]] RecordOf<Kind>* createMeasured(VQStringService* service, VQPool* pool,
                                                 const ElementOf<Kind>* text, uint8_t copy) {
  return createCounted<Kind>(service, pool, text, Kind::measure(text), copy);
}

template <class Kind>
RecordOf<Kind>* create(VQStringService* service, VQPool* pool, const ElementOf<Kind>* text, int64_t length,
                       uint8_t copy) {
  return length == -1 ? createMeasured<Kind>(service, pool, text, copy)
                      : createCounted<Kind>(service, pool, text, static_cast<uint64_t>(length), copy);
}

template <class Kind>
void initStatic(VQStringService* service, RecordOf<Kind>* record, VQPool* pool, const ElementOf<Kind>* text,
                int64_t length) {
  fillRecord<Kind>(record, service, pool != nullptr ? pool : service->pool, true);
  setText<Kind>(record, const_cast<ElementOf<Kind>*>(text), resolvedLength<Kind>(text, length), 0, false);
}

template <class Kind>
inline VQStatus freeRecord(RecordOf<Kind>* record) {
  VQPool* pool = record->pool;
  return record->isStatic ? 0 : pool->poolFree(pool, record);
}

template <class Kind>
[[gnu::noinline]] VQStatus destroySeparate(RecordOf<Kind>* record) {
  if (const VQStatus status = record->pool->poolFree(record->pool, record->text); status != 0) return status;
  setText<Kind>(record, nullptr, 0, 0, false);
  return freeRecord<Kind>(record);
}

// A text block that cannot be freed leaves the string whole; a record that cannot be freed is left emptied.
template <class Kind>
VQStatus destroy(RecordOf<Kind>* record) {
  if (record == nullptr) return 0;
  return record->ownsBuffer == 1 ? destroySeparate<Kind>(record) : freeRecord<Kind>(record);
}

}  // namespace vq
