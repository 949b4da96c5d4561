/* Instances: the header that every object of the kernel family begins with, and the foreign records that the
 * library reads.
 *
 * An instance is counted by reference. Who makes one holds one reference and gives it back with
 * instanceRelease; the last release runs instanceRealDestroy. The layouts are fixed: other programs read
 * them word by word.
 */
#ifndef VQSTRING_INSTANCE_H
#define VQSTRING_INSTANCE_H

#include "base.h"

VQ_BEGIN_DECLS

/* Nine words. */
struct VQInstance {
  /* VQ_SIGNATURE. */
  uint64_t signature;
  /* Zero-terminated static text, such as "VQString". */
  const char* typeName;
  /* Drops one reference. */
  void (*instanceRelease)(VQInstance* instance);
  /* Atomic. Starts at 1. */
  uint64_t refCount;
  /* 1 when the instance is of the named type. */
  uint8_t (*instanceIsKindOf)(VQInstance* instance, const char* typeName);
  /* Frees the object at once, whoever else holds a reference. */
  VQStatus (*instanceRealDestroy)(VQInstance* instance);
  VQInstanceExtension* instanceExtension;
  /* Checks the value against `constraint` (null: none). The verdict, 0 or a rejection code, is written only
   * when the status is 0. */
  VQStatus (*instanceValidate)(VQInstance* instance, VQInstance* constraint, uint32_t* verdict);
  /* Makes an independent copy in `pool` (null: the instance's own). The middle word is not read. */
  VQStatus (*instanceClone)(VQInstance* instance, VQPool* pool, uint64_t ignored, VQInstance** copy);
};

/* The record of the extension "vqinstance", which provides what all instances share. */
struct VQInstanceExtension {
  uint64_t signature;
  uint64_t reserved;
  /* Releases the extension itself. */
  void (*extensionRelease)(VQInstanceExtension* extension);
  uint64_t reservedHead[6];
  void (*instanceRelease)(VQInstance* instance);
  uint8_t (*instanceIsKindOf)(VQInstance* instance, const char* typeName);
  VQStatus (*instanceDefaultValidate)(VQInstance* instance, VQInstance* constraint, uint32_t* verdict);
  VQStatus (*instanceDefaultClone)(VQInstance* instance, VQPool* pool, uint64_t ignored, VQInstance** copy);
};

typedef struct VQConstraintTable {
  /* Reads a number. Kind 0 stores it as signed through `signedValue`, kind 1 as unsigned through
   * `unsignedValue`; the other pointer is null. `found` is written on every return with status 0. */
  VQStatus (*instanceGetNumberProperty)(VQInstance* constraint, uint64_t zero1, uint64_t zero2,
                                        const VQChar* name, int64_t nameLength, uint64_t zero3, uint64_t kind,
                                        int64_t* signedValue, uint64_t* unsignedValue, uint64_t zero4,
                                        uint64_t zero5, uint8_t* found);
} VQConstraintTable;

/* Declared properties that a value is checked against. */
struct VQConstraint {
  VQInstance header;
  /* Nonzero when the property exists; the instance is then in `*property`, borrowed. */
  uint8_t (*instanceFindProperty)(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                  VQInstance** property);
  const VQConstraintTable* table;
};

/* An array of instances, type "VQArray". */
struct VQArray {
  VQInstance header;
  uint64_t reserved;
  VQInstance** items;
  uint64_t count;
};

/* The typed instances: word 9 is the host's, the payload begins at word 10. A zone offset is in seconds; it
 * counts only when its flag is not 0. */
typedef struct VQBooleanInstance {
  VQInstance header;
  uint64_t reserved;
  uint8_t value; /* exactly 1 is true */
} VQBooleanInstance;

typedef struct VQInt32Instance {
  VQInstance header;
  uint64_t reserved;
  int32_t value;
} VQInt32Instance;

typedef struct VQInt64Instance {
  VQInstance header;
  uint64_t reserved;
  int64_t value;
} VQInt64Instance;

typedef struct VQUInt32Instance {
  VQInstance header;
  uint64_t reserved;
  uint32_t value;
} VQUInt32Instance;

typedef struct VQUInt64Instance {
  VQInstance header;
  uint64_t reserved;
  uint64_t value;
} VQUInt64Instance;

typedef struct VQDoubleInstance {
  VQInstance header;
  uint64_t reserved;
  double value;
} VQDoubleInstance;

typedef struct VQCalendarDateInstance {
  VQInstance header;
  uint64_t reserved;
  int32_t month; /* 1 to 12 */
  int32_t day;   /* 1 to 31 */
  int32_t year;
} VQCalendarDateInstance;

typedef struct VQTimeInstance {
  VQInstance header;
  uint64_t reserved;
  int32_t hour;
  int32_t minute;
  int32_t second;
  int32_t millisecond;
  uint64_t reservedBeforeOffset;
  double zoneOffset;
  uint8_t hasZoneOffset;
} VQTimeInstance;

/* Type name "VQDateTimeInstanceName". */
typedef struct VQDateTimeInstance {
  VQInstance header;
  uint64_t reserved;
  double value; /* seconds since 1960-01-01 00:00:00 */
  double zoneOffset;
  uint8_t hasZoneOffset;
} VQDateTimeInstance;

typedef struct VQCalendarDateTimeInstance {
  VQInstance header;
  uint64_t reserved;
  int32_t month;
  int32_t day;
  int32_t year;
  int32_t hour;
  int32_t minute;
  int32_t second;
  int32_t millisecond;
  /* The value in seconds since 1960-01-01 00:00:00. */
  double (*calendarToDatetime)(struct VQCalendarDateTimeInstance* instance);
  double zoneOffset;
  uint8_t hasZoneOffset;
} VQCalendarDateTimeInstance;

VQ_END_DECLS

#endif
