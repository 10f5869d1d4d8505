#include "bytes/cursor.h"

#include <gtest/gtest.h>

#include <memory>

#include "reference/bytes.h"

namespace {

// A cursor on a block of exactly the size of the text: a step too far is seen by the address sanitizer.
class Text {
  public:
    explicit Text(std::string_view text) : size_(text.size()), block_(new uint8_t[text.size()]) {
        std::copy(text.begin(), text.end(), block_.get());
    }

    [[nodiscard]] eml::Cursor cursor() const { return {block_.get(), block_.get() + size_}; }

    [[nodiscard]] size_t place(const eml::Cursor& cursor) const {
        return static_cast<size_t>(cursor.pos - block_.get());
    }

  private:
    size_t size_;
    std::unique_ptr<uint8_t[]> block_;
};

TEST(Cursor, PeekGivesTheByteAndZeroAtTheEnd) {
    const Text text("a\xFF");
    eml::Cursor cursor = text.cursor();
    EXPECT_EQ('a', cursor.peek());
    EXPECT_EQ('a', cursor.peek(0));
    EXPECT_EQ(0xFF, cursor.peek(1));
    EXPECT_EQ(0, cursor.peek(2));
    EXPECT_EQ(0, cursor.peek(static_cast<size_t>(-1)));
    cursor.skip(2);
    EXPECT_EQ(0, cursor.peek());
    EXPECT_EQ(0, cursor.peek(0));
}

TEST(Cursor, AnEmptyRunIsAtItsEnd) {
    const Text text("");
    eml::Cursor cursor = text.cursor();
    EXPECT_TRUE(cursor.atEnd());
    EXPECT_EQ(0u, cursor.left());
    EXPECT_EQ(0, cursor.peek());
    cursor.skipBlanks();
    cursor.skip(1);
    EXPECT_FALSE(cursor.accept('a'));
    EXPECT_FALSE(cursor.accept(0));
    EXPECT_TRUE(cursor.startsWith(""));
    EXPECT_TRUE(cursor.startsWithNoCase(""));
    EXPECT_FALSE(cursor.startsWithNoCase("a"));
    EXPECT_EQ(0u, text.place(cursor));
}

TEST(Cursor, SkipStopsAtTheEnd) {
    const Text text("abcdef");
    eml::Cursor cursor = text.cursor();
    cursor.skip(2);
    EXPECT_EQ(2u, text.place(cursor));
    EXPECT_EQ(4u, cursor.left());
    EXPECT_FALSE(cursor.atEnd());
    cursor.skip(5);
    EXPECT_EQ(6u, text.place(cursor));
    EXPECT_TRUE(cursor.atEnd());
    cursor.skip(static_cast<size_t>(-1));
    EXPECT_EQ(6u, text.place(cursor));
}

TEST(Cursor, SkipsBlanksAndTabsOnly) {
    const struct {
        const char* text;
        size_t place;
    } rows[] = {{"abc", 0}, {"  \t abc", 4}, {"   ", 3}, {"\r\n a", 0}, {" \r", 1}, {"\v", 0}, {"\xA0", 0}};
    for (const auto& row : rows) {
        const Text text(row.text);
        eml::Cursor cursor = text.cursor();
        cursor.skipBlanks();
        EXPECT_EQ(row.place, text.place(cursor)) << row.text;
    }
}

TEST(Cursor, ComparesAtThePositionAndNeverBeyondTheEnd) {
    const struct {
        const char* text;
        const char* literal;
        bool exactly;
        bool withoutCase;
    } rows[] = {
        {"charset=x", "charset=", true, true},
        {"CharSet=x", "charset=", false, true},
        {"charset=", "charset=", true, true},
        {"charset", "charset=", false, false},
        {"charset:", "charset=", false, false},
        {"", "a", false, false},
        {"a", "", true, true},
        {"@", "`", false, false},
    };
    for (const auto& row : rows) {
        const Text text(row.text);
        EXPECT_EQ(row.exactly, text.cursor().startsWith(row.literal)) << row.text << ' ' << row.literal;
        EXPECT_EQ(row.withoutCase, text.cursor().startsWithNoCase(row.literal))
            << row.text << ' ' << row.literal;
    }
}

TEST(Cursor, AcceptMovesOnlyBehindWhatMatches) {
    const Text text("Name=x");
    eml::Cursor cursor = text.cursor();
    EXPECT_FALSE(cursor.acceptNoCase("file"));
    EXPECT_EQ(0u, text.place(cursor));
    EXPECT_TRUE(cursor.acceptNoCase("name="));
    EXPECT_EQ(5u, text.place(cursor));
    EXPECT_FALSE(cursor.accept('X'));
    EXPECT_TRUE(cursor.accept('x'));
    EXPECT_TRUE(cursor.atEnd());
    EXPECT_FALSE(cursor.accept('x'));
    EXPECT_FALSE(cursor.acceptNoCase("x"));
    EXPECT_EQ(6u, text.place(cursor));
}

}  // namespace
