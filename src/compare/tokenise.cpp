// The operations of the two tokenisers: which matcher with which ending.
#include "compare/delimiters.hpp"
#include "compare/single_delimiter.hpp"
#include "compare/tokens.hpp"

namespace tokens = vq::tokens;

namespace {

// A count of 0 or below matches nothing.
uint64_t orNone(int64_t count) {
  return count > 0 ? static_cast<uint64_t>(count) : 0;
}

bool isAsciiByte(const char* delimiters, uint64_t byteCount) {
  return byteCount == 1 && static_cast<signed char>(delimiters[0]) >= 0;
}

}  // namespace

void vqStringTokenizeStart(VQString* string, VQTokenizer* tokenizer) {
  tokens::trail = string->text;
  *tokenizer = {.source = string->length == 0 ? nullptr : string,
                .position = string->text,
                .tokenize = vqStringTokenize,
                .tokenizeText = vqStringTokenizeText,
                .tokenizeLong = vqStringTokenizeLong,
                .tokenizeLongText = vqStringTokenizeLongText,
                .tokenizeList = vqStringTokenizeList};
}

VQString* vqStringTokenize(VQTokenizer* tokenizer, const VQString* delimiterString, VQString* token) {
  return vqStringTokenizeText(tokenizer, delimiterString->text, delimiterString->length, token);
}

VQString* vqStringTokenizeText(VQTokenizer* tokenizer, const VQChar* delimiters, int64_t count,
                               VQString* token) {
  if (count == 1) [[likely]]
    return tokens::nextBySingle<tokens::wideSet>(tokenizer, delimiters, token);
  return tokens::nextToken<tokens::wideSet>(tokenizer, tokens::WideSet{delimiters, orNone(count)}, token);
}

VQString* vqStringTokenizeLong(VQTokenizer* tokenizer, const VQString* delimiterString, VQString* token) {
  return vqStringTokenizeLongText(tokenizer, delimiterString->text, delimiterString->length, token);
}

VQString* vqStringTokenizeLongText(VQTokenizer* tokenizer, const VQChar* delimiters, int64_t count,
                                   VQString* token) {
  if (count == 1) [[likely]]
    return tokens::nextBySingle<tokens::wideSequence>(tokenizer, delimiters, token);
  return tokens::nextToken<tokens::wideSequence>(tokenizer, tokens::WideSequence{delimiters, orNone(count)},
                                                 token);
}

int32_t vqStringTokenizeList(VQTokenizer* tokenizer, VQString* const* delimiterList, int32_t listCount,
                             VQString* token) {
  return tokens::nextIndex<tokens::wideList>(tokenizer, tokens::List<VQString>{delimiterList, listCount},
                                             token);
}

void vqU8StringTokenizeStart(VQU8String* u8string, VQU8Tokenizer* tokenizer) {
  tokens::trail = u8string->text;
  *tokenizer = {.source = u8string->length == 0 ? nullptr : u8string,
                .position = u8string->text,
                .tokenizeU8 = vqU8StringTokenizeU8,
                .tokenizeLongU8 = vqU8StringTokenizeLongU8,
                .tokenizeList = vqU8StringTokenizeList};
}

VQU8String* vqU8StringTokenizeU8(VQU8Tokenizer* tokenizer, const char* delimiters, uint64_t byteCount,
                                 VQU8String* token) {
  if (isAsciiByte(delimiters, byteCount)) [[likely]] {
    return tokens::nextBySingle<tokens::u8Set>(tokenizer, delimiters, token);
  }
  return tokens::nextToken<tokens::u8Set>(tokenizer, tokens::U8Set{delimiters, byteCount}, token);
}

VQU8String* vqU8StringTokenizeLongU8(VQU8Tokenizer* tokenizer, const char* delimiters, uint64_t byteCount,
                                     VQU8String* token) {
  if (isAsciiByte(delimiters, byteCount)) [[likely]] {
    return tokens::nextBySingle<tokens::u8Sequence>(tokenizer, delimiters, token);
  }
  return tokens::nextToken<tokens::u8Sequence>(tokenizer, tokens::U8Sequence{delimiters, byteCount}, token);
}

int32_t vqU8StringTokenizeList(VQU8Tokenizer* tokenizer, VQU8String* const* delimiterList, int32_t listCount,
                               VQU8String* token) {
  // This operation alone also empties the token of a walk that has ended.
  if (tokenizer->source == nullptr) {
    tokens::setToken<VQU8String, char>(token, nullptr, 0);
    return -1;
  }
  return tokens::nextIndex<tokens::u8List>(tokenizer, tokens::List<VQU8String>{delimiterList, listCount},
                                           token);
}
