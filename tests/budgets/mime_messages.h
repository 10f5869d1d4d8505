// Messages that a sender may make to cost the MIME reader as much as possible.
#pragma once

#include "budgets/hostile_messages.h"

namespace eml::test {

namespace hostile {

inline std::string tinyParts(uint32_t n) { return multipart("b", repeat("--b\n\nx\n", n) + "--b--\n"); }
// Deeper than parts are opened: the levels below are text of the last one.
inline std::string nestedMixed(uint32_t n) { return nestedAlone("multipart/mixed", n); }
inline std::string nestedMessages(uint32_t n) { return repeat("Content-Type: message/rfc822\n\n", n); }
// Every line is compared with the boundaries of all open multiparts.
inline std::string delimitersOfLevels(uint32_t n) {
    constexpr uint32_t kLevels = 99;
    std::string lines;
    for (uint32_t i = 0; i < n; ++i) lines += "--b000000" + std::to_string(i % 10) + "\n";
    return nested("multipart/mixed", kLevels, lines);
}
// The search for the boundary that fits fails at the last letter of each.
inline std::string nearlyEveryBoundary(uint32_t n) {
    std::string message;
    const std::string run(500, 'a');
    for (char level = 'A'; level <= 'Z'; ++level) {
        message += std::string("Content-Type: multipart/mixed; boundary=") + run + level + "\n\n--" + run +
                   level + "\n";
    }
    return message + "\n" + repeat("--" + run + "0\n", n);
}
inline std::string closingAgain(uint32_t n) { return multipart("b", repeat("--b--\n--b\n", n)); }
inline std::string manyParameters(uint32_t n) {
    return header("Content-Type: text/plain" + repeat("; a=1", n));
}
inline std::string manySections(uint32_t n) {
    std::string sections;
    for (uint32_t i = 0; i < n; ++i) sections += ";a*" + std::to_string(n - 1 - i) + "*=%41";
    return header("Content-Disposition: attachment" + sections);
}
inline std::string manyPercents(uint32_t n) {
    return header("Content-Disposition: attachment; filename*=utf-8''" + repeat("%", n));
}
inline std::string foldedWords(uint32_t n) { return header("Subject:" + repeat(" =?utf-8?q?=C3?=\n", n)); }
inline std::string splitCharacters(uint32_t n) {
    return header("Subject:" + repeat(" =?koi8-r?b?4Q==?=\n", n));
}
inline std::string openComments(uint32_t n) { return header("To: " + repeat("(", n)); }
inline std::string openQuotes(uint32_t n) { return header("To: " + repeat("\"", n)); }
inline std::string openAngles(uint32_t n) { return header("To: " + repeat("<", n)); }
inline std::string emptyGroups(uint32_t n) { return header("To: " + repeat("a:;", n)); }
inline std::string mailboxes(uint32_t n) { return header("To: " + repeat("a@b,", n)); }
inline std::string routes(uint32_t n) { return header("To: <" + repeat("@a,", n) + ":b@c>"); }
inline std::string references(uint32_t n) { return header("References:" + repeat(" <a@b>", n)); }
inline std::string dateComments(uint32_t n) { return header("Date: 1 Jan 2024 " + repeat("(", n)); }
inline std::string dateDigits(uint32_t n) { return header("Date: " + repeat("9", n)); }
inline std::string emptyNames(uint32_t n) { return header(repeat("a:\n", n)); }
inline std::string fieldless(uint32_t n) { return header(repeat("a\nb: c\n", n)); }
inline std::string blankLinesOfSpaces(uint32_t n) { return header("A: b\n" + repeat(" \n", n)); }
inline std::string uuencodeBegins(uint32_t n) { return "A: b\n\n" + repeat("begin 644 a\n", n); }
inline std::string uuencodeFiles(uint32_t n) { return "A: b\n\n" + repeat("begin 644 a\n`\nend\n", n); }
inline std::string yencBegins(uint32_t n) {
    return "A: b\n\n" + repeat("=ybegin line=1 size=1 name=a\n=yend\n", n);
}
inline std::string base64Letters(uint32_t n) { return text("base64", repeat("A\n", n)); }
inline std::string base64Padding(uint32_t n) { return text("base64", repeat("QQ==", n)); }
inline std::string softBreaks(uint32_t n) { return text("quoted-printable", repeat("=\n", n)); }
inline std::string brokenEscapes(uint32_t n) { return text("quoted-printable", repeat("= ", n)); }
inline std::string endOfLineBlanks(uint32_t n) {
    return text("quoted-printable", repeat(std::string(500, ' ') + "x", n));
}
inline std::string nuls(uint32_t n) { return std::string(n, '\0'); }
inline std::string returns(uint32_t n) { return std::string(n, '\r'); }
inline std::string headerOfNuls(uint32_t n) { return "A: " + std::string(n, '\0') + "\n\nx"; }
inline std::string longLines(uint32_t n) {
    std::string lines = "A: b\n\n";
    for (uint32_t i = 0; i < n; ++i) lines += std::string((64 << 10) - 1 + i % 3, '-') + "\n";
    return lines;
}
inline std::string oneLongLine(uint32_t n) { return "A: b\n\n" + std::string(n, '-'); }
inline std::string flowedQuotes(uint32_t n) {
    return "Content-Type: text/plain; format=flowed\n\n" + repeat("> a \n>> b \n", n);
}
inline std::string flowedDepth(uint32_t n) {
    return "Content-Type: text/plain; format=flowed\n\n" + repeat(std::string(900, '>') + " \n", n);
}
inline std::string hostCharset(uint32_t n) {
    return "Content-Type: text/plain; charset=koi8-r\n\n" + repeat("\xC1", n);
}
inline std::string guessedCharset(uint32_t n) { return "A: b\n\n" + repeat("\xC1", n); }
inline std::string guessedBoundaries(uint32_t n) {
    return "Content-Type: multipart/mixed\n" + repeat("--aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab\n", n);
}
inline std::string relatedRoots(uint32_t n) {
    return "Content-Type: multipart/related; start=\"<z>\"; boundary=b\n\n" +
           repeat("--b\nContent-ID: <a>\n\nx\n", n);
}

}  // namespace hostile

inline constexpr auto kMimeMessages = std::to_array<HostileMessage>({
    {"tiny parts", 100000, 20000, hostile::tinyParts},
    {"mixed, nested", 10000, 10000, hostile::nestedMixed},
    {"messages, nested", 10000, 10000, hostile::nestedMessages},
    {"delimiters of 100 levels", 200000, 40000, hostile::delimitersOfLevels},
    {"nearly one of 26 long boundaries", 10000, 2000, hostile::nearlyEveryBoundary},
    {"closing delimiters again and again", 50000, 20000, hostile::closingAgain},
    {"parameters", 200000, 40000, hostile::manyParameters},
    {"sections of a parameter, backwards", 100000, 20000, hostile::manySections},
    {"percents", 1000000, 200000, hostile::manyPercents},
    {"encoded words, split characters", 40000, 20000, hostile::foldedWords},
    {"encoded words, the host's charset", 40000, 20000, hostile::splitCharacters},
    {"comments without end", 1000000, 200000, hostile::openComments},
    {"quotes", 1000000, 200000, hostile::openQuotes},
    {"angle brackets", 1000000, 200000, hostile::openAngles},
    {"empty groups", 300000, 60000, hostile::emptyGroups},
    {"mailboxes", 200000, 60000, hostile::mailboxes},
    {"a route", 300000, 60000, hostile::routes},
    {"message ids", 100000, 40000, hostile::references},
    {"comments in a date", 1000000, 200000, hostile::dateComments},
    {"digits in a date", 1000000, 200000, hostile::dateDigits},
    {"fields of one letter", 300000, 60000, hostile::emptyNames},
    {"lines without a colon", 100000, 40000, hostile::fieldless},
    {"continuation lines of blanks", 400000, 100000, hostile::blankLinesOfSpaces},
    {"beginnings of uuencode", 200000, 40000, hostile::uuencodeBegins},
    {"uuencoded files", 90000, 20000, hostile::uuencodeFiles},
    {"yEnc files", 90000, 20000, hostile::yencBegins},
    {"base64, a letter a line", 2000000, 200000, hostile::base64Letters},
    {"base64, padding", 1000000, 100000, hostile::base64Padding},
    {"soft line breaks", 5000000, 400000, hostile::softBreaks},
    {"broken escapes", 2000000, 400000, hostile::brokenEscapes},
    {"runs of blanks", 10000, 2000, hostile::endOfLineBlanks},
    {"NULs", 4000000, 400000, hostile::nuls},
    {"CRs", 2000000, 200000, hostile::returns},
    {"NULs in a header", 1000000, 200000, hostile::headerOfNuls},
    {"lines of a block and one byte", 200, 20, hostile::longLines},
    {"one line", 20000000, 1000000, hostile::oneLongLine},
    {"flowed quotes", 300000, 60000, hostile::flowedQuotes},
    {"flowed quotes 900 deep", 4000, 400, hostile::flowedDepth},
    {"the host's charset", 2000000, 200000, hostile::hostCharset},
    {"a guessed charset", 2000000, 200000, hostile::guessedCharset},
    {"delimiters in a header", 30000, 10000, hostile::guessedBoundaries},
    {"a related group without its root", 90000, 20000, hostile::relatedRoots},
});

}  // namespace eml::test
