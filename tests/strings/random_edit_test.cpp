// Random edits of every kind in every storage form, beside a naive model: a standard string, with the form
// and the capacity that the storage must have.
#include <random>

#include "kinds_under_test.hpp"
#include "support/guarded_buffer.hpp"

namespace {

using namespace test;

template <class Kind>
class RandomEdits : public HostTest {
 protected:
  using Record = typename Kind::Record;
  using Text = typename Kind::Text;
  using Element = typename Kind::Element;

  struct Model {
    Text text;
    uint64_t capacity;
    bool isSeparate;

    void resized(uint64_t roomNeeded) {
      if (text.size() + roomNeeded <= capacity) return;
      capacity = vq::capacityFor(text.size());
      isSeparate = true;
    }
  };

  size_t pick(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit)(random_); }

  Text freshText() {
    static constexpr size_t limits[] = {0, 3, 20, 70, 300, 1500};
    Text text(pick(limits[pick(5)]), 0);
    for (Element& c : text) c = static_cast<Element>("ab \t"[pick(3)]);
    return text;
  }

  // One edit of both. The source is a fresh text, or a part of the string's own.
  void edit(Record* string, Model& model) {
    const Text fresh = freshText();
    const bool isOwn = pick(2) == 0;
    const size_t from = isOwn ? pick(model.text.size()) : 0;
    const size_t count = isOwn ? pick(model.text.size() - from) : fresh.size();
    const Text added = isOwn ? model.text.substr(from, count) : fresh;
    const Element* source = isOwn ? string->text + from : fresh.data();
    const auto length = static_cast<int64_t>(count);
    switch (pick(5)) {
      case 0:
        ASSERT_EQ(Kind::copyText(string, source, length), 0u);
        model.text = added;
        model.resized(2);
        break;
      case 1:
      case 2:
        if (model.text.size() > 4000) break;
        ASSERT_EQ(Kind::append(string, source, length), 0u);
        model.text += added;
        model.resized(2);
        break;
      case 3:
        if constexpr (requires { Kind::insert; }) {
          if (model.text.size() > 4000) break;
          const size_t position = pick(model.text.size());
          ASSERT_EQ(Kind::insert(string, position, source, length), 0u);
          model.text.insert(position, added);
          if (count != 0 || std::is_same_v<Kind, Wide>) model.resized(1);
        }
        break;
      case 4:
        if constexpr (requires { Kind::trim; }) {
          ASSERT_EQ(Kind::trim(string), 0u);
          const Element blanks[] = {' ', '\t', 0};
          model.text.erase(std::min(model.text.find_last_not_of(blanks) + 1, model.text.size()));
          model.text.erase(0, std::min(model.text.find_first_not_of(blanks), model.text.size()));
        }
        break;
      default:
        if constexpr (requires { Kind::concat; }) {
          if (model.text.size() > 2000) break;
          ASSERT_EQ(Kind::concat(string, string), 0u);
          const bool isSkipped = model.text.empty() && std::is_same_v<Kind, Wide>;
          model.text += model.text;
          if (!isSkipped) model.resized(2);
        }
    }
  }

  void check(const Record* string, const Model& model) {
    ASSERT_EQ(textOf<Kind>(string), model.text);
    ASSERT_EQ(static_cast<uint64_t>(string->capacity), model.capacity);
    ASSERT_EQ(string->ownsBuffer, model.isSeparate ? 1 : 0);
    if (model.capacity > model.text.size()) {
      ASSERT_EQ(string->text[model.text.size()], 0u);
    }
  }

  std::mt19937 random_{20160621};
};
using Kinds = testing::Types<Wide, U8, Narrow>;
TYPED_TEST_SUITE(RandomEdits, Kinds);

TYPED_TEST(RandomEdits, AgreeWithTheModel) {
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    const auto start = this->freshText();
    const auto length = static_cast<int64_t>(start.size());
    // A borrowed text ends where nobody may read on.
    const GuardedBuffer<typename TypeParam::Element> lent{
        std::span<const typename TypeParam::Element>(start)};
    typename TypeParam::Record* string = nullptr;
    switch (round % 4) {
      case 0:
        string = TypeParam::create(this->service(), this->pool(), start.data(), length, 1);
        break;
      case 1:
        string = TypeParam::createSized(this->service(), this->pool(), start.data(), length,
                                        static_cast<int64_t>(this->pick(1100)));
        break;
      case 2:
        string = TypeParam::createSized(this->service(), this->pool(), start.data(), length, 1500);
        break;
      default:
        string = TypeParam::create(this->service(), this->pool(), lent.data(), length, 0);
    }
    typename TestFixture::Model model{start, static_cast<uint64_t>(string->capacity),
                                      string->ownsBuffer == 1};
    for (int step = 0; step < 12 && !this->HasFatalFailure(); ++step) {
      SCOPED_TRACE(step);
      this->edit(string, model);
      this->check(string, model);
    }
    EXPECT_EQ(TypeParam::destroy(string), 0u);
    if (this->HasFatalFailure()) return;
  }
}

// Blanks of all sizes on both sides, and bytes that only look like blanks.
class Trim : public HostTest {};

TEST_F(Trim, BlanksOfAllSizes) {
  const struct {
    std::string text, trimmed;
  } cases[] = {
      {" \t\u00a0\u2003\u3000\u0085\u1680x\u2028 \u202f", "x"},
      {"\u200bx\u180e", "\u200bx\u180e"},  // no blanks
      {"\u3000\u2003 ", ""},
      {"", ""},
      {"\xc2", "\xc2"},  // cut-off characters
      {" \xe2\x80", "\xe2\x80"},
      {"\xc2\x20", "\xc2"},
      {"a b", "a b"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    for (const Edge edge : {Edge::behind, Edge::before}) {
      const GuardedBuffer<char> lent(std::span<const char>(c.text), edge);
      VQU8String string;
      vqU8StringInitStatic(service(), &string, pool(), lent.data(), static_cast<int64_t>(c.text.size()));
      EXPECT_EQ(vqU8StringTrimWhitespace(&string), 0u);
      EXPECT_EQ(textOf<U8>(&string), c.trimmed);
      EXPECT_EQ(string.text, lent.data());
      if (c.trimmed.size() < c.text.size()) {
        EXPECT_EQ(lent[c.trimmed.size()], 0);
      }
    }
  }
  const std::u32string wide = U"\u3000 \u0085x\u200b \u2029";
  const GuardedBuffer<char32_t> lent{std::span<const char32_t>(wide)};
  VQString string;
  vqStringInitStatic(service(), &string, pool(), lent.data(), static_cast<int64_t>(wide.size()));
  EXPECT_EQ(vqStringTrimWhitespace(&string), 0u);
  EXPECT_EQ(textOf<Wide>(&string), U"x\u200b");
  EXPECT_EQ(lent[2], 0u);
}

}  // namespace
