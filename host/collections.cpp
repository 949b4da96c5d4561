// Arrays and constraints: the two kinds of instance that hold others. All they own lies in blocks of their
// pool, so a pool that ends takes them along; each holds a reference on every instance inside.
#include <algorithm>
#include <cstring>
#include <limits>

#include "host/instance_extension.hpp"

namespace vq::host {

namespace {

// Makes room for one more element of `size` bytes behind `count`; null when memory runs out.
template <class Element>
bool grow(VQPool* pool, Element*& elements, uint64_t count, uint64_t& capacity) {
  if (count < capacity) return true;
  const uint64_t wanted = std::max<uint64_t>(4, capacity * 2);
  void* block = elements == nullptr ? pool->poolAlloc(pool, wanted * sizeof(Element), 0)
                                    : pool->poolRealloc(pool, elements, wanted * sizeof(Element), 0);
  if (block == nullptr) return false;
  elements = static_cast<Element*>(block);
  capacity = wanted;
  return true;
}

struct Array : VQArray {
  uint64_t capacity;

  static Array& of(VQInstance* instance) { return *reinterpret_cast<Array*>(instance); }
  VQPool* pool() const { return reinterpret_cast<VQPool*>(reserved); }

  static VQStatus destroy(VQInstance* instance) noexcept {
    Array& array = of(instance);
    VQPool* pool = array.pool();
    for (uint64_t i = 0; i < array.count; ++i) array.items[i]->instanceRelease(array.items[i]);
    if (array.items != nullptr) pool->poolFree(pool, array.items);
    return pool->poolFree(pool, instance);
  }
};

struct Property {
  VQChar* name;
  uint64_t nameLength;
  enum class Kind : uint64_t { signedNumber, unsignedNumber, instance } kind;
  union {
    int64_t signedValue;
    uint64_t unsignedValue;
    VQInstance* instance;
  };
};

struct Constraint : VQConstraint {
  VQPool* pool;
  Property* properties;
  uint64_t count;
  uint64_t capacity;

  static Constraint& of(VQInstance* instance) { return *reinterpret_cast<Constraint*>(instance); }

  Property* find(const VQChar* name, int64_t nameLength) const {
    const std::u32string_view wanted = wideView(name, nameLength);
    Property* end = properties + count;
    Property* found = std::find_if(properties, end, [&](const Property& property) {
      return std::u32string_view(property.name, property.nameLength) == wanted;
    });
    return found == end ? nullptr : found;
  }

  // The property under the name, made when there is none yet; null when memory runs out.
  Property* place(const VQChar* name, int64_t nameLength) {
    if (Property* present = find(name, nameLength)) {
      if (present->kind == Property::Kind::instance) present->instance->instanceRelease(present->instance);
      return present;
    }
    if (!grow(pool, properties, count, capacity)) return nullptr;
    const std::u32string_view text = wideView(name, nameLength);
    auto* copy = static_cast<VQChar*>(pool->poolAlloc(pool, (text.size() + 1) * sizeof(VQChar), 0));
    if (copy == nullptr) return nullptr;
    std::copy(text.begin(), text.end(), copy);
    copy[text.size()] = 0;
    properties[count].name = copy;
    properties[count].nameLength = text.size();
    return &properties[count++];
  }

