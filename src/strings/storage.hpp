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
RecordOf<Kind>* createBorrowing(VQStringService* service, VQPool* pool, const ElementOf<Kind>* text,
                                uint64_t length) {
  auto* record = allocate<RecordOf<Kind>>(pool, 1);
  if (record == nullptr) return nullptr;
  fillRecord<Kind>(record, service, pool, false);
  if constexpr (Kind::borrowedClone == nullptr) {
    record->header.instanceClone = service->instanceExtensionRecord->instanceDefaultClone;
  }
  setText<Kind>(record, const_cast<ElementOf<Kind>*>(text), length, 0, false);
  return record;
}

// An empty string, inline or separate, whose storage has `elementCount` elements and whose capacity reads
// `capacity`: the makers differ in whether the terminator counts.
template <class Kind>
RecordOf<Kind>* createEmpty(VQStringService* service, VQPool* pool, uint64_t capacity,
                            uint64_t elementCount) {
  using Record = RecordOf<Kind>;
  using Element = ElementOf<Kind>;
  if (capacity > inlineCapacityLimit) {
    PoolBlock<Record> record(pool, allocate<Record>(pool, 1));
    if (!record) return nullptr;
    auto* block = allocate<Element>(pool, elementCount);
    if (block == nullptr) return nullptr;
    fillRecord<Kind>(record.get(), service, pool, false);
    setText<Kind>(record.get(), block, 0, capacity, true);
    block[0] = 0;
    return record.release();
  }
  auto* record =
      static_cast<Record*>(pool->poolAlloc(pool, sizeof(Record) + elementCount * sizeof(Element), 0));
  if (record == nullptr) return nullptr;
  fillRecord<Kind>(record, service, pool, false);
  setText<Kind>(record, behindRecord<Kind>(record), 0, capacity, false);
  record->text[0] = 0;
  return record;
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
RecordOf<Kind>* createCopy(VQStringService* service, VQPool* pool, const ElementOf<Kind>* text,
                           uint64_t length) {
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
RecordOf<Kind>* create(VQStringService* service, VQPool* pool, const ElementOf<Kind>* text, int64_t length,
                       uint8_t copy) {
  VQPool* home = pool != nullptr ? pool : service->pool;
  const uint64_t elementCount = resolvedLength<Kind>(text, length);
  return copy == 1 ? createCopy<Kind>(service, home, text, elementCount)
                   : createBorrowing<Kind>(service, home, text, elementCount);
}

template <class Kind>
void initStatic(VQStringService* service, RecordOf<Kind>* record, VQPool* pool, const ElementOf<Kind>* text,
                int64_t length) {
  fillRecord<Kind>(record, service, pool != nullptr ? pool : service->pool, true);
  setText<Kind>(record, const_cast<ElementOf<Kind>*>(text), resolvedLength<Kind>(text, length), 0, false);
}

// A text block that cannot be freed leaves the string whole; a record that cannot be freed is left emptied.
template <class Kind>
VQStatus destroy(RecordOf<Kind>* record) {
  if (record == nullptr) return 0;
  VQPool* pool = record->pool;
  if (record->ownsBuffer == 1) {
    if (const VQStatus status = pool->poolFree(pool, record->text); status != 0) return status;
    setText<Kind>(record, nullptr, 0, 0, false);
  }
  return record->isStatic ? 0 : pool->poolFree(pool, record);
}

}  // namespace vq
