#include "tool/message/message_file.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

TEST(HasHeaderField, LooksBeforeTheFirstEmptyLine) {
    struct {
        const char* rule;
        std::string text;
        bool is;
    } const cases[] = {
        {"one field", "Subject: x\n\nbody", true},
        {"a field and nothing else", "Subject:", true},
        {"CR LF", "X-A: 1\r\n\r\nbody", true},
        {"CR alone", "garbage\rX-A: 1\r\r", true},
        {"blanks before the colon", "Subject : x\n", true},
        {"any printable name", "X-!#$%&'*+^_`{|}~: x\n", true},
        {"the line in front of a message in a mailbox", "From someone@example.org Mon Mar  3\nTo: x\n", true},
        {"a field after lines that are none", "hello there\nTo: x\n", true},
        {"a field after the first empty line", "hello there\n\nTo: x\n", false},
        {"an empty line first", "\nTo: x\n", false},
        {"an empty line first, with CR LF", "\r\nTo: x\n", false},
        {"no colon", "hello\nthere\n", false},
        {"a colon without a name", ": x\n", false},
        {"a blank in the name", "hello there: x\n", false},
        {"a continuation line", " To: x\n", false},
        {"an 8-bit name", "\xC3\xA4: x\n", false},
        {"nothing", "", false},
    };
    for (const auto& c : cases) EXPECT_EQ(hasHeaderField(c.text), c.is) << c.rule;
}

}  // namespace
}  // namespace emltool
