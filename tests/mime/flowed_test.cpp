#include "mime/flowed.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "exhaustive/every_input.h"
#include "mime/text_lines.h"
#include "reference/mail_decoders.h"

namespace {

using namespace decoder_runs;
using eml::FlowedText;
using reference::bytesOf;
using reference::shown;

struct Row {
    const char* rule;
    std::string input;
    std::string output;
    std::string withDelSp;
};

const Row kRows[] = {
    {"nothing gives nothing", "", "", ""},
    {"fixed lines stay", "a\nb\n", "a\nb\n", "a\nb\n"},
    {"no line end at the end", "a\nb", "a\nb", "a\nb"},
    {"a flowed line is joined (RFC 3676 4.2)", "one \ntwo\n", "one two\n", "onetwo\n"},
    {"three lines", "one \ntwo \nthree\n", "one two three\n", "onetwothree\n"},
    {"two blanks, one is the sign (4.1)", "one  \ntwo\n", "one  two\n", "one two\n"},
    {"the last line flows into nothing", "one \n", "one \n", "one\n"},
    {"the last line flows and has no line end", "one ", "one ", "one"},
    {"stuffing is removed (4.4)", " a\n  b\n", "a\n b\n", "a\n b\n"},
    {"stuffing before a quote mark", " >a\n", ">a\n", ">a\n"},
    {"stuffing before From", " From x\n", "From x\n", "From x\n"},
    {"stuffing alone is an empty line", " \nx\n", "\nx\n", "\nx\n"},
    {"a line of two blanks flows", "  \nx\n", " x\n", "x\n"},
    {"an empty line ends a paragraph", "a\n\nb\n", "a\n\nb\n", "a\n\nb\n"},
    {"a flowed line takes an empty one", "a \n\nb\n", "a \nb\n", "a\nb\n"},
    {"quoted lines (4.5)", "> a \n> b\n", "> a b\n", "> ab\n"},
    {"quote marks get one blank", ">a\n>>b\n", "> a\n>> b\n", "> a\n>> b\n"},
    {"a blank after the first mark ends the quote", "> > a\n", "> > a\n", "> > a\n"},
    {"another depth ends the paragraph (4.5)", "> a \n>> b\n", "> a \n>> b\n", "> a\n>> b\n"},
    {"less depth ends the paragraph", ">> a \nb\n", ">> a \nb\n", ">> a\nb\n"},
    {"the same depth after another", "> a \nb \n> c\n", "> a \nb \n> c\n", "> a\nb\n> c\n"},
    {"quoted and stuffed", ">  a\n", ">  a\n", ">  a\n"},
    {"an empty quoted line", ">\n> a\n", "> \n> a\n", "> \n> a\n"},
    {"a quote mark at the end", "a\n>", "a\n> ", "a\n> "},
    {"the signature's separator joins nothing (4.3)", "-- \nme\n", "-- \nme\n", "-- \nme\n"},
    {"nothing joins it", "a \n-- \nme\n", "a \n-- \nme\n", "a\n-- \nme\n"},
    {"quoted, too", "> a \n> -- \n> me\n", "> a \n> -- \n> me\n", "> a\n> -- \n> me\n"},
    {"stuffed, too", "a \n -- \nme\n", "a \n-- \nme\n", "a\n-- \nme\n"},
    {"without a line end", "a \n-- ", "a \n-- ", "a\n-- "},
    {"two dashes are text", "--\nx\n", "--\nx\n", "--\nx\n"},
    {"a separator with a second blank flows", "--  \nx\n", "--  x\n", "-- x\n"},
    {"text after the separator is text", "-- x \ny\n", "-- x y\n", "-- xy\n"},
    {"one dash", "- \nx\n", "- x\n", "-x\n"},
    {"a tab is no blank here", "a\t\nb\n", "a\t\nb\n", "a\t\nb\n"},
    {"a line longer than any buffer", std::string(300, 'x') + " \n" + std::string(300, 'y') + "\n",
     std::string(300, 'x') + " " + std::string(300, 'y') + "\n",
     std::string(600, 'x').replace(300, 300, 300, 'y') + "\n"},
    {"a deep quote", std::string(100, '>') + "a \n" + std::string(100, '>') + "b\n",
     std::string(100, '>') + " a b\n", std::string(100, '>') + " ab\n"},
};

TEST(Flowed, Rows) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        const Bytes input = bytesOf(row.input);
        const std::vector<Feeding> feedings = allFeedings(input.size());
        for (size_t i = 0; i<feedings.size(); i += input.size()> 100 ? 11 : 1) {
            ASSERT_EQ(shown(decode(FlowedText(false), input, feedings[i])), shown(bytesOf(row.output)));
            ASSERT_EQ(shown(decode(FlowedText(true), input, feedings[i])), shown(bytesOf(row.withDelSp)));
        }
        EXPECT_EQ(reference::joinFlowed(row.input, false), row.output);
        EXPECT_EQ(reference::joinFlowed(row.input, true), row.withDelSp);
    }
}

