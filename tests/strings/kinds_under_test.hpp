// The three kinds of string behind one face, for tests that hold for all of them, and a pool that writes down
// what it is asked for.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "strings/editing.hpp"
#include "support/fault_injector.hpp"
#include "vqstring/strings.h"

namespace test {

inline constexpr uint32_t latin1 = 31;

struct Wide : vq::WideKind {
  using Text = std::u32string;
  static constexpr auto concat = vqStringConcat;
  static Record* create(VQStringService* service, VQPool* pool, const VQChar* text, int64_t length,
                        uint8_t copy) {
    return vqStringCreate(service, pool, text, length, copy);
  }
  static Record* createSized(VQStringService* service, VQPool* pool, const VQChar* text, int64_t length,
                             int64_t size) {
    return vqStringCreateSized(service, pool, text, length, size);
  }
  static VQStatus copyText(Record* string, const VQChar* text, int64_t length) {
    return vqStringCopyText(string, text, length, ENC_WIDE);
  }
  static VQStatus append(Record* string, const VQChar* text, int64_t length) {
    return vqStringConcatText(string, text, length, ENC_WIDE);
  }
  static VQStatus insert(Record* string, uint64_t position, const VQChar* text, int64_t length) {
    return vqStringInsertText(string, static_cast<int64_t>(position), text, length, ENC_WIDE);
  }
  static VQStatus trim(Record* string) { return vqStringTrimWhitespace(string); }
};

struct U8 : vq::U8Kind {
  using Text = std::string;
  static Record* create(VQStringService* service, VQPool* pool, const char* text, int64_t length,
                        uint8_t copy) {
    Record* made = nullptr;
    const VQStatus status = vqU8StringCreate(service, &made, pool, text, length, copy);
    EXPECT_EQ(status, made ? 0 : VQSTATUS_NO_MEMORY);
    return made;
  }
  static Record* createSized(VQStringService* service, VQPool* pool, const char* text, int64_t length,
                             int64_t size) {
    Record* made = nullptr;
    const VQStatus status = vqU8StringCreateSized(service, &made, pool, text, length, size);
    EXPECT_EQ(status, made ? 0 : VQSTATUS_NO_MEMORY);
    return made;
  }
  static VQStatus copyText(Record* string, const char* text, int64_t length) {
    return vqU8StringCopyText(string, text, length, ENC_UTF8);
  }
  static VQStatus append(Record* string, const char* text, int64_t length) {
    return vqU8StringConcatText(string, text, length, ENC_UTF8);
  }
  static VQStatus insert(Record* string, uint64_t position, const char* text, int64_t length) {
    return vqU8StringInsertU8(string, position, text, static_cast<uint64_t>(length));
  }
  static VQStatus trim(Record* string) { return vqU8StringTrimWhitespace(string); }
};

struct Narrow : vq::NarrowKind {
  using Text = std::string;
  static constexpr auto concat = vqNStringConcat;
  static Record* create(VQStringService* service, VQPool* pool, const char* text, int64_t length,
                        uint8_t copy) {
    Record* made = nullptr;
    const VQStatus status = vqNarrowStringCreate(service, &made, pool, text, length, latin1, copy);
    EXPECT_EQ(status, made ? 0 : VQSTATUS_NO_MEMORY);
    return made;
  }
  static Record* createSized(VQStringService* service, VQPool* pool, const char* text, int64_t length,
                             int64_t size) {
    Record* made = nullptr;
    const VQStatus status = vqNarrowStringCreateSized(service, &made, pool, text, length, latin1, size);
    EXPECT_EQ(status, made ? 0 : VQSTATUS_NO_MEMORY);
    return made;
  }
  static VQStatus copyText(Record* string, const char* text, int64_t length) {
    return vqNStringCopyText(string, text, length, latin1);
  }
  static VQStatus append(Record* string, const char* text, int64_t length) {
    return vqNStringConcatText(string, text, length, latin1);
  }
};

template <class Kind>
typename Kind::Text textOf(const typename Kind::Record* string) {
  return {string->text, static_cast<size_t>(string->length)};
}

enum class Form { inlineText, separate, borrowed };

template <class Kind>
Form formOf(const typename Kind::Record* string) {
  if (string->ownsBuffer == 1) return Form::separate;
  return string->capacity == 0 ? Form::borrowed : Form::inlineText;
}

// Forwards to a real pool. The log has a word for each call: "+size" for a block, "=size" for a changed one,
// "-" for one given back.
struct RecordingPool : VQPool {
  explicit RecordingPool(VQPool* recorded) : real(recorded) {
    poolAlloc = [](VQPool* self, uint64_t byteCount, uint32_t flags) {
      auto* pool = static_cast<RecordingPool*>(self);
      pool->log.push_back("+" + std::to_string(byteCount));
      return pool->real->poolAlloc(pool->real, byteCount, flags);
    };
    poolFree = [](VQPool* self, void* block) {
      auto* pool = static_cast<RecordingPool*>(self);
      pool->log.push_back("-");
      return pool->real->poolFree(pool->real, block);
    };
    poolRealloc = [](VQPool* self, void* block, uint64_t byteCount, uint64_t zero) {
      auto* pool = static_cast<RecordingPool*>(self);
      pool->log.push_back("=" + std::to_string(byteCount));
      return pool->real->poolRealloc(pool->real, block, byteCount, zero);
    };
    poolDestroy = nullptr;
  }
  VQPool* real;
  std::vector<std::string> log;
};

}  // namespace test
