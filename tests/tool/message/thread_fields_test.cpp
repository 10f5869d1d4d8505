#include "tool/message/thread_fields.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/message/mime_fields.h"
#include "tool/text/format.h"

namespace emltool {
namespace {

using emlreader::mime::Message;

std::string idsOf(const std::string& header) {
    const ThreadFields fields = readHead(Message::fromBytes(header + "\r\n"), 0).facts.thread;
    return formatted("{} | {} | {}", fields.messageId, joined(fields.inReplyTo, " "),
                     joined(fields.references, " "));
}

struct Row {
    const char* rule;
    const char* header;
    const char* ids;  // its own | answered | references
};

constexpr std::array kRows = std::to_array<Row>({
    {"none", "Subject: x\r\n", " |  | "},
    {"each in its place", "Message-ID: <a@b>\r\nIn-Reply-To: <c@d>\r\nReferences: <e@f> <c@d>\r\n",
     "a@b | c@d | e@f c@d"},
    {"names in any case", "MESSAGE-ID: <a@b>\r\nin-reply-to: <c@d>\r\nreferences: <e@f>\r\n",
     "a@b | c@d | e@f"},
    {"folded, with comments", "Message-ID: (new)\r\n <a@b>\r\nReferences:\r\n <c@d>\r\n\t(and) <e@f>\r\n",
     "a@b |  | c@d e@f"},
    {"without brackets", "Message-ID: a@b\r\nIn-Reply-To: c@d\r\nReferences: e@f g@h\r\n",
     "a@b | c@d | e@f g@h"},
    {"blanks inside", "Message-ID: < a @b >\r\nReferences: <c@\r\n d>\r\n", "a@b |  | c@d"},
    {"nothing between, or commas", "References: <c@d><e@f>,<g@h>\r\n", " |  | c@d e@f g@h"},
    {"words in In-Reply-To are passed over", "In-Reply-To: Your message of \"Tue, 4 Mar\"\r\n", " |  | "},
    {"so are those before an id", "In-Reply-To: Message from Ann of Tue <c@d>\r\n", " | c@d | "},
    {"several ids are answered", "In-Reply-To: <c@d> <e@f>\r\n", " | c@d e@f | "},
    {"the first Message-ID counts", "Message-ID: <a@b>\r\nMessage-ID: <c@d>\r\n", "a@b |  | "},
    {"one without an id does not", "Message-ID: <>\r\nMessage-ID: <c@d>\r\n", "c@d |  | "},
    {"several fields References are one list", "References: <c@d>\r\nReferences: <e@f>\r\n", " |  | c@d e@f"},
    {"ids that are there twice stay where they are last", "References: <a@b> <c@d> <a@b> <e@f> <c@d>\r\n",
     " |  | a@b e@f c@d"},
    {"a quoted id", "Message-ID: <\"a b\"@c>\r\n", "\"a b\"@c |  | "},
});

TEST(ThreadFields, Rules) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(idsOf(row.header), row.ids);
    }
}

TEST(ThreadFields, OfAHeaderThatIsConvertedAreThoseOfTheMessage) {
    EXPECT_EQ(idsOf("Subject: caf\xE9\r\nMessage-ID: <a@b>\r\nReferences: <c@d>\r\n"), "a@b |  | c@d");
}

// Comparing each with each would take minutes.
TEST(ThreadFields, ManyIdsTakeLinearTime) {
    constexpr size_t kMany = 100'000;
    std::vector<std::string> ids;
    std::vector<std::string> expected;
    for (size_t i = 0; i < kMany; ++i) ids.push_back(formatted("id{}@example.org", i % (kMany / 2)));
    for (size_t i = 0; i < kMany / 2; ++i) expected.push_back(formatted("id{}@example.org", i));
    dropRepeatedIds(ids);
    EXPECT_EQ(ids == expected, true);
    std::vector<std::string> equal(kMany, "a@b");
    dropRepeatedIds(equal);
    EXPECT_EQ(equal, std::vector<std::string>{"a@b"});
}

}  // namespace
}  // namespace emltool
