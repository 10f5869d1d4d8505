// Message ids: as RFC 5322 has them, and as programs write, fold and break them.
#include "mime/message_ids.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "mime/field_texts.h"

namespace {

using tests::FieldTexts;

std::vector<std::string> idsOf(const std::string& value) {
    const std::vector<char> bytes(value.begin(), value.end());
    FieldTexts texts;
    FieldTexts list;
    eml::readMessageIds({bytes.data(), bytes.size()}, tests::kPlainText, texts.allocator(), texts.builder(),
                        list.builder());
    std::vector<std::string> ids;
    for (const eml::TextPlace& place : list.records<eml::TextPlace>()) ids.push_back(texts.at(place));
    return ids;
}

struct Row {
    const char* rule;
    std::string value;
    std::vector<std::string> ids;
};

void check(const Row& row) {
    SCOPED_TRACE(row.rule);
    EXPECT_EQ(idsOf(row.value), row.ids) << row.value;
}

TEST(MimeMessageIds, InBrackets) {
    using std::string_literals::operator""s;
    const Row rows[] = {
        {"nothing", "", {}},
        {"blanks", " \r\n ", {}},
        {"RFC 5322 appendix A.1.1", " <1234@local.machine.example>", {"1234@local.machine.example"}},
        {"RFC 5322 appendix A.2",
         " <1234@local.machine.example> <3456@example.net>",
         {"1234@local.machine.example", "3456@example.net"}},
        {"RFC 5322 appendix A.5", "              <testabcd.1234@silly.test>", {"testabcd.1234@silly.test"}},
        {"RFC 5322 appendix A.6.3",
         " <1234   @   local(blah)  .machine .example>",
         {"1234@local.machine.example"}},
        {"folded between", "<a@b>\r\n <c@d>\n\t<e@f>", {"a@b", "c@d", "e@f"}},
        {"nothing between", "<a@b><c@d>", {"a@b", "c@d"}},
        {"commas between", "<a@b>, <c@d>,<e@f>,", {"a@b", "c@d", "e@f"}},
        {"comments between", "(x) <a@b> (y <z@z>) <c@d> (z)", {"a@b", "c@d"}},
        {"nested comment", "(x (<y@y>) \\) <z@z>) <a@b>", {"a@b"}},
        {"no @", "<abc>", {"abc"}},
        {"a literal", "<a@[127.0.0.1]>", {"a@[127.0.0.1]"}},
        {"quoted local part", "<\"a b\"@c>", {"\"a b\"@c"}},
        {"quoted local part with a bracket", "<\"a>b\"@c> <d@e>", {"\"a>b\"@c", "d@e"}},
        {"a quote that is text", "<a\"b@c> <d\"@e>", {"a\"b@c", "d\"@e"}},
        {"a quote that does not end", "<\"a@b> <c@d>", {"\"a@b", "c@d"}},
        {"blanks at the ends", "< a@b >", {"a@b"}},
        {"blanks inside", "<a b@c d>", {"ab@cd"}},
        {"folded inside", "<abcdefgh\r\n ijkl@m\r\n\tn>", {"abcdefghijkl@mn"}},
        {"a tab in quotes stays, a line end does not", "<\"a\tb\r\n c\"@d>", {"\"a\tb c\"@d"}},
        {"control characters", "<a\001b@c\000d>"s, {"ab@cd"}},
        {"parentheses without blanks are text", "<a(1)@b>", {"a(1)@b"}},
        {"a comment beside a blank", "<a@b (x)>", {"a@b"}},
        {"a parenthesis that does not end", "<a(b@c>", {"a(b@c"}},
        {"an empty id", "<> <a@b>", {"a@b"}},
        {"a blank id", "< > <a@b>", {"a@b"}},
        {"doubled brackets", "<<a@b>>", {"a@b"}},
        {"no end, another id", "<a@b <c@d>", {"a@b", "c@d"}},
        {"no end, folded", "<a@b\r\n <c@d>", {"a@b", "c@d"}},
        {"no end at all", "<a@b", {"a@b"}},
        {"no end, text after", "<a@b of Tuesday", {"a@b"}},
        {"no end, comma", "<a@b, <c@d>", {"a@b", "c@d"}},
        {"no end, blanks around the @", "<a @ b", {"a@b"}},
        {"no end, no @", "<abc", {"abc"}},
        {"only an opening bracket", "<", {}},
        {"stray closing brackets", "> <a@b> > >", {"a@b"}},
        {"UTF-8", "<\xc3\xa4@\xc3\xb6>", {"\xc3\xa4@\xc3\xb6"}},
        {"8-bit", "<\xe4@b>", {"\xc3\xa4@b"}},
        {"the same twice", "<a@b> <a@b>", {"a@b", "a@b"}},
        {"angle brackets escaped as text", "&lt;a@b&gt; <c@d>", {"c@d"}},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeMessageIds, TextAroundBracketsIsPassedOver) {
    const Row rows[] = {
        {"a phrase before", "Your message of Tue, 4 Mar 2025 <a@b>", {"a@b"}},
        {"a phrase after", "<a@b> from Joe on Tuesday", {"a@b"}},
        {"an address after", "<a@b> from joe@x on Tuesday", {"a@b"}},
        {"a quoted phrase", "Message from \"Joe <joe@x>\" of \"Tue, 4 Mar 2025\" <a@b>", {"a@b"}},
        {"a quote that does not end", "Joe's \"message <a@b>", {"a@b"}},
        {"a comment that does not end", "(see <a@b>", {"a@b"}},
        {"all in a comment", "(<a@b>)", {"a@b"}},
        {"all in quotes", "\"<a@b>\"", {"a@b"}},
        {"a comment after one that does not end is text", "<a@b> ( (<c@d>)", {"a@b", "c@d"}},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeMessageIds, WithoutBrackets) {
    const Row rows[] = {
        {"one id", "a@b", {"a@b"}},
        {"several", "a@b c@d,e@f;g@h\r\n i@j", {"a@b", "c@d", "e@f", "g@h", "i@j"}},
        {"a missing opening bracket", "a@b> c@d>", {"a@b", "c@d"}},
        {"comments", "(x@y) a@b (z)", {"a@b"}},
        {"a comment that does not end", "a@b (x", {"a@b"}},
        {"one word", "part1", {"part1"}},
        {"one word and a comment", "part1 (x)", {"part1"}},
        {"a phrase", "Your message of Tuesday", {}},
        {"a phrase and an id", "Your message a@b of Tuesday", {"a@b"}},
        {"a quoted local part", "\"a b\"@c", {"\"a b\"@c"}},
        {"Content-ID without brackets",
         " image001.png@01D8ABCD.12345678",
         {"image001.png@01D8ABCD.12345678"}},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeMessageIds, EncodedBrackets) {
    const Row rows[] = {
        {"one word", "=?utf-8?q?=3Ca=40b=3E?=", {"a@b"}},
        {"cut in two words", "=?utf-8?q?=3Cabc=40?=\r\n =?utf-8?q?def=3E?=", {"abc@def"}},
        {"two ids", "=?utf-8?q?=3Ca=40b=3E_=3Cc=40d=3E?=", {"a@b", "c@d"}},
        {"base64", "=?utf-8?b?PGFAYj4=?=", {"a@b"}},
        {"brackets outside: the word is text", "<=?utf-8?q?a?=@b>", {"=?utf-8?q?a?=@b"}},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeMessageIds, TheFirstId) {
    std::string_view id;
    ASSERT_TRUE(eml::firstMessageId(" <a@b> <c@d>", id));
    EXPECT_EQ(id, "a@b");
    EXPECT_FALSE(eml::firstMessageId(" ", id));
}

TEST(MimeMessageIds, NoMemory) {
    FieldTexts texts;
    FieldTexts list;
    texts.exhaust();
    eml::readMessageIds("<a@b> <c@d>", tests::kPlainText, texts.allocator(), texts.builder(), list.builder());
    EXPECT_TRUE(texts.builder().failed());
    EXPECT_EQ(list.builder().length(), 0U);
    FieldTexts encoded;
    encoded.exhaust();
    eml::readMessageIds("=?utf-8?q?=3Ca=40b=3E?=", tests::kPlainText, encoded.allocator(), encoded.builder(),
                        list.builder());
    EXPECT_EQ(list.builder().length(), 0U);
}

TEST(MimeMessageIds, AnyTextGivesIdsThatAreNotEmpty) {
    std::mt19937 random(3);
    const std::string alphabet("<>()\"\\@, a.\r\n\0=?", 17);
    for (int round = 0; round < 50000; ++round) {
        std::string value(random() % 24, 'x');
        for (char& byte : value) byte = alphabet[random() % alphabet.size()];
        for (const std::string& id : idsOf(value)) {
            ASSERT_FALSE(id.empty()) << value;
            ASSERT_EQ(id.find_first_of("\r\n"), std::string::npos) << value;
        }
    }
}

TEST(MimeMessageIds, LongValuesCostLinearTime) {
    for (const char* piece :
         {"(", "<", ">", "\"", "<\"", "<(", "( ", "<a", "\\", "(<", "<\"\\", "a ", "@ ", "=?"}) {
        std::string value;
        while (value.size() < 256 << 10) value += piece;
        static_cast<void>(idsOf(value));
    }
}

}  // namespace
