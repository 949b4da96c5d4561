// Copies against a byte-by-byte model, at every distance that matters; fills; case of bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "support/cpu_levels.hpp"
#include "support/guarded_buffer.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"

namespace {

using test::Edge;
using test::GuardedBuffer;

std::vector<size_t> lengths() {
  std::vector<size_t> all;
  for (size_t length = 0; length <= 150; ++length) all.push_back(length);
  for (size_t length : {191u, 255u, 256u, 257u, 383u, 512u, 1000u, 1025u, 4100u}) all.push_back(length);
  return all;
}

std::vector<uint8_t> noise(size_t count) {
  std::vector<uint8_t> bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>((i * i * 31 + i) >> 3);
  return bytes;
}

void forwardCopy(const uint8_t* source, uint8_t* target, size_t count) {
  for (size_t i = 0; i < count; ++i) target[i] = source[i];
}

void faithfulCopy(const uint8_t* source, uint8_t* target, size_t count) {
  const std::vector<uint8_t> through(source, source + count);
  std::copy(through.begin(), through.end(), target);
}

using Copy = void (*)(const uint8_t*, uint8_t*, size_t);

// Both places lie `distance` bytes apart in one stretch of `room`, at its forbidden page.
void expectCopy(Copy copy, Copy model, size_t count, ptrdiff_t distance, std::span<uint8_t> room, Edge edge) {
  const auto apart = static_cast<size_t>(std::abs(distance));
  const auto actual = edge == Edge::behind ? room.last(count + apart) : room.first(count + apart);
  std::vector<uint8_t> expected = noise(count + apart);
  std::copy(expected.begin(), expected.end(), actual.begin());
  expected.push_back(0);  // so that there is an address even for nothing
  const size_t from = distance < 0 ? apart : 0;
  const size_t to = distance < 0 ? 0 : apart;
  copy(actual.data() + from, actual.data() + to, count);
  model(expected.data() + from, expected.data() + to, count);
  ASSERT_TRUE(std::equal(actual.begin(), actual.end(), expected.begin())) << count << " bytes, " << distance;
}

void expectCopies(Copy copy, Copy model) {
  const GuardedBuffer<uint8_t> atEnd(10000, Edge::behind), atBegin(10000, Edge::before);
  test::atEveryLevel([&] {
    for (size_t count : lengths()) {
      std::vector<ptrdiff_t> distances;
      for (ptrdiff_t distance = -70; distance <= 70; ++distance) distances.push_back(distance);
      for (ptrdiff_t far : {96, 127, 128, 129, 255, 500, 999, 4096, 4112}) {
        distances.push_back(far);
        distances.push_back(-far);
      }
      for (ptrdiff_t distance : distances) {
        expectCopy(copy, model, count, distance, {atEnd.begin(), atEnd.size()}, Edge::behind);
        expectCopy(copy, model, count, distance, {atBegin.begin(), atBegin.size()}, Edge::before);
      }
      if (testing::Test::HasFatalFailure()) return;
    }
  });
}

TEST(MemoryCopy, ForwardCopySmearsWhereItOverlaps) {
  expectCopies([](const uint8_t* s, uint8_t* t, size_t n) { EXPECT_EQ(mhMemCpy(s, t, n), t); }, forwardCopy);
}

TEST(MemoryCopy, SafeCopyIsFaithful) {
  expectCopies([](const uint8_t* s, uint8_t* t, size_t n) { mhMemSCpy(s, t, n); }, faithfulCopy);
}

// Beyond the first cache the copies and fills take another road.
const size_t largeLengths[] = {32767, 32768, 33001, 70016};

TEST(MemoryCopy, LargeBlocks) {
  constexpr size_t longest = (size_t{9} << 20) + 77;
  std::vector<uint8_t> room(2 * longest + 16);
  std::vector<size_t> counts(std::begin(largeLengths), std::end(largeLengths));
  counts.push_back(longest);
  test::atEveryLevel([&] {
    for (size_t count : counts) {
      const auto behind = static_cast<ptrdiff_t>(count) + 16;
      const ptrdiff_t samePhase = (behind / 4096 + 1) * 4096;
      std::vector<ptrdiff_t> distances = {-40, 33, 5, behind, -behind};
      if (count != longest) distances.insert(distances.end(), {samePhase + 8, samePhase + 300});
      for (ptrdiff_t distance : distances) {
        expectCopy([](const uint8_t* s, uint8_t* t, size_t n) { mhMemCpy(s, t, n); }, forwardCopy, count,
                   distance, room, Edge::behind);
        expectCopy([](const uint8_t* s, uint8_t* t, size_t n) { mhMemSCpy(s, t, n); }, faithfulCopy, count,
                   distance, room, Edge::behind);
      }
    }
  });
}

TEST(MemoryCopy, FillsTouchTheirElementsAlone) {
  std::vector<size_t> counts = lengths();
  counts.insert(counts.end(), std::begin(largeLengths), std::end(largeLengths));
  test::atEveryLevel([&] {
    for (size_t count : counts) {
      for (size_t offset = 0; offset < 33; ++offset) {
        GuardedBuffer<uint8_t> bytes(count + offset);
        std::fill(bytes.begin(), bytes.end(), uint8_t{1});
        mhMemSet(bytes.data() + offset, 0x3FE, count);
        ASSERT_EQ(std::count(bytes.begin(), bytes.end(), 0xFE), static_cast<ptrdiff_t>(count));
        ASSERT_EQ(std::count(bytes.begin(), bytes.begin() + offset, 1), static_cast<ptrdiff_t>(offset));
        GuardedBuffer<VQChar> wide(count + offset);
        std::fill(wide.begin(), wide.end(), VQChar{1});
        mhMemTSet(wide.data() + offset, 0xFE01, count);
        ASSERT_EQ(std::count(wide.begin(), wide.end(), VQChar{0xFE01}), static_cast<ptrdiff_t>(count));
        ASSERT_EQ(std::count(wide.begin(), wide.begin() + offset, VQChar{1}), static_cast<ptrdiff_t>(offset));
      }
    }
  });
}

TEST(MemoryCopy, TextsWithTheirTerminator) {
  char bytes[] = "xxxxxxxx";
  mhStrCpy("abc", bytes);
  EXPECT_EQ(std::string(bytes, 8), std::string("abc\0xxxx", 8));
  mhStrCpy(nullptr, bytes);
  EXPECT_EQ(std::string(bytes, 4), std::string("\0bc\0", 4));
  char32_t wide[] = U"xxxxxxxx";
  mhStrTCpy(U"абв", wide);
  EXPECT_EQ(std::u32string(wide, 8), std::u32string(U"абв\0xxxx", 8));
  mhStrTCpy(nullptr, wide);
  EXPECT_EQ(wide[0], 0u);
  EXPECT_EQ(wide[1], U'б');
  mhStrCpy("abc", nullptr);
  mhStrTCpy(U"abc", nullptr);
}

struct CountingPool {
  VQPool pool{};
  uint64_t asked = 0;
  int calls = 0;
  void* answer = nullptr;
  CountingPool() {
    pool.poolAlloc = [](VQPool* self, uint64_t count, uint32_t flags) {
      auto* const counting = reinterpret_cast<CountingPool*>(self);
      EXPECT_EQ(flags, 0u);
      counting->asked = count;
      ++counting->calls;
      return counting->answer;
    };
  }
};

TEST(MemoryCopy, DuplicateAsksThePoolOnce) {
  char block[] = "????";
  CountingPool pool;
  EXPECT_EQ(mhMemDup(nullptr, 3, &pool.pool), nullptr);
  EXPECT_EQ(mhMemDup("abc", 3, nullptr), nullptr);
  EXPECT_EQ(pool.calls, 0);
  EXPECT_EQ(mhMemDup("abc", 3, &pool.pool), nullptr);
  pool.answer = block;
  EXPECT_EQ(mhMemDup("abc", 3, &pool.pool), block);
  EXPECT_STREQ(block, "abc?");
  EXPECT_EQ(mhMemDup("abc", 0, &pool.pool), block);
  EXPECT_EQ(pool.asked, 0u);
  EXPECT_EQ(pool.calls, 3);
  EXPECT_STREQ(block, "abc?");
}

TEST(AsciiCase, ChangesTheLettersOfAsciiAlone) {
  test::atEveryLevel([] {
    for (size_t count : lengths()) {
      std::vector<char> before(count);
      for (size_t i = 0; i < count; ++i) before[i] = static_cast<char>(i * 11 + count);
      for (bool isUp : {true, false}) {
        GuardedBuffer<char> actual(before);
        (isUp ? mhStrUp : mhStrLow)(actual.data(), count);
        for (size_t i = 0; i < count; ++i) {
          const char c = before[i];
          const char up = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
          const char low = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
          ASSERT_EQ(actual[i], isUp ? up : low) << i;
        }
      }
    }
  });
}

}  // namespace
