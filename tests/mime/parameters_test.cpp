#include "mime/parameters.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mime/heap_text.h"

namespace {

using namespace eml;
using namespace std::string_literals;
using eml::test::HeapText;
using eml::test::ToyHost;

// The walk as text: name, "*" and section, "*", then the value in brackets (quoted ones in "<>").
std::string walked(std::string_view text, uint32_t& problems) {
    std::string result;
    ParameterWalk walk(text);
    RawParameter parameter;
    while (walk.next(parameter)) {
        if (!result.empty()) result += ' ';
        result += parameter.name;
        if (parameter.section >= 0) result += '#' + std::to_string(parameter.section);
        if (parameter.extended) result += '*';
        if (!parameter.hasValue) continue;
        result += parameter.quoted ? '<' : '[';
        result += parameter.value;
        result += parameter.quoted ? '>' : ']';
    }
    problems = walk.problems();
    return result;
}

struct WalkRow {
    const char* rule;
    std::string text;
    const char* expected;
    uint32_t problems;
};

TEST(ParameterWalk, Rows) {
    const WalkRow rows[] = {
        {"none", "", "", 0},
        {"only blanks", " \r\n ", "", 0},
        {"a last semicolon", ";", "", 0},
        {"one", "; charset=us-ascii", "charset[us-ascii]", 0},
        {"quoted", "; charset=\"us-ascii\"", "charset<us-ascii>", 0},
        {"no blanks", ";a=b;c=d", "a[b] c[d]", 0},
        {"blanks everywhere", " ; a = b ; c = \"d\" ;", "a[b] c<d>", 0},
        {"folding everywhere", ";\r\n a\r\n =\r\n b\r\n ;\r\n c=\"d\"", "a[b] c<d>", 0},
        {"RFC 2045 section 5.1: a comment", "; charset=us-ascii (Plain text)", "charset[us-ascii]", 0},
        {"a comment without a blank", "; charset=us-ascii(Plain)", "charset[us-ascii]", 0},
        {"comments everywhere", "; (a) charset (b) = (c) us-ascii (d) ; (e;f=\"(g)) h=i",
         "charset[us-ascii] h[i]", 0},
        {"two comments at the end", "; a=b (c) (d)", "a[b]", 0},
        {"an escape in a comment", "; a=b (c\\) d); e=f", "a[b] e[f]", 0},
        {"a comment that does not end is text", "; a=b (c; d=e", "a[b (c] d[e]", 0},
        {"one where a name is expected", "; (a; b=c", "a b[c]", kParameterSyntax},
        {"doubled semicolons", ";; a=b;; c=d;", "a[b] c[d]", kParameterSyntax},
        {"a comma for a semicolon", ", a=b", "a[b]", kParameterSyntax},
        {"the first semicolon is missing", " a=b", "a[b]", kParameterSyntax},
        {"a semicolon is missing, token", "; charset=utf-8 name=a.txt", "charset[utf-8] name[a.txt]",
         kParameterSyntax},
        {"a semicolon is missing, quoted", "; charset=\"utf-8\" name=\"a.txt\"", "charset<utf-8> name<a.txt>",
         kParameterSyntax},
        {"neither semicolon nor blank", "; charset=\"utf-8\"name=\"a.txt\"", "charset<utf-8> name<a.txt>",
         kParameterSyntax},
        {"a semicolon is missing before a line", "; charset=utf-8\r\n\tname=\"a.txt\"",
         "charset[utf-8] name<a.txt>", kParameterSyntax},
        {"a semicolon is missing before a section", "; charset=utf-8 name*0*=utf-8''a",
         "charset[utf-8] name#0*[utf-8''a]", kParameterSyntax},
        {"an unquoted value with blanks", "; filename=my file.pdf; size=3", "filename[my file.pdf] size[3]",
         0},
        {"what looks like a parameter but is none", "; filename=a b=c.pdf", "filename[a b=c.pdf]", 0},
        {"parentheses in a file name", "; filename=my file (1).pdf", "filename[my file (1).pdf]", 0},
        {"parentheses at the end of a file name", "; filename=file(1)", "filename[file(1)]", 0},
        {"a comment after a file name", "; filename=file.pdf (final)", "filename[file.pdf]", 0},
        {"specials in a token", "; boundary=a/b:c?d=e", "boundary[a/b:c?d=e]", 0},
        {"an encoded word with a semicolon", "; name==?utf-8?Q?a;b c?=; x=y", "name[=?utf-8?Q?a;b c?=] x[y]",
         0},
        {"no value", "; name=; x=y", "name[] x[y]", 0},
        {"no value at the end", "; name=", "name[]", 0},
        {"an empty quoted value", "; name=\"\"; x=y", "name<> x[y]", 0},
        {"no =", "; name; x=y", "name x[y]", kParameterSyntax},
        {"no = before a quote", "; name\"a.txt\"; x=y", "name<a.txt> x[y]", kParameterSyntax},
        {"a colon for =", "; charset:utf-8", "charset[utf-8]", kParameterSyntax},
        {"= without a name", "; =a; x=y", "a x[y]", kParameterSyntax},
        {"semicolons in quotes", "; name=\"a;b=c\"; x=y", "name<a;b=c> x[y]", 0},
        {"escaped quotes", "; name=\"a\\\"b\\\\\"; x=y", "name<a\\\"b\\\\> x[y]", 0},
        {"quotes inside a quoted value", "; name=\"my \"great\" file.pdf\"; x=y",
         "name<my \"great\" file.pdf> x[y]", 0},
        {"doubled quotes", "; name=\"\"a.pdf\"\"; x=y", "name<\"a.pdf\"> x[y]", 0},
        {"text after a quoted value", "; name=\"a\"b; x=y", "name<a> b x[y]", kParameterSyntax},
        {"the closing quote is missing", "; name=\"a.pdf", "name<a.pdf>", kUnterminatedQuote},
        {"it is missing before a semicolon at the end", "; name=\"a.pdf; ", "name<a.pdf>",
         kUnterminatedQuote},
        {"it is missing before another parameter", "; name=\"a.pdf; size=3", "name<a.pdf> size[3]",
         kUnterminatedQuote},
        {"it is missing before a quoted one", "; charset=\"utf-8; name=\"a.pdf\"",
         "charset<utf-8> name<a.pdf>", kUnterminatedQuote},
        {"it is missing before a name that nobody knows", "; name=\"a.pdf; b=3", "name<a.pdf; b=3>",
         kUnterminatedQuote},
        {"the opening quote is missing", "; name=my a.pdf\"; x=y", "name[my a.pdf] x[y]", kUnterminatedQuote},
        {"a backslash at the very end", "; name=\"a\\", "name<a\\>", kUnterminatedQuote},
        {"a quote around all", "; \"name=a.pdf\"; x=y", "name[a.pdf] x[y]",
         kParameterSyntax | kUnterminatedQuote},
        {"two quoted strings", "; name=\"a\" \"b\"; x=y", "name<a\" \"b> x[y]", 0},
        {"RFC 2231 section 4: extended", "; title*=us-ascii'en-us'This%20is%20%2A%2A%2Afun%2A%2A%2A",
         "title*[us-ascii'en-us'This%20is%20%2A%2A%2Afun%2A%2A%2A]", 0},
        {"RFC 2231 section 3: sections", "; URL*0=\"ftp://\"; URL*1=\"cs.utk.edu/\"",
         "URL#0<ftp://> URL#1<cs.utk.edu/>", 0},
        {"RFC 2231 section 4.1: both", "; title*0*=us-ascii'en'a; title*1*=%2A; title*2=\"b\"",
         "title#0*[us-ascii'en'a] title#1*[%2A] title#2<b>", 0},
        {"leading zeros", "; a*00=b; a*01*=c", "a#0[b] a#1*[c]", 0},
        {"a section that is no number", "; a*x=b; a*=c; *=d; a**=e", "a*x[b] a*[c] *[d] a**[e]", 0},
        {"a section number without end", "; a*99999999999=b", "a*99999999999[b]", 0},
    };
    for (const WalkRow& row : rows) {
        SCOPED_TRACE(row.rule);
        uint32_t problems = 0;
        EXPECT_EQ(walked(row.text, problems), row.expected);
        EXPECT_EQ(problems, row.problems);
    }
}

struct ValueRow {
    const char* rule;
    std::string text;
    std::string expected;
    uint32_t problems;
};

constexpr const char* kAbsent = "(absent)";

std::string valueOf(std::string_view text, std::string_view name, const HeaderText& how, uint32_t& problems) {
    HeapText out;
    problems = 0;
    out.builder().append("before ");
    const bool found = appendParameter(text, name, how, out.builder(), problems);
    EXPECT_EQ(out.str().substr(0, 7), "before ");
    return found ? out.str().substr(7) : kAbsent;
}

void expectValues(std::initializer_list<ValueRow> rows) {
    for (const ValueRow& row : rows) {
        SCOPED_TRACE(row.rule);
        ToyHost host;
        uint32_t problems = 0;
        EXPECT_EQ(valueOf(row.text, "name", {&host.record, {}}, problems), row.expected);
        EXPECT_EQ(problems, row.problems);
        EXPECT_EQ(host.opened, host.closed);
    }
}

TEST(Parameters, PlainValues) {
    expectValues({
        {"absent", "; x=y", kAbsent, 0},
        {"nothing at all", "", kAbsent, 0},
        {"token", "; x=y; name=a.txt", "a.txt", 0},
        {"upper case", "; NAME=a.txt", "a.txt", 0},
        {"quoted", "; name=\"a b.txt\"", "a b.txt", 0},
        {"empty", "; name=\"\"", "", 0},
        {"the first counts", "; name=a; name=b", "a", kDuplicateParameter},
        {"the first that is not empty", "; name=; name=b", "b", kDuplicateParameter},
        {"another's value is no name", "; x=\"name=a\"", kAbsent, 0},
        {"a longer name is another", "; filename=a; names=b", kAbsent, 0},
    });
}

TEST(Parameters, EscapesAndPaths) {
    expectValues({
        {"a quote", "; name=\"a\\\"b.txt\"", "a\"b.txt", 0},
        {"a backslash", "; name=\"a\\\\b.txt\"", "a\\b.txt", 0},
        {"RFC 822: any character may be escaped", "; name=\"a\\-b\\(c\\).txt\"", "a-b(c).txt", 0},
        {"a letter too", "; name=\"f\\oo.txt\"", "foo.txt", 0},
        {"a path that nobody escaped", "; name=\"C:\\dir\\new.txt\"", "C:\\dir\\new.txt", 0},
        {"a path, escaped", "; name=\"C:\\\\dir\\\\new.txt\"", "C:\\dir\\new.txt", 0},
        {"a path with an escaped quote", "; name=\"c:\\a\\\"b.txt\"", "c:\\a\"b.txt", 0},
        {"a share that nobody escaped", "; name=\"\\\\host\\dir\\new.txt\"", "\\\\host\\dir\\new.txt", 0},
        {"a share, escaped", "; name=\"\\\\\\\\host\\\\dir\\\\new.txt\"", "\\\\host\\dir\\new.txt", 0},
        {"a path without quotes", "; name=C:\\dir\\new.txt", "C:\\dir\\new.txt", 0},
        {"quotes inside", "; name=\"my \"great\" file.pdf\"", "my \"great\" file.pdf", 0},
        {"doubled quotes", "; name=\"\"a.pdf\"\"", "a.pdf", 0},
        {"two quoted strings", "; name=\"a\" \"b\"", "a b", 0},
        {"folded inside the quotes", "; name=\"my\r\n file.txt\"", "my file.txt", 0},
        {"folded with a TAB", "; name=\"my\r\n\tfile.txt\"", "my file.txt", 0},
        {"a TAB that is not folding", "; name=\"my\tfile.txt\"", "my\tfile.txt", 0},
        {"a token folded", "; name=my\r\n\tfile.txt", "my file.txt", 0},
    });
}

TEST(Parameters, Rfc2231) {
    expectValues({
        {"section 4: charset, language, percent", "; name*=us-ascii'en-us'This%20is%20%2A%2A%2Afun%2A%2A%2A",
         "This is ***fun***", 0},
        {"no language", "; name*=utf-8''caf%C3%A9", "café", 0},
        {"lower case escapes", "; name*=UTF-8''caf%c3%a9", "café", 0},
        {"ISO-8859-1", "; name*=iso-8859-1''caf%E9", "café", 0},
        {"windows-1252", "; name*=windows-1252''%80", "€", 0},
        {"the host's charset", "; name*=toy''%C1%10", "А", 0},
        {"in quotes", "; name*=\"utf-8''caf%C3%A9 b\"", "café b", 0},
        {"the text in quotes", "; name*=utf-8''\"a b.txt\"", "a b.txt", 0},
        {"no charset", "; name*=''caf%C3%A9", "café", 0},
        {"no charset, not UTF-8", "; name*=''caf%E9", "café", 0},
        {"no quotes", "; name*=caf%C3%A9", "café", kParameterSyntax},
        {"one quote after a known charset", "; name*=utf-8'caf%C3%A9", "café", 0},
        {"one quote in a name", "; name*=it's.txt", "it's.txt", kParameterSyntax},
        {"a charset that nobody knows", "; name*=x-none''caf%C3%A9", "café", 0},
        {"8-bit in US-ASCII", "; name*=us-ascii''caf%C3%A9", "café", 0},
        {"invalid text", "; name*=utf-8''a%FFb%C3%A9", "a\uFFFDbé", 0},
        {"wrong escapes stay", "; name*=utf-8''100%25%2-%zz%4", "100%%2-%zz%4", kWrongPercentEscape},
        {"% at the end", "; name*=utf-8''a%", "a%", kWrongPercentEscape},
        {"raw 8-bit", "; name*=utf-8''caf\xC3\xA9", "café", 0},
        {"raw blanks", "; name*=utf-8''my file.txt", "my file.txt", 0},
        {"a quote in the text", "; name*=utf-8''it's%20a.txt", "it's a.txt", 0},
        {"the star is missing", "; name=utf-8''caf%C3%A9", "café", kParameterSyntax},
        {"the star is missing, in quotes", "; name=\"UTF-8''caf%C3%A9\"", "café", kParameterSyntax},
        {"percent in a plain value stays", "; name=a%20b", "a%20b", 0},
        {"extended comes before plain", "; name=a; name*=utf-8''b", "b", 0},
        {"and before sections", "; name*0=c; name*=utf-8''b", "b", 0},
        {"an empty one does not", "; name*=utf-8''; name=a", "a", 0},
        {"twice", "; name*=utf-8''a; name*=utf-8''b", "a", kDuplicateParameter},
    });
}

TEST(Parameters, Rfc2231Sections) {
    expectValues({
        {"section 3", "; name*0=\"ftp://\"; name*1=\"cs.utk.edu/pub\"", "ftp://cs.utk.edu/pub", 0},
        {"section 4.1",
         ";\r\n name*0*=us-ascii'en'This%20is%20even%20more%20\r\n ;name*1*=%2A%2A%2Afun%2A%2A%2A%20\r\n "
         ";name*2=\"isn't it!\"",
         "This is even more ***fun*** isn't it!", 0},
        {"out of order", "; name*2=c; name*0=a; name*1=b", "abc", 0},
        {"out of order, the charset last", "; name*1*=%A9b; name*0*=utf-8''caf%C3", "caféb", 0},
        {"a character split", "; name*0*=utf-8''caf%C3; name*1*=%A9", "café", 0},
        {"ten and more",
         "; name*10=k; name*9=j; name*8=i; name*7=h; name*6=g; name*5=f; name*4=e; name*3=d; name*2=c; "
         "name*1=b; name*0=a",
         "abcdefghijk", 0},
        {"a gap", "; name*0=a; name*2=c", "ac", kParameterSyntax},
        {"the first is missing", "; name*1=b; name*2=c", "bc", kParameterSyntax},
        {"the same twice", "; name*0=a; name*1=b; name*1=x; name*2=c", "abc", kDuplicateParameter},
        {"only one", "; name*0=a.txt", "a.txt", 0},
        {"only one, extended", "; name*0*=utf-8''caf%C3%A9", "café", 0},
        {"plain first, extended then", "; name*0=\"100%25 \"; name*1*=caf%C3%A9", "100%25 café", 0},
        {"extended first, plain then: its percent stays", "; name*0*=utf-8''caf%C3%A9; name*1=\"%20\"",
         "café%20", 0},
        {"the charset in each", "; name*0*=utf-8''a%C3; name*1*=utf-8''%A9b", "aéb", kParameterSyntax},
        {"quotes in a later section are text", "; name*0*=utf-8''a; name*1*=b'c'd", "ab'c'd", 0},
        {"sections come before plain", "; name=x; name*0=a; name*1=b", "ab", 0},
        {"escapes in a section", "; name*0=\"a\\\"\"; name*1=\"\\\\b\"", "a\"\\b", 0},
        {"raw 8-bit over sections", "; name*0=\"caf\xC3\"; name*1=\"\xA9\"", "café", 0},
        {"in upper case", "; NAME*0*=UTF-8''a; Name*1*=b", "ab", 0},
    });
}

TEST(Parameters, EncodedWordsInValues) {
    expectValues({
        {"quoted", "; name=\"=?utf-8?Q?caf=C3=A9?=\"", "café", kEncodedWordInParameter},
        {"unquoted", "; name==?utf-8?Q?caf=C3=A9?=", "café", kEncodedWordInParameter},
        {"unquoted with blanks", "; name==?utf-8?Q?caf=C3=A9 b?=; x=y", "café b", kEncodedWordInParameter},
        {"two, folded", "; name=\"=?utf-8?B?4oI=?=\r\n =?utf-8?B?rA==?=\"", "€", kEncodedWordInParameter},
        {"two, folded, unquoted", "; name==?utf-8?B?4oI=?=\r\n =?utf-8?B?rA==?=", "€",
         kEncodedWordInParameter},
        {"each in quotes of its own", "; name=\"=?utf-8?B?4oI=?=\"\r\n \"=?utf-8?B?rA==?=\"", "€",
         kEncodedWordInParameter},
        {"with text around", "; name=\"a =?utf-8?Q?=C3=A9?= b.txt\"", "a é b.txt", kEncodedWordInParameter},
        {"the extension after it", "; name=\"=?utf-8?Q?caf=C3=A9?=.txt\"", "café.txt",
         kEncodedWordInParameter},
        {"cut over sections", "; name*0=\"=?utf-8?Q?caf=C3\"; name*1=\"=A9?=\"", "café",
         kEncodedWordInParameter},
        {"one in each section", "; name*0=\"=?utf-8?Q?caf=C3?=\"; name*1=\" =?utf-8?Q?=A9?=\"", "café",
         kEncodedWordInParameter},
        {"inside RFC 2231", "; name*=utf-8''=?utf-8?Q?caf=C3=A9?=", "café", kEncodedWordInParameter},
        {"inside RFC 2231, percent-encoded", "; name*=utf-8''%3D%3Futf-8%3FQ%3Fcaf%3DC3%3DA9%3F%3D", "café",
         kEncodedWordInParameter},
        {"a charset that nobody knows", "; name=\"=?x-none?Q?=E9?=\"",
         "=?x-none?Q?=E9?=", kEncodedWordInParameter},
        {"none", "; name=\"=?utf-8?Q?a\"", "=?utf-8?Q?a", 0},
    });
}

TEST(Parameters, Raw8BitFollowsTheFallback) {
    ToyHost host;
    uint32_t problems = 0;
    EXPECT_EQ(valueOf("; name=\"caf\xC3\xA9\"", "name", {&host.record, "toy"}, problems), "café");
    EXPECT_EQ(valueOf("; name=\"\xC1\x10\"", "name", {&host.record, "toy"}, problems), "А");
    EXPECT_EQ(valueOf("; name=caf\xE9", "name", {nullptr, {}}, problems), "café");
    EXPECT_EQ(valueOf("; name*=x-none''%C1%10", "name", {&host.record, "toy"}, problems), "А");
}

// name=value of a whole list, one to a line.
std::string listed(std::string_view text, uint32_t& problems) {
    HeapText texts;
    HeapText list;
    problems = 0;
    readParameters(text, {nullptr, {}}, texts.builder(), list.builder(), problems);
    std::string result;
    const std::string places = list.str();
    const std::string all = texts.str();
    for (size_t at = 0; at < places.size(); at += sizeof(ParameterPlaces)) {
        ParameterPlaces place;
        std::memcpy(&place, places.data() + at, sizeof place);
        EXPECT_EQ(all[place.name.start + place.name.length], '\0');
        EXPECT_EQ(all[place.value.start + place.value.length], '\0');
        result += all.substr(place.name.start, place.name.length) + '=' +
                  all.substr(place.value.start, place.value.length) + '\n';
    }
    return result;
}

TEST(Parameters, TheListHasEachInOrder) {
    struct Row {
        const char* rule;
        std::string text;
        const char* expected;
        uint32_t problems;
    };
    const Row rows[] = {
        {"none", "", "", 0},
        {"in order, lower case", "; B=1; a=2; C=3", "b=1\na=2\nc=3\n", 0},
        {"sections joined at the first", "; b*1=y; a=2; b*0=x", "b=xy\na=2\n", 0},
        {"duplicates", "; a=1; b=2; A=3", "a=1\nb=2\na=3\n", kDuplicateParameter},
        {"extended and plain", "; a=1; b=2; a*=utf-8''%C3%A9", "a=é\na=1\nb=2\n", 0},
        {"without a value", "; a; b=", "a=\nb=\n", kParameterSyntax},
        {"more than a few", "; k=1; j=2; i=3; h=4; g=5; f=6; e=7; d=8; c=9; b=10; a=11",
         "k=1\nj=2\ni=3\nh=4\ng=5\nf=6\ne=7\nd=8\nc=9\nb=10\na=11\n", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        uint32_t problems = 0;
        EXPECT_EQ(listed(row.text, problems), row.expected);
        EXPECT_EQ(problems, row.problems);
    }
}

TEST(Parameters, ManySectionsOutOfOrderAreJoined) {
    std::string text;
    std::string expected;
    const int count = 20'000;
    for (int i = 0; i < count; ++i) {
        const int section = static_cast<int>((int64_t{i} * 7919) % count);  // a permutation
        text += "; name*" + std::to_string(section) + "=" + std::to_string(section) + ".";
        expected += std::to_string(i) + ".";
    }
    uint32_t problems = 0;
    EXPECT_EQ(valueOf(text, "name", {nullptr, {}}, problems), expected);
    EXPECT_EQ(problems, 0u);
    EXPECT_EQ(listed(text, problems), "name=" + expected + "\n");
}

TEST(Parameters, EveryCutOfOddListsEnds) {
    ToyHost host;
    const std::string texts[] = {
        "; (a(b)\\) name*1*=%C3; name*0*=toy'x'%C1; name=\"a\\\"b\" \"=?utf-8?B?4oI=?= c\"; name=C:\\x "
        "y(1).txt",
        "; charset=\"a; name=b; filename*0*=c",
        ";;,=\"(\\\"; name=\"\"a\" charset=\"x; name=\"y\"z; name*=utf-8'%4'%; name**0=\xFF\r\n\t\xE9",
    };
    for (const std::string& text : texts) {
        for (size_t from = 0; from < text.size(); ++from) {
            for (size_t to = from; to <= text.size(); ++to) {
                // What stands after the cut has no effect.
                const std::string alone = text.substr(from, to - from);
                const std::string_view cut = std::string_view(text).substr(from, to - from);
                uint32_t problems = 0;
                uint32_t otherProblems = 0;
                ASSERT_EQ(valueOf(cut, "name", {&host.record, "toy"}, problems),
                          valueOf(alone, "name", {&host.record, "toy"}, otherProblems))
                    << alone;
                ASSERT_EQ(problems, otherProblems) << alone;
                ASSERT_EQ(listed(cut, problems), listed(alone, otherProblems)) << alone;
            }
        }
    }
    EXPECT_EQ(host.opened, host.closed);
}

// Each unit makes some loop look ahead. A quarter of a megabyte would take hours if that were done anew for each.
TEST(Parameters, HostileListsStayCheap) {
    for (const char* unit : {"(",
                             "((a)",
                             "\"",
                             "; a=\"b\"c",
                             "; name=\"x; name=\"",
                             ";a",
                             "a ",
                             "=?",
                             "; name=\"a\" \"",
                             "\\\"",
                             "; a=(b",
                             "; a=b (c) (d)",
                             "; a=\"\\\"; charset=\"",
                             "'",
                             "; name*0=a",
                             "=?utf-8?Q?",
                             "; name==?utf-8?Q?",
                             "\r\n ",
                             "; a=b c=d",
                             "; name=\"=?x?q?a?= ",
                             "\" ",
                             "; name=; name*="}) {
        std::string text = "; name=\"x";
        while (text.size() < 1 << 18) text += unit;
        uint32_t problems = 0;
        (void)valueOf(text, "name", {nullptr, {}}, problems);
        (void)listed(text, problems);
    }
}

TEST(Parameters, ExhaustedMemoryIsSeen) {
    const std::string lists[] = {
        "; name*1*=%C3%A9; name*0*=utf-8''a; name*3=c; name*2=\"b\\\"\"; a=1; b=2; c=3; d=4; e=5; f=6; g=7; "
        "h=8; i=9",
        "; name*=utf-8''=?utf-8?Q?caf=C3=A9?=",
        "; name=\"" + std::string(9000, '\xE9') + "\\\"\"",
    };
    for (const std::string& text : lists) {
        uint32_t problems = 0;
        HeapText measured;
        ASSERT_TRUE(appendParameter(text, "name", {nullptr, {}}, measured.builder(), problems));
        for (uint32_t failAt = 1; failAt <= measured.calls(); ++failAt) {
            HeapText out(failAt);
            (void)appendParameter(text, "name", {nullptr, {}}, out.builder(), problems);
            EXPECT_TRUE(out.builder().failed()) << failAt;
            EXPECT_EQ(out.liveBlocks(), out.buffer().data != nullptr ? 1 : 0) << failAt;
        }
        HeapText texts;
        HeapText list;
        readParameters(text, {nullptr, {}}, texts.builder(), list.builder(), problems);
        const uint32_t calls = texts.calls();
        for (uint32_t failAt = 1; failAt <= calls; ++failAt) {
            HeapText failing(failAt);
            HeapText places;
            readParameters(text, {nullptr, {}}, failing.builder(), places.builder(), problems);
            EXPECT_TRUE(failing.builder().failed()) << failAt;
            EXPECT_EQ(failing.liveBlocks(), failing.buffer().data != nullptr ? 1 : 0) << failAt;
        }
    }
}

}  // namespace
