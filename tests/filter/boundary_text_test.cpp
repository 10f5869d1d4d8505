// The boundary of a multipart message: where it is found, and what replaces it.
#include "filter/boundary_text.h"

#include <gtest/gtest.h>

#include <cstring>

#include "filter/content_type.h"
#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

// "(none)" when no boundary is stored.
std::string boundaryOf(const EmlFilterContext& context) {
    return context.boundary.text == nullptr ? "(none)" : context.boundary.text;
}

struct Row {
    std::string value;
    std::string boundary;
};

TEST(FilterBoundary, IsAParameterOfTheField) {
    const Row kRows[] = {
        {"; boundary=abc", "--abc"},
        {";boundary=abc", "--abc"},
        {" boundary=abc", "--abc"},
        {"; BOUNDARY=abc", "--abc"},
        {"; boundary=\"abc\"", "--abc"},
        {"; boundary=\"a b;c\td\"", "--a b;c\td"},
        {"; boundary=\"\"abc\"", "--"},
        {"; boundary=\"\"", "--"},
        {"; boundary=", "--"},
        {"; boundary=abc def", "--abc"},
        {"; boundary=abc;def", "--abc"},
        {"; boundary=abc\tdef", "--abc\tdef"},
        {"; boundary=a\"b", "--a\"b"},
        {"; type=\"text/html\"; boundary=abc", "--abc"},
        {"; x=y;boundary=abc", "(none)"},
        {"; x=\"y boundary=abc\"", "--abc\""},
        {";\r\n boundary=abc", "--abc"},
        {";\r\n\tx=y;\r\n\tboundary=abc", "--abc"},
        {";\r\nboundary=abc", "(none)"},
        {"", "(none)"},
        {"; x=y", "(none)"},
        {"; boundaries=abc", "(none)"},
    };
    for (const Row& row : kRows) {
        OpenFilter filter("Content-Type: multipart/mixed" + row.value +
                          "\r\nX-Other: a longer field\r\n\r\nsome text\r\n");
        ASSERT_NE(filter.context(), nullptr) << row.value;
        EXPECT_EQ(boundaryOf(filter.opened()), row.boundary) << row.value;
        if (row.boundary != "(none)") {
            EXPECT_EQ(filter.opened().boundary.length, static_cast<int32_t>(row.boundary.size()));
        }
    }
}

// KEPT: a walk that comes within ten bytes of the end of the buffer stores an empty boundary.
TEST(FilterBoundary, NearTheEndOfTheBufferIsEmpty) {
    const Row kRows[] = {
        {"", "(none)"},  // the type itself needs a byte behind it
        {";", "--"},
        {"; x=y", "--"},
        {"; boundary=", "--"},
        {"; boundary", "--"},
        {"; boundary=a", "--a"},
        {"\r\nSubject:", "--"},
        {"\r\nSubject: longer", "--"},  // the line end comes last in its buffer
        {"\r\nTo: xy\r\n", "(none)"},
        {"\r\nTo: x\r\n", "--"},
        {"\r\nTo:\r\n", "--"},
        {"; x=y\r\n\r\nsome text", "--"},
    };
    for (const Row& row : kRows) {
        OpenFilter filter("Content-Type: multipart/mixed" + row.value);
        EXPECT_EQ(boundaryOf(filter.opened()), row.boundary) << escaped(row.value);
    }
}

TEST(FilterBoundary, WithoutClosingQuoteRunsToTheEndOfTheBuffer) {
    const std::string rest = "abc\r\nsome text\r\n";
    for (const HeapMode mode : {HeapMode::kPlain, HeapMode::kGuarded}) {
        OpenFilter filter("Content-Type: multipart/mixed; boundary=\"" + rest, 0, mode);
        EXPECT_EQ(boundaryOf(filter.opened()), "--" + rest);
    }
    const std::string start = "Content-Type: multipart/mixed; boundary=\"";
    OpenFilter filter(start + std::string(10000, 'b'), 0, HeapMode::kGuarded);
    EXPECT_EQ(boundaryOf(filter.opened()), "--" + std::string(4096 - start.size(), 'b'));
}

// A header with two types, of which only the first counts; a second block brings the second boundary.
std::string nested(std::string_view outer, std::string_view inner) {
    return crlf("Content-Type: " + std::string(outer) +
                "; boundary=outer\n\n--outer\nContent-Type: " + std::string(inner) +
                "; boundary=inner\n\n--inner\nContent-Type: text/plain\n\ntext\n--inner--\n" + "--outer--\n");
}

