// Buffers that end (or begin) at a page that nobody may touch, so that a read past a length is a crash.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

namespace test {

enum class Edge { behind, before };

// `count` elements directly in front of a forbidden page (Edge::behind) or directly after one (Edge::before).
template <class Element>
class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t count, Edge edge = Edge::behind) : count_(count) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t body = (count * sizeof(Element) + page) / page * page;
    mappedBytes_ = body + 2 * page;
    mapped_ = static_cast<std::byte*>(
        mmap(nullptr, mappedBytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (mapped_ == MAP_FAILED) std::abort();
    mprotect(mapped_, page, PROT_NONE);
    mprotect(mapped_ + page + body, page, PROT_NONE);
    std::byte* start =
        edge == Edge::behind ? mapped_ + page + body - count * sizeof(Element) : mapped_ + page;
    data_ = reinterpret_cast<Element*>(start);
  }
  explicit GuardedBuffer(std::span<const Element> contents, Edge edge = Edge::behind)
      : GuardedBuffer(contents.size(), edge) {
    if (!contents.empty()) std::memcpy(data_, contents.data(), contents.size_bytes());
  }
  GuardedBuffer(GuardedBuffer&& other) noexcept
      : mapped_(std::exchange(other.mapped_, nullptr)),
        mappedBytes_(other.mappedBytes_),
        data_(other.data_),
        count_(other.count_) {}
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(GuardedBuffer) = delete;
  ~GuardedBuffer() {
    if (mapped_ != nullptr) munmap(mapped_, mappedBytes_);
  }

  Element* data() const { return data_; }
  size_t size() const { return count_; }
  Element* begin() const { return data_; }
  Element* end() const { return data_ + count_; }
  Element& operator[](size_t index) const { return data_[index]; }

 private:
  std::byte* mapped_;
  size_t mappedBytes_;
  Element* data_;
  size_t count_;
};

}  // namespace test