TEST(Flowed, EveryShortTextAgrees) {
    eml::test::Compared compared;
    eml::test::forEveryText(
        eml::test::bytesAsPieces("a >-\n"), eml::test::longest(5, 9), [&](const std::string& text) {
            compared.input();
            const Bytes input = bytesOf(text);
            for (const bool delSp : {false, true}) {
                const std::string expected = reference::joinFlowed(text, delSp);
                for (const Feeding& feeding : {inOnePiece(), Feeding{1, 1, 1}, Feeding{2, 2, 3}}) {
                    const Bytes output = decode(FlowedText(delSp), input, feeding);
                    compared.comparison();
                    if (output == bytesOf(expected)) continue;
                    ADD_FAILURE() << shown(input) << ": " << shown(output) << " for "
                                  << shown(bytesOf(expected));
                    return false;
                }
            }
            return true;
        });
}

TEST(Flowed, ASinkThatFailsEndsIt) {
    for (const size_t limit : {0U, 1U, 4U}) {
        const Feeding feeding{kNoLimit, kNoLimit, 2, limit};
        EXPECT_EQ(decode(FlowedText(false), bytesOf(">>a b \n>> c\n-- \n"), feeding).size(), limit);
    }
}

struct LineEndRow {
    const char* rule;
    std::string input;
    std::string output;
};

const LineEndRow kLineEndRows[] = {
    {"nothing", "", ""},
    {"LF stays", "a\nb\n", "a\nb\n"},
    {"CR LF", "a\r\nb\r\n", "a\nb\n"},
    {"CR", "a\rb\r", "a\nb\n"},
    {"CR CR LF is two", "a\r\r\nb", "a\n\nb"},
    {"LF CR is two", "a\n\rb", "a\n\nb"},
    {"empty lines", "\r\n\r\n\n\n\r\r", "\n\n\n\n\n\n"},
    {"none", "abc", "abc"},
};

TEST(TextLines, LineEndsBecomeLf) {
    for (const LineEndRow& row : kLineEndRows) {
        SCOPED_TRACE(row.rule);
        for (size_t cut = 0; cut <= row.input.size(); ++cut) {
            for (const size_t step : {size_t{1}, row.input.size() + 1}) {
                eml::LineEnds lineEnds;
                std::string output;
                for (size_t from = 0; from < row.input.size();) {
                    const size_t size = from < cut ? cut - from : step;
                    Bytes piece = bytesOf(row.input.substr(from, size));
                    const uint8_t* const end = lineEnds.normalize(piece.data(), piece.data() + piece.size());
                    output.append(reinterpret_cast<const char*>(piece.data()),
                                  static_cast<size_t>(end - piece.data()));
                    from += size;
                }
                ASSERT_EQ(output, row.output) << cut << " " << step;
            }
        }
    }
}

}  // namespace