TEST(FilterBoundary, FirstOneStaysSaveForTheseTypes) {
    struct Replacement {
        const char* outer;
        const char* inner;
        const char* afterScan;
        const char* inSearch;  // by the header of the inner part, when the text is looked for
    };
    const Replacement kRows[] = {
        {"multipart/mixed", "multipart/mixed", "--outer", "--outer"},
        {"multipart/mixed", "multipart/report", "--outer", "--outer"},
        {"multipart/mixed", "multipart/signed", "--outer", "--outer"},
        {"multipart/mixed", "multipart/alternative", "--outer", "--inner"},
        {"multipart/mixed", "multipart/related", "--outer", "--inner"},
        {"multipart/mixed", "multipart/digest", "--outer", "--outer"},
        {"multipart/mixed", "multipart/appledouble", "--inner", "--inner"},
        {"multipart/alternative", "multipart/mixed", "--outer", "--outer"},
        {"multipart/signed", "multipart/mixed", "--inner", "--inner"},
        {"multipart/signed", "multipart/alternative", "--outer", "--inner"},
        {"multipart/related", "multipart/mixed", "(none)", "(none)"},
    };
    for (const Replacement& row : kRows) {
        OpenFilter filter(nested(row.outer, row.inner));
        ASSERT_NE(filter.context(), nullptr);
        EmlFilterContext& context = filter.opened();
        EXPECT_EQ(boundaryOf(context), row.afterScan) << row.outer << ", " << row.inner;
        if (context.parts.bodies.count == 0) continue;
        BodySpan span{};
        EXPECT_EQ(getBody(context, span), EML_OK);
        EXPECT_EQ(boundaryOf(context), row.afterScan) << "a search keeps what it finds to itself";

        const std::string header =
            "Content-Type: " + std::string(row.inner) + "; boundary=inner\r\n\r\n text";
        std::memcpy(context.input.buffer, header.c_str(), header.size() + 1);
        context.input.end = context.input.buffer + header.size();
        const uint8_t* position = context.input.buffer;
        EXPECT_EQ(decodeContentType(context, position, false), EML_OK);
        EXPECT_EQ(boundaryOf(context), row.inSearch) << row.outer << ", " << row.inner;
    }
}

// The block of the stored boundary serves as long as it is large enough.
TEST(FilterBoundary, ReplacementGrowsOnlyForALongerOne) {
    const auto message = [](const std::string& inner) {
        return crlf(
            "Content-Type: multipart/mixed; boundary=outer\n\n--outer\n"
            "Content-Type: multipart/appledouble; boundary=" +
            inner + "\n\n--" + inner + "\nContent-Type: text/plain\n\ntext\n--" + inner + "--\n");
    };
    for (const HeapMode mode : {HeapMode::kPlain, HeapMode::kGuarded}) {
        OpenFilter shorter(message("i"), 0, mode);
        EXPECT_EQ(boundaryOf(shorter.opened()), "--i");
        EXPECT_EQ(shorter.host().journal().calls(Entry::kReallocate), 0U);
        OpenFilter longer(message("longer-than-outer"), 0, mode);
        EXPECT_EQ(boundaryOf(longer.opened()), "--longer-than-outer");
        EXPECT_EQ(longer.host().journal().calls(Entry::kReallocate), 1U);
    }
}

TEST(FilterBoundary, NoMemoryForItFailsTheOpen) {
    UnopenedFilter first(nested("multipart/mixed", "multipart/appledouble"));
    first.host().journal().fail(Entry::kAllocate, {2, false});
    first.open(0);
    EXPECT_EQ(first.context(), nullptr);
    EXPECT_EQ(first.result(), EML_NO_MEMORY);

    UnopenedFilter second(
        crlf("Content-Type: multipart/mixed; boundary=b\n\n--b\n"
             "Content-Type: multipart/appledouble; boundary=much-longer\n\n--much-longer\n"
             "Content-Type: text/plain\n\ntext\n"));
    second.host().journal().fail(Entry::kReallocate, {1, false});
    second.open(0);
    EXPECT_EQ(second.context(), nullptr);
    EXPECT_EQ(second.result(), EML_NO_MEMORY);
    EXPECT_EQ(second.host().heap().lostBlocks(), 1U);
}

}  // namespace
}  // namespace eml::test
