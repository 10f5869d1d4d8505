// Address lists: the forms of RFC 5322, and what people and programs write instead.
#include "mime/addresses.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "mime/field_texts.h"

namespace {

using tests::FieldTexts;

// Each mailbox as "[group] {name} <address>", without what is absent; mailboxes separated by " | ".
std::string listOf(const std::string& value, const eml::HeaderText& how = tests::kPlainText) {
    const std::vector<char> bytes(value.begin(), value.end());
    FieldTexts texts;
    FieldTexts list;
    eml::readAddresses({bytes.data(), bytes.size()}, how, texts.builder(), list.builder());
    std::string all;
    for (const eml::AddressPlaces& places : list.records<eml::AddressPlaces>()) {
        if (!all.empty()) all += " | ";
        std::string one;
        if (places.group.start != eml::kAbsent) one += " [" + texts.at(places.group) + "]";
        if (places.name.start != eml::kAbsent) one += " {" + texts.at(places.name) + "}";
        if (places.address.start != eml::kAbsent) one += " <" + texts.at(places.address) + ">";
        all += one.empty() ? "nothing" : one.substr(1);
    }
    return all;
}

struct Row {
    std::string value;
    const char* list;
};

template <size_t kCount>
void check(const Row (&rows)[kCount]) {
    for (const Row& row : rows) EXPECT_EQ(listOf(row.value), row.list) << row.value;
}

TEST(MimeAddresses, Rfc5322AppendixA) {
    const Row rows[] = {
        // A.1.1
        {"John Doe <jdoe@machine.example>", "{John Doe} <jdoe@machine.example>"},
        {"Mary Smith <mary@example.net>", "{Mary Smith} <mary@example.net>"},
        {"Michael Jones <mjones@machine.example>", "{Michael Jones} <mjones@machine.example>"},
        // A.1.2
        {"\"Joe Q. Public\" <john.q.public@example.com>", "{Joe Q. Public} <john.q.public@example.com>"},
        {"Mary Smith <mary@x.test>, jdoe@example.org, Who? <one@y.test>",
         "{Mary Smith} <mary@x.test> | <jdoe@example.org> | {Who?} <one@y.test>"},
        {"<boss@nil.test>, \"Giant; \\\"Big\\\" Box\" <sysservices@example.net>",
         "<boss@nil.test> | {Giant; \"Big\" Box} <sysservices@example.net>"},
        // A.1.3
        {"Pete <pete@silly.example>", "{Pete} <pete@silly.example>"},
        {"A Group:Ed Jones <c@a.test>,joe@where.test,John <jdoe@one.test>;",
         "[A Group] {Ed Jones} <c@a.test> | [A Group] <joe@where.test> | [A Group] {John} <jdoe@one.test>"},
        {"Undisclosed recipients:;", "[Undisclosed recipients]"},
        // A.2
        {"\"Mary Smith: Personal Account\" <smith@home.example>",
         "{Mary Smith: Personal Account} <smith@home.example>"},
        // A.5
        {"Pete(A nice \\) chap) <pete(his account)@silly.test(his host)>", "{Pete} <pete@silly.test>"},
        {"A Group(Some people)\r\n     :Chris Jones <c@(Chris's host.)public.example>,\r\n"
         "         joe@example.org,\r\n  John <jdoe@one.test> (my dear friend); (the end of the group)",
         "[A Group] {Chris Jones} <c@public.example> | [A Group] <joe@example.org> | "
         "[A Group] {John} <jdoe@one.test>"},
        {"(Empty list)(start)Hidden recipients  :(nobody(that I know))  ;", "[Hidden recipients]"},
        // A.6.1
        {"Joe Q. Public <john.q.public@example.com>", "{Joe Q. Public} <john.q.public@example.com>"},
        {"Mary Smith <@node.test:mary@example.net>, , jdoe@test  . example",
         "{Mary Smith} <mary@example.net> | <jdoe@test.example>"},
        // A.6.3
        {"John Doe <jdoe@machine(comment).  example>", "{John Doe} <jdoe@machine.example>"},
        {" Mary Smith\r\n  \r\n          <mary@example.net>", "{Mary Smith} <mary@example.net>"},
    };
    check(rows);
}

TEST(MimeAddresses, OtherFormsOfRfc5322) {
    const Row rows[] = {
        {"", ""},
        {" \r\n ", ""},
        {"a@b", "<a@b>"},
        {"<a@b>", "<a@b>"},
        {"a@b,c@d", "<a@b> | <c@d>"},
        {"a@b,\r\n\tc@d", "<a@b> | <c@d>"},
        {",a@b,,c@d,,", "<a@b> | <c@d>"},  // obsolete empty items
        {"a@[127.0.0.1]", "<a@[127.0.0.1]>"},
        {"a@[ 127.0.0.1 ]", "<a@[127.0.0.1]>"},
        {"a@[IPv6:2001:db8::1]", "<a@[IPv6:2001:db8::1]>"},
        {"Joe <a@[IPv6:2001:db8::1]>", "{Joe} <a@[IPv6:2001:db8::1]>"},
        {"\"a b\"@c", "<\"a b\"@c>"},
        {"<\"a b\"@c>", "<\"a b\"@c>"},
        {"\"ab\"@c", "<ab@c>"},  // quotes that are not needed
        {"\"a.b\"@c", "<a.b@c>"},
        {"\"a..b\"@c", "<\"a..b\"@c>"},
        {"\".a\"@c", "<\".a\"@c>"},
        {"\"a.\"@c", "<\"a.\"@c>"},
        {"\"\"@c", "<\"\"@c>"},
        {"\"a\\b\"@c", "<ab@c>"},
        {"\"a\\\"b\"@c", "<\"a\\\"b\"@c>"},
        {"\"a\\\\b\"@c", "<\"a\\\\b\"@c>"},
        {"\"a@b\"@c", "<\"a@b\"@c>"},
        {"<\"a@b\"@c>", "<\"a@b\"@c>"},
        {"\"a,b\"@c, d@e", "<\"a,b\"@c> | <d@e>"},
        {"<\"a>b\"@c>", "<\"a>b\"@c>"},
        {"\"a\".b.\"c d\"@e", "<a.b.\"c d\"@e>"},
        {"<@a,@b:c@d>", "<c@d>"},
        {"Joe <@a.x,@b.y:c@d>, e@f", "{Joe} <c@d> | <e@f>"},
        {"<@a , @b : c@d>", "<c@d>"},
        {"a . b @ c . d", "<a.b@c.d>"},
        {"a (x) . (y) b (z) @ c", "<a.b@c>"},
        {"a@b (Joe)", "{Joe} <a@b>"},  // the name as it was written before RFC 822
        {"a@b (Joe (home) Smith)", "{Joe (home) Smith} <a@b>"},
        {"a@b (Joe \\(home\\))", "{Joe (home)} <a@b>"},
        {"(Joe) a@b", "{Joe} <a@b>"},
        {"a@b ()", "<a@b>"},
        {"<a@b> (Joe)", "{Joe} <a@b>"},
        {"Ann <a@b> (Joe)", "{Ann} <a@b>"},
        {"a@b (Joe) (home)", "{Joe} <a@b>"},
        {"a@b (Joe, Smith), c@d", "{Joe, Smith} <a@b> | <c@d>"},
        {"\"Joe \\\"Q\\\" Smith\" <a@b>", "{Joe \"Q\" Smith} <a@b>"},
        {"Joe \"Q\" Smith <a@b>", "{Joe Q Smith} <a@b>"},
        {"\"Joe\" \"Smith\" <a@b>", "{Joe Smith} <a@b>"},
        {"\"Smith, Joe\" <a@b>, c@d", "{Smith, Joe} <a@b> | <c@d>"},
        {"\"<x@y>\" <a@b>", "{<x@y>} <a@b>"},
        {"\"\" <a@b>", "<a@b>"},
        {"\" \" <a@b>", "<a@b>"},
        {"Joe\r\n  Smith\t <a@b>", "{Joe Smith} <a@b>"},
        {"Joe(x)Smith <a@b>", "{Joe Smith} <a@b>"},
        {"G:;", "[G]"},
        {"G: ;", "[G]"},
        {"G:,;", "[G]"},
        {"G:a@b;", "[G] <a@b>"},
        {"G:a@b,c@d;, e@f", "[G] <a@b> | [G] <c@d> | <e@f>"},
        {"G:a@b;H:c@d;", "[G] <a@b> | [H] <c@d>"},
        {"G:;, H:;", "[G] | [H]"},
        {"\"G, H\":a@b;", "[G, H] <a@b>"},
        {"x@y, G:a@b;", "<x@y> | [G] <a@b>"},
        // RFC 6854: groups in From
        {"Managing Partners:ben@example.com,carol@example.com;",
         "[Managing Partners] <ben@example.com> | [Managing Partners] <carol@example.com>"},
        {"Nightly Monitor Robot:;", "[Nightly Monitor Robot]"},
        // RFC 6532
        {"J\xc3\xb6rg <j\xc3\xb6rg@\xc3\xb6.example>", "{J\xc3\xb6rg} <j\xc3\xb6rg@\xc3\xb6.example>"},
        {"\"J\xc3\xb6rg\" <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"\"j\xc3\xb6rg x\"@b", "<\"j\xc3\xb6rg x\"@b>"},
        {"a@b (J\xc3\xb6rg)", "{J\xc3\xb6rg} <a@b>"},
        {"\xe6\x97\xa5\xe6\x9c\xac: \xe6\x97\xa5@b;", "[\xe6\x97\xa5\xe6\x9c\xac] <\xe6\x97\xa5@b>"},
    };
    check(rows);
}

TEST(MimeAddresses, EncodedWords) {
    const Row rows[] = {
        {"=?utf-8?q?J=C3=B6rg?= <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"=?utf-8?q?J=C3=B6rg?= Smith <a@b>", "{J\xc3\xb6rg Smith} <a@b>"},
        {"=?utf-8?q?J=C3?= =?utf-8?q?=B6rg?= <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"=?utf-8?q?J=C3?=\r\n =?utf-8?q?=B6rg?=\r\n <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"\"=?utf-8?q?J=C3=B6rg?=\" <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"=?utf-8?q?J=C3=B6rg?=<a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"=?utf-8?b?SsO2cmc=?= <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"a@b (=?utf-8?q?J=C3=B6rg?=)", "{J\xc3\xb6rg} <a@b>"},
        {"=?utf-8?q?Smith=2C_Joe?= <a@b>, c@d", "{Smith, Joe} <a@b> | <c@d>"},
        {"=?utf-8?q?Smith,_Joe?= <a@b>, c@d", "{Smith, Joe} <a@b> | <c@d>"},  // the comma is part of the word
        {"=?utf-8?q?joe@x?= <a@b>", "{joe@x} <a@b>"},
        {"=?utf-8?q?Joe_=3Cx=40y=3E?= <a@b>", "{Joe <x@y>} <a@b>"},  // what is decoded is no address
        {"=?utf-8?q?Joe_=3Cx=40y=3E?=", "{Joe <x@y>}"},
        {"=?utf-8?q?x=40y?=", "{x@y}"},
        {"=?utf-8?q?a?=@b", "<=?utf-8?q?a?=@b>"},
        {"=?utf-8?q?G=C3=B6?=: a@b;", "[G\xc3\xb6] <a@b>"},
        {"=?utf-8?q?G:?=: a@b;", "[G:] <a@b>"},
        {"=?utf-8?q?M=C3=BCller?=, Hans <a@b>", "{M\xc3\xbcller, Hans} <a@b>"},
        {"=?utf-8?q?a?=, =?utf-8?q?b?= <a@b>", "{a, b} <a@b>"},
        {"=?utf-8?q? <a@b>", "{=?utf-8?q?} <a@b>"},
        {"=?x <a@b>", "{=?x} <a@b>"},
        {"=?iso-8859-1?q?J=F6rg?= <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"J\xf6rg <a@b>", "{J\xc3\xb6rg} <a@b>"},
        {"a@\xf6.example", "<a@\xc3\xb6.example>"},
    };
    check(rows);
}

TEST(MimeAddresses, AsPeopleWriteThem) {
    const Row rows[] = {
        // Separators
        {"a@b; c@d", "<a@b> | <c@d>"},
        {"Joe <a@b>; Ann <c@d>;", "{Joe} <a@b> | {Ann} <c@d>"},
        {"a@b c@d", "<a@b> | <c@d>"},
        {"a@b\r\n c@d\r\n e@f", "<a@b> | <c@d> | <e@f>"},
        {"<a@b> <c@d>", "<a@b> | <c@d>"},
        {"<a@b><c@d>", "<a@b> | <c@d>"},
        {"Joe <a@b> Ann <c@d>", "{Joe} <a@b> | {Ann} <c@d>"},
        {"Joe <a@b> (x) Ann <c@d>", "{Joe} <a@b> | {Ann} <c@d>"},
        {"<a@b> (Joe) <c@d> (Ann)", "{Joe} <a@b> | {Ann} <c@d>"},
        {"Joe a@b Ann c@d", "{Joe} <a@b> | {Ann} <c@d>"},
        {"a@b (Joe) c@d (Ann)", "{Joe} <a@b> | {Ann} <c@d>"},
        // Names without quotes
        {"Joe Q. Public <a@b>", "{Joe Q. Public} <a@b>"},
        {"Dr. Joe <a@b>", "{Dr. Joe} <a@b>"},
        {"Smith, Joe <a@b>", "{Smith, Joe} <a@b>"},
        {"Smith, Joe <a@b>, Doe, Ann <c@d>", "{Smith, Joe} <a@b> | {Doe, Ann} <c@d>"},
        {"Smith, Joe, Dr. <a@b>", "{Smith, Joe, Dr.} <a@b>"},
        {"M\xc3\xbcller, Hans <a@b>", "{M\xc3\xbcller, Hans} <a@b>"},
        {"Smith, a@b", "<Smith> | <a@b>"},
        {"Smith, <a@b>", "<Smith> | <a@b>"},
        {"Smith, \"Joe\" <a@b>", "<Smith> | {Joe} <a@b>"},
        {"Joe Smith, Ann Doe", "{Joe Smith} | {Ann Doe}"},
        {"Smith; Joe <a@b>", "<Smith> | {Joe} <a@b>"},
        {"root, Joe <a@b>", "<root> | {Joe} <a@b>"},
        {"MAILER-DAEMON, Joe <a@b>", "<MAILER-DAEMON> | {Joe} <a@b>"},
        {"x@y, Joe <a@b>", "<x@y> | {Joe} <a@b>"},
        {"Smith, joe@x <a@b>", "<Smith> | {joe@x} <a@b>"},
        {"joe@x <a@b>", "{joe@x} <a@b>"},
        {"joe@x, <a@b>", "<joe@x> | <a@b>"},
        {"Joe's <a@b>", "{Joe's} <a@b>"},
        {"Joe [Sales] <a@b>", "{Joe [Sales]} <a@b>"},
        {"[Sales] Joe <a@b>", "{[Sales] Joe} <a@b>"},
        {"Joe <Sales> <a@b>", "{Joe <Sales>} <a@b>"},
        {"Joe @ Work <a@b>", "{Joe @ Work} <a@b>"},
        {"Joe\\, Smith <a@b>", "{Joe, Smith} <a@b>"},
        {"\\\"Joe\\\" <a@b>", "{\"Joe\"} <a@b>"},
        {"DOMAIN\\joe <a@b>", "{DOMAIN\\joe} <a@b>"},
        {"'Joe Smith' <a@b>", "{'Joe Smith'} <a@b>"},
        {"http://x.example/ <a@b>", "{http://x.example/} <a@b>"},
        // No brackets
        {"\"Joe\" a@b", "{Joe} <a@b>"},
        {"\"Joe Smith\" a@b, c@d", "{Joe Smith} <a@b> | <c@d>"},
        {"Joe Smith a@b", "{Joe Smith} <a@b>"},
        {"Joe Q. a@b", "{Joe Q.} <a@b>"},
        {"a@b Joe Smith", "{Joe Smith} <a@b>"},
        {"\"Joe\"a@b", "{Joe} <a@b>"},
        // Brackets
        {"Joe <a@b", "{Joe} <a@b>"},
        {"Joe <a@b, Ann <c@d>", "{Joe} <a@b> | {Ann} <c@d>"},
        {"Joe <a@b; Ann <c@d>", "{Joe} <a@b> | {Ann} <c@d>"},
        {"Joe <a@b <c@d>", "{Joe} <a@b> | <c@d>"},
        {"Joe a@b>", "{Joe} <a@b>"},
        {"a@b>, c@d", "<a@b> | <c@d>"},
        {"<<a@b>>", "<a@b>"},
        {"Joe <<a@b>>", "{Joe} <a@b>"},
        {"Joe < <a@b> >", "{Joe} <a@b>"},
        {"<Joe <a@b>>", "{Joe} <a@b>"},
        {"<a@b, c@d>", "<a@b> | <c@d>"},
        {"< a@b >", "<a@b>"},
        {"<a\r\n @b>", "<a@b>"},
        {"<a @ b . c>", "<a@b.c>"},
        {"<a b@c>", "<a b@c>"},
        {"<Smith, Joe@x>", "<Smith, Joe@x>"},
        {"<a@b> Joe", "{Joe} <a@b>"},
        {"Joe <a@b> Smith", "{Joe Smith} <a@b>"},
        {"Joe<a@b>", "{Joe} <a@b>"},
        {"<>", "<>"},  // the null path
        {"Mailer <>", "{Mailer} <>"},
        {"<>, <a@b>", "<> | <a@b>"},
        {"< >", "<>"},
        {"<", "<>"},
        {">", ""},
        {"<mailto:a@b>", "<a@b>"},
        {"mailto:a@b", "<a@b>"},
        {"Joe <MAILTO:a@b>", "{Joe} <a@b>"},
        {"Joe [mailto:a@b]", "{Joe} <a@b>"},
        {"[mailto:a@b]", "<a@b>"},
        {"<[a@b]>", "<a@b>"},
        {"'a@b'", "<a@b>"},
        {"<'a@b'>", "<a@b>"},
        {"'a@b' <a@b>", "{'a@b'} <a@b>"},
        {"\"a@b\"", "<a@b>"},
        {"\"a@b\" <a@b>", "{a@b} <a@b>"},
        {"<\"a@b\">", "<a@b>"},
        {"\"Joe <a@b>\"", "{Joe} <a@b>"},
        {"\"Smith, Joe <a@b>\", c@d", "{Smith, Joe} <a@b> | <c@d>"},
        {"\"<a@b>\"", "<a@b>"},
        {"\"mail a@b now\"", "{mail a@b now}"},
        // No "@"
        {"MAILER-DAEMON", "<MAILER-DAEMON>"},
        {"MAILER-DAEMON (Mail Delivery)", "{Mail Delivery} <MAILER-DAEMON>"},
        {"Mail Delivery <MAILER-DAEMON>", "{Mail Delivery} <MAILER-DAEMON>"},
        {"root (Cron Daemon)", "{Cron Daemon} <root>"},
        {"(Cron Daemon) root", "{Cron Daemon} <root>"},
        {"root", "<root>"},
        {"a, b", "<a> | <b>"},
        {"Joe Smith", "{Joe Smith}"},
        {"\"Joe\"", "{Joe}"},
        {"undisclosed-recipients:;", "[undisclosed-recipients]"},
        {"undisclosed-recipients: ;", "[undisclosed-recipients]"},
        {"undisclosed-recipients:", "[undisclosed-recipients]"},
        {"undisclosed recipients", "{undisclosed recipients}"},
        {"<joe at x>", "<joe at x>"},
        {"a!b!c", "<a!b!c>"},
        {"joe@", "<joe@>"},
        {"@x", "<@x>"},
        {"<@x>", "<@x>"},
        {"@", "<@>"},
        {".", "<.>"},
        {"a@b@c", "<a@b@c>"},
        {"a@b.", "<a@b.>"},
        {"a..b@c", "<a..b@c>"},
        {".a@c", "<.a@c>"},
        {"(Joe Smith)", "{Joe Smith}"},
        {"()", ""},
        {"(x), a@b", "<a@b>"},
        // Groups
        {"G: a@b, c@d", "[G] <a@b> | [G] <c@d>"},
        {"G: a@b; c@d; e@f", "[G] <a@b> | <c@d> | <e@f>"},
        {"A: a@b, B: c@d;", "[A] <a@b> | [B] <c@d>"},
        {"A: B: c@d;;", "[A] | [B] <c@d>"},
        {"Smith, G: a@b;", "<Smith> | [G] <a@b>"},
        {"G: Smith, Joe <a@b>;", "[G] {Smith, Joe} <a@b>"},
        {"G: Smith, Joe;", "[G] <Smith> | [G] <Joe>"},
        {": a@b", "{:} <a@b>"},
        // Quotes and comments that do not end
        {"\"Joe Smith <a@b>", "{Joe Smith} <a@b>"},
        {"\"Joe <a@b>, \"Ann\" <c@d>", "{Joe} <a@b> | {Ann} <c@d>"},
        {"Joe Smith\" <a@b>", "{Joe Smith} <a@b>"},
        {"Disk 5\" <a@b>, \"Ann\" <c@d>", "{Disk 5\"} <a@b> | {Ann} <c@d>"},
        {"\"\"Joe\"\" <a@b>", "{Joe} <a@b>"},
        {"Joe (x <a@b>, c@d", "{Joe (x} <a@b> | <c@d>"},
        {"Joe x) <a@b>", "{Joe x)} <a@b>"},
        {"a@[127.0.0.1, c@d", "<a@[127.0.0.1> | <c@d>"},
        // Control characters
        {"a\001b@c\r\n", "{a} <b@c>"},
        {std::string("a@b\0, c@d", 9), "<a@b> | <c@d>"},
        {std::string("a@b.\0example", 12), "<a@b.example>"},
        {std::string("Joe\0Smith <a@b>", 15), "{Joe Smith} <a@b>"},
    };
    check(rows);
}

TEST(MimeAddresses, RawTextIsOfTheFallbackCharset) {
    EXPECT_EQ(listOf("J\xf6rg <a@b>", {nullptr, "iso-8859-1"}), "{J\xc3\xb6rg} <a@b>");
    EXPECT_EQ(listOf("J\xc3\xb6rg <a@b>", {nullptr, "iso-8859-1"}), "{J\xc3\xb6rg} <a@b>");
}

TEST(MimeAddresses, NoMemory) {
    for (const char* value : {"Joe <a@b>, c@d", "G:;", "(x)", "Smith, Joe"}) {
        FieldTexts texts;
        FieldTexts list;
        texts.exhaust();
        eml::readAddresses(value, tests::kPlainText, texts.builder(), list.builder());
        EXPECT_TRUE(texts.builder().failed());
        EXPECT_EQ(list.builder().length(), 0U);
        FieldTexts full;
        list.exhaust();
        eml::readAddresses(value, tests::kPlainText, full.builder(), list.builder());
        EXPECT_TRUE(list.builder().failed());
    }
}

TEST(MimeAddresses, AddressesAndWordsAreNeverLost) {
    // Whatever stands around them, each marked address comes out.
    std::mt19937 random(4);
    const std::vector<std::string> pieces{"Joe ", "\"Ann\" ", "<", ">",   ",",   ";",     " ", "Dr. ",
                                          "x@y ", "'",        "]", "\\ ", "=? ", "\r\n ", ":", "root "};
    for (int round = 0; round < 30000; ++round) {
        std::string value;
        for (size_t i = random() % 6; i > 0; --i) value += pieces[random() % pieces.size()];
        value += " marked@place ";
        for (size_t i = random() % 6; i > 0; --i) value += pieces[random() % pieces.size()];
        ASSERT_NE(listOf(value).find("marked@place"), std::string::npos) << value << '\n' << listOf(value);
    }
}

TEST(MimeAddresses, AnyTextEnds) {
    std::mt19937 random(5);
    const std::string alphabet("<>()[]\"\\@,;:. aJ\r\n\0=?'\xc3", 24);
    for (int round = 0; round < 50000; ++round) {
        std::string value(random() % 24, 'x');
        for (char& byte : value) byte = alphabet[random() % alphabet.size()];
        ASSERT_EQ(listOf(value).find("no zero byte"), std::string::npos) << value;
    }
}

TEST(MimeAddresses, LongValuesCostLinearTime) {
    for (const char* piece :
         {"(",    ")",     "<",  ">",    ",",      ";",         ":",          "\"",      "[",  "@",   ".",
          "\\",   "=?",    " ",  "a ",   "a@",     "<a",        "<a@",        "A,",      "a:", "(\"", "\"(",
          "\"\\", "a.",    " .", "A:",   "=?a?q?", "=?a?q?x?=", "=?a?q?x?=,", "\" ",     "'",  "[[",  "[]",
          "a@b ", "<a@b>", "a(", "(a) ", "\"a\" ", "<@a,",      "J ",         "\"a>,\"b"}) {
        std::string value;
        while (value.size() < 128 << 10) value += piece;
        static_cast<void>(listOf(value));
        static_cast<void>(listOf("Joe <a@b>, " + value));
        static_cast<void>(listOf("<" + value));
        static_cast<void>(listOf("\"" + value + "\" <a@b>"));
    }
}

}  // namespace
