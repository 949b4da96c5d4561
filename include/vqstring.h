/* vqstring: the string service of a host kernel.
 *
 * Read this page before anything else.
 *
 * Kinds. VQString holds wide text, VQU8String UTF-8, VQNarrowString bytes in a numbered encoding. All three
 * share one record (strings.h) and begin with the header of every instance (instance.h).
 *
 * Units. A length counts elements: VQChar in a wide string, bytes in the two others. Sizes in bytes are named
 * byteCount. A length of -1 means a zero-terminated text where the operation says so.
 *
 * Ownership. A string lives in a pool: the one given, or the service's when the pool argument is null. Who
 * makes a string releases it, by instanceRelease or the kind's destroy operation. A plain block that an
 * operation hands out is freed with poolFree on the pool that was passed. Arguments are borrowed for the call
 * unless an operation says otherwise.
 *
 * Failure. A failed edit leaves its target as it was, a failed creation leaves the out pointer as the
 * operation says, and nothing leaks. Nothing is ever read behind a text's length.
 *
 * Threads. The library has no threads and one lock, for the first regular expression. One string may have
 * many readers or one writer; different strings are independent.
 */
#ifndef VQSTRING_H
#define VQSTRING_H

#include "vqstring/base.h"
#include "vqstring/compare.h"
#include "vqstring/encodings.h"
#include "vqstring/format.h"
#include "vqstring/host.h"
#include "vqstring/instance.h"
#include "vqstring/instances.h"
#include "vqstring/locale.h"
#include "vqstring/service.h"
#include "vqstring/strings.h"
#include "vqstring/text.h"
#include "vqstring/utf.h"

#endif
