#include "tool/text/flowed_text.h"

#include <gtest/gtest.h>

#include <array>
#include <emlreader/mime.hpp>

namespace emltool {
namespace {

struct Row {
    const char* rule;
    const char* text;
    const char* joined;
    const char* withDelSp;
};

constexpr std::array kRows = std::to_array<Row>({
    {"a line that ends with a blank goes on in the next (RFC 3676 section 4.1)",
     "The ferry leaves at \nnine and comes back \nat noon.\n",
     "The ferry leaves at nine and comes back at noon.\n",
     "The ferry leaves atnine and comes backat noon.\n"},
    {"one of two blanks is the sign of it", "one  \ntwo\n", "one  two\n", "one two\n"},
    {"a line without a blank at its end is fixed", "one\ntwo\n", "one\ntwo\n", "one\ntwo\n"},
    {"an empty line ends a paragraph", "one \ntwo\n\nthree\n", "one two\n\nthree\n", "onetwo\n\nthree\n"},
    {"the last line has nothing to go on in", "one \n", "one \n", "one\n"},
    {"no line end at the end", "one \ntwo", "one two", "onetwo"},
    {"a blank before a line is stuffing (4.4)", " From here\n  two blanks\n", "From here\n two blanks\n",
     "From here\n two blanks\n"},
    {"a stuffed mark is no quote", " > no quote\n", "> no quote\n", "> no quote\n"},
    {"stuffing alone is an empty line", "one\n \ntwo\n", "one\n\ntwo\n", "one\n\ntwo\n"},
    {"a quote has its marks before each paragraph (4.5)", ">Will you \n>come?\n>\n>Yes\n",
     "> Will you come?\n> \n> Yes\n", "> Will youcome?\n> \n> Yes\n"},
    {"marks are counted without blanks between them", ">>deep \n>> deeper\n", ">> deep deeper\n",
     ">> deepdeeper\n"},
    {"a blank ends the marks", "> > not two\n", "> > not two\n", "> > not two\n"},
    {"another depth is another paragraph", ">> a \n> b \nc\n", ">> a \n> b \nc\n", ">> a\n> b\nc\n"},
    {"a signature begins a line and joins nothing (4.3)", "See you \n-- \nAnna \nfrom Ulm\n",
     "See you \n-- \nAnna from Ulm\n", "See you\n-- \nAnnafrom Ulm\n"},
    {"that of a quote, too", "> bye \n> -- \n> Ben\n", "> bye \n> -- \n> Ben\n", "> bye\n> -- \n> Ben\n"},
    {"two dashes and more are text", "-- x \ny\n--  \nz\n", "-- x y\n--  z\n", "-- xy\n-- z\n"},
    {"nothing", "", "", ""},
    {"an empty line", "\n", "\n", "\n"},
});

TEST(FlowedText, Rules) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(joinedFlowed(row.text, false), row.joined);
        EXPECT_EQ(joinedFlowed(row.text, true), row.withDelSp);
    }
}

// Of text whose charset the reader knows, it joins the lines itself.
TEST(FlowedText, IsAsTheReaderHasIt) {
    const std::string letters = "a >-\n";
    size_t texts = 1;
    for (size_t length = 1; length <= 5; ++length) {
        texts *= letters.size();
        for (size_t number = 0; number < texts; ++number) {
            std::string text;
            for (size_t rest = number; text.size() < length; rest /= letters.size()) {
                text += letters[rest % letters.size()];
            }
            for (const bool delSp : {false, true}) {
                const std::string message = std::string("Content-Type: text/plain; format=flowed; delsp=") +
                                            (delSp ? "yes" : "no") + "\n\n" + text;
                ASSERT_EQ(joinedFlowed(text, delSp),
                          emlreader::mime::Message::fromBytes(message).partsOf(0).front().text())
                    << testing::PrintToString(text);
            }
        }
    }
}

}  // namespace
}  // namespace emltool
