// Compiled patterns and the cache that keeps them.
//
// Callers compile afresh for every search, so making an engine has to cost a look-up. A kernel's cache is
// shared by all threads, bounded, and keeps patterns that do not compile beside those that do. In front of it
// every thread has slots of its own, found by the pattern's hash, each with an engine that waits for its next
// use: the common case takes no lock and no memory.
#pragma once

#include <unicode/uregex.h>

#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/required_literals.hpp"
#include "vqhost.h"

namespace vq::host {

struct PatternKey {
  uint32_t encoding;
  std::string_view bytes;
  uint64_t hash;

  PatternKey(uint32_t patternEncoding, const void* pattern, uint64_t byteCount) noexcept;
  bool operator==(const PatternKey& other) const {
    return hash == other.hash && encoding == other.encoding && bytes == other.bytes;
  }
};

class Pattern {
 public:
  // Compiles; a pattern that fails holds its status.
  explicit Pattern(const PatternKey& key);
  ~Pattern();
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  // Refers to this pattern's own bytes.
  PatternKey key() const { return {encoding_, bytes_.data(), bytes_.size()}; }
  uint64_t hash() const { return hash_; }
  bool matches(const PatternKey& key) const {
    return hash_ == key.hash && encoding_ == key.encoding && bytes_ == key.bytes;
  }
  uint32_t encoding() const { return encoding_; }
  VQStatus status() const { return status_; }
  // Memory ran out; another time it may not.
  bool isTransient() const { return status_ == VQSTATUS_NO_MEMORY; }
  const std::vector<RequiredLiteral>& literals() const { return literals_; }
  // A matcher of the caller's own over the shared compiled form; null when memory runs out.
  URegularExpression* createMatcher() const;

 private:
  void compile();

  std::string bytes_;
  uint64_t hash_;
  uint32_t encoding_;
  VQStatus status_ = 0;
  URegularExpression* compiled_ = nullptr;
  std::vector<RequiredLiteral> literals_;
};

class PatternCache {
 public:
  explicit PatternCache(size_t maxEntries);

  // The pattern, compiled now or earlier.
  std::shared_ptr<const Pattern> find(const PatternKey& key);
  size_t entryCount() const;
  // Tells this cache from all others that there were or will be.
  uint64_t id() const { return id_; }

 private:
  struct Hash {
    size_t operator()(const PatternKey& key) const { return key.hash; }
  };
  // The least recently used at the end.
  using Entries = std::list<std::shared_ptr<const Pattern>>;

  const size_t maxEntries_;
  const uint64_t id_;
  mutable std::mutex mutex_;
  Entries entries_;
  std::unordered_map<PatternKey, Entries::iterator, Hash> index_;
};

}  // namespace vq::host
