// The slots, by subject. A slot bears the name of its operation; its place in the record is the header's
// business.
#include "frame/slots.hpp"

#include "vqstring.h"

// The operation `name` in the slot of the same name.
#define VQ_SLOT(name) service->name = ::name

namespace vq {

void fillSlots(VQStringService* service) {
  // Service.
  VQ_SLOT(vqStringGetReqVersion);
  VQ_SLOT(vqStringGetVersion);
  VQ_SLOT(vqStringRealDestroy);

  // Strings: lifecycle.
  VQ_SLOT(vqStringCreate);
  VQ_SLOT(vqStringCreateSized);
  VQ_SLOT(vqStringDestroy);
  VQ_SLOT(vqStringInitStatic);
  VQ_SLOT(vqNarrowStringCreate);
  VQ_SLOT(vqNarrowStringCreateSized);
  VQ_SLOT(vqNarrowStringDestroy);
  VQ_SLOT(vqU8StringInitStatic);
  VQ_SLOT(vqU8StringCreate);
  VQ_SLOT(vqU8StringCreateSized);
  VQ_SLOT(vqU8StringDestroy);
  VQ_SLOT(vqU8StringWithBytes);

  // Strings: editing.
  VQ_SLOT(vqStringConcatText);
  VQ_SLOT(vqStringConcat);
  VQ_SLOT(vqStringCopyText);
  VQ_SLOT(vqStringCopy);
  VQ_SLOT(vqStringInsertText);
  VQ_SLOT(vqStringTrimWhitespace);
  VQ_SLOT(vqStringSubstring);
  VQ_SLOT(vqNTextEqual);
  VQ_SLOT(vqNTextConcat);
  VQ_SLOT(vqNTextIndex);
  VQ_SLOT(vqNStringConcatText);
  VQ_SLOT(vqNStringConcat);
  VQ_SLOT(vqNStringCopyText);
  VQ_SLOT(vqNStringCopy);
  VQ_SLOT(vqU8StringCopyText);
  VQ_SLOT(vqU8StringConcatText);
  VQ_SLOT(vqU8StringTrimWhitespace);
  VQ_SLOT(vqU8StringInsertVQText);
  VQ_SLOT(vqU8StringInsertU8);

  // Strings: formats and status texts.
  VQ_SLOT(vqStringConcatFormat);
  VQ_SLOT(vqU8StringConcatFormat);
  VQ_SLOT(vqStringConcatStatus);
  VQ_SLOT(vqU8StringConcatStatus);
  VQ_SLOT(vqStringWithFormat);
  VQ_SLOT(vqStringWithStatus);

  // Strings: replacement.
  VQ_SLOT(vqStringReplaceSubstring);
  VQ_SLOT(vqStringReplaceSubstringVQText);

  // Comparison and search.
  VQ_SLOT(vqStringEqual);
  VQ_SLOT(vqStringEqualText);
  VQ_SLOT(vqStringCaseEqualText);
  VQ_SLOT(vqStringStartsWith);
  VQ_SLOT(vqStringStartsWithText);
  VQ_SLOT(vqStringStartsWithVQText);
  VQ_SLOT(vqStringCaseStartsWithVQText);
  VQ_SLOT(vqStringEndsWithText);
  VQ_SLOT(vqStringEndsWithVQText);
  VQ_SLOT(vqStringCaseEndsWithVQText);
  VQ_SLOT(vqStringIndexOfText);
  VQ_SLOT(vqU8StringStartsWithU8);
  VQ_SLOT(vqU8StringEndsWithU8);
  VQ_SLOT(vqU8StringStartsWithText);
  VQ_SLOT(vqU8StringEndsWithText);
  VQ_SLOT(vqU8StringEqualText);

  // Tokens.
  VQ_SLOT(vqStringTokenizeStart);
  VQ_SLOT(vqU8StringTokenizeStart);

  // Conversion.
  VQ_SLOT(vqStringEncode);
  VQ_SLOT(vqStringDecode);
  VQ_SLOT(vqStringGetU8Bytes);
  VQ_SLOT(vqStringGetU8String);
  VQ_SLOT(vqU8StringFromVQText);
  VQ_SLOT(vqU8StringGetVQText);

  // Escaped forms.
  VQ_SLOT(vqStringURLDecode);
  VQ_SLOT(vqStringURLEncode);
  VQ_SLOT(vqU8StringURLEncode);
  VQ_SLOT(vqStringDecodeBase64);
  VQ_SLOT(vqU8StringDecodeBase64);
  VQ_SLOT(vqStringEncodeBase64);
  VQ_SLOT(vqU8StringEncodeBase64);
  VQ_SLOT(vqStringDecodeBase64URL);
  VQ_SLOT(vqU8StringDecodeBase64URL);
  VQ_SLOT(vqStringEncodeBase64URL);
  VQ_SLOT(vqU8StringEncodeBase64URL);

  // Named values.
  VQ_SLOT(vqStringGetVQName);
  VQ_SLOT(vqU8StringGetVQName);

  // Regular expressions.
  VQ_SLOT(vqStringInstanceCreateRegex);
  VQ_SLOT(vqStringInstanceFindNext);
  VQ_SLOT(vqStringInstanceMatch);
  VQ_SLOT(vqStringInstanceMatchVQText);
  VQ_SLOT(vqStringInstanceMatchU8);
  VQ_SLOT(vqStringInstanceContains);
  VQ_SLOT(vqStringInstanceContainsVQText);
  VQ_SLOT(vqStringInstanceContainsU8);

  // Equality and validation.
  VQ_SLOT(vqStringInstanceEqual);
  VQ_SLOT(vqStringInstanceEqualU8);
  VQ_SLOT(vqStringInstanceEqualVQText);
  VQ_SLOT(vqStringSetValidateOpt);

  // Rendering.
  VQ_SLOT(vqInstanceToString);
  VQ_SLOT(vqInstanceLocaleToString);
  VQ_SLOT(vqInstanceIsoToString);
}

}  // namespace vq