  static VQStatus destroy(VQInstance* instance) noexcept {
    Constraint& constraint = of(instance);
    VQPool* pool = constraint.pool;
    for (uint64_t i = 0; i < constraint.count; ++i) {
      const Property& property = constraint.properties[i];
      if (property.kind == Property::Kind::instance) property.instance->instanceRelease(property.instance);
      pool->poolFree(pool, property.name);
    }
    if (constraint.properties != nullptr) pool->poolFree(pool, constraint.properties);
    return pool->poolFree(pool, instance);
  }
};

uint8_t findProperty(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                     VQInstance** instance) noexcept {
  const Property* property = Constraint::of(constraint).find(name, nameLength);
  if (property == nullptr || property->kind != Property::Kind::instance) return 0;
  *instance = property->instance;
  return 1;
}

VQStatus getNumberProperty(VQInstance* constraint, uint64_t, uint64_t, const VQChar* name, int64_t nameLength,
                           uint64_t, uint64_t kind, int64_t* signedValue, uint64_t* unsignedValue, uint64_t,
                           uint64_t, uint8_t* found) noexcept {
  const Property* property = Constraint::of(constraint).find(name, nameLength);
  *found = property != nullptr && property->kind != Property::Kind::instance ? 1 : 0;
  if (*found == 0) return 0;
  const bool isSigned = property->kind == Property::Kind::signedNumber;
  if (kind == 0) {
    constexpr auto largest = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    *signedValue =
        isSigned ? property->signedValue : static_cast<int64_t>(std::min(property->unsignedValue, largest));
  } else {
    *unsignedValue = isSigned ? static_cast<uint64_t>(std::max<int64_t>(property->signedValue, 0))
                              : property->unsignedValue;
  }
  return 0;
}

constexpr VQConstraintTable constraintTable{getNumberProperty};

}  // namespace

}  // namespace vq::host

using vq::host::Array;
using vq::host::Constraint;
using vq::host::createInstance;
using vq::host::Property;
using vq::host::retain;

VQStatus vqhostCreateArray(VQKernel* kernel, VQPool* pool, VQInstance* const* items, uint64_t count,
                           VQInstance** array) {
  VQInstance* made = createInstance(kernel, pool, sizeof(Array), "VQArray", Array::destroy);
  if (made == nullptr) return VQSTATUS_NO_MEMORY;
  Array::of(made).reserved = reinterpret_cast<uint64_t>(pool);
  for (uint64_t i = 0; i < count; ++i) {
    if (const VQStatus status = vqhostArrayAppend(made, items[i]); status != 0) {
      made->instanceRelease(made);
      return status;
    }
  }
  *array = made;
  return 0;
}

VQStatus vqhostArrayAppend(VQInstance* instance, VQInstance* item) {
  Array& array = Array::of(instance);
  if (!vq::host::grow(array.pool(), array.items, array.count, array.capacity)) return VQSTATUS_NO_MEMORY;
  retain(item);
  array.items[array.count++] = item;
  return 0;
}

VQStatus vqhostCreateConstraint(VQKernel* kernel, VQPool* pool, VQInstance** constraint) {
  VQInstance* made = createInstance(kernel, pool, sizeof(Constraint), "VQConstraint", Constraint::destroy);
  if (made == nullptr) return VQSTATUS_NO_MEMORY;
  Constraint& record = Constraint::of(made);
  record.pool = pool;
  record.instanceFindProperty = vq::host::findProperty;
  record.table = &vq::host::constraintTable;
  *constraint = made;
  return 0;
}

VQStatus vqhostConstraintSetSigned(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                   int64_t value) {
  Property* property = Constraint::of(constraint).place(name, nameLength);
  if (property == nullptr) return VQSTATUS_NO_MEMORY;
  property->kind = Property::Kind::signedNumber;
  property->signedValue = value;
  return 0;
}

VQStatus vqhostConstraintSetUnsigned(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                     uint64_t value) {
  Property* property = Constraint::of(constraint).place(name, nameLength);
  if (property == nullptr) return VQSTATUS_NO_MEMORY;
  property->kind = Property::Kind::unsignedNumber;
  property->unsignedValue = value;
  return 0;
}

VQStatus vqhostConstraintSetInstance(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                     VQInstance* value) {
  // First of all: the value may be the one that is being replaced.
  retain(value);
  Property* property = Constraint::of(constraint).place(name, nameLength);
  if (property == nullptr) {
    value->instanceRelease(value);
    return VQSTATUS_NO_MEMORY;
  }
  property->kind = Property::Kind::instance;
  property->instance = value;
  return 0;
}
