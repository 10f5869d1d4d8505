// Messages that a sender may make to cost a reader as much as possible: one thing, many times over.
#pragma once

#include <emlreader/eml.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace eml::test {

// `make(n)` gives the message with n of what its name says; its size grows linearly in n.
struct HostileMessage {
    const char* name;
    uint32_t full;   // the larger of the two sizes when all is measured; the smaller is a quarter of it
    uint32_t quick;  // the larger size when time is short; both are multiples of 4
    std::string (*make)(uint32_t count);
    uint32_t openFlags = 0;
};

namespace hostile {

inline std::string repeat(std::string_view text, uint32_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (uint32_t i = 0; i < count; ++i) all += text;
    return all;
}

inline std::string multipart(std::string_view boundary, std::string_view rest) {
    return "Content-Type: multipart/mixed; boundary=\"" + std::string(boundary) + "\"\n\n" +
           std::string(rest);
}

inline std::string text(std::string_view encoding, std::string_view body) {
    return "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: " + std::string(encoding) +
           "\n\n" + std::string(body);
}

inline std::string header(std::string_view fields) { return std::string(fields) + "\n\nbody\n"; }

// All of one length, so that none is the beginning of another.
inline std::string boundaryOfLevel(uint32_t level) {
    const std::string digits = std::to_string(level);
    return "b" + std::string(7 - digits.size(), '0') + digits;
}

inline std::string nested(std::string_view type, uint32_t depth, std::string_view innermost) {
    std::string message = multipart(boundaryOfLevel(0), "");
    for (uint32_t level = 1; level <= depth; ++level) {
        message += "--" + boundaryOfLevel(level - 1) + "\nContent-Type: " + std::string(type) +
                   "; boundary=" + boundaryOfLevel(level) + "\n\n";
    }
    return message + std::string(innermost);
}

inline std::string nestedAlone(std::string_view type, uint32_t depth) {
    return nested(type, depth, "--" + boundaryOfLevel(depth) + "\nContent-Type: text/plain\n\nbody\n");
}

// As many levels as the container reader follows, around attachments that each level hands up to the next.
inline std::string relatedAroundAttachments(uint32_t count) {
    constexpr uint32_t kLevels = 99;
    const std::string part = "--" + boundaryOfLevel(kLevels) + "\nContent-Type: image/gif; name=a\n\nx\n";
    return nested("multipart/related", kLevels, repeat(part, count));
}

// Parts that differ in nothing but `type`, after a text.
inline std::string parts(std::string_view type, uint32_t count) {
    const std::string part = "--b\nContent-Type: " + std::string(type) + "\n\nx\n";
    return multipart("b", "--b\n\ntext\n" + repeat(part, count) + "--b--\n");
}

inline std::string base64(std::string_view bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string lines;
    for (size_t i = 0; i + 3 <= bytes.size(); i += 3) {
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | static_cast<uint8_t>(bytes[i + k]);
        for (int shift = 18; shift >= 0; shift -= 6) lines += kDigits[group >> shift & 63];
        if (i % 57 == 54) lines += '\n';
    }
    return lines;
}

// A packed RTF body that claims to unpack to 2^32 - 1 bytes. Its content is `count` times `token`.
inline std::string packedRtf(std::string_view kind, std::string_view token, uint32_t count) {
    std::string packed("\xFF\xFF\xFF\x7F\xFF\xFF\xFF\xFF", 8);
    packed += std::string(kind) + std::string(4, '\0') + repeat(token, count);
    packed.resize((packed.size() + 2) / 3 * 3);
    return "Content-Type: application/rtf\nContent-Transfer-Encoding: base64\n\n" + base64(packed);
}

// Lines that all but match a boundary of 2000 equal letters, in a long run of the letter.
inline std::string nearlyBoundary(uint32_t count) {
    const std::string run(1999, 'a');
    return multipart(run + "a", repeat("--" + run + "b\n--" + run + "\n" + run + run + "\n", count) + "--" +
                                    run + "a\n\ntext\n--" + run + "a--\n");
}

// The first reference reaches into the dictionary, and each copies the most that one can: 17 bytes for two.
inline constexpr std::string_view kReferences(
    "\xFF\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F", 17);

inline constexpr std::string_view kDashesThenNul("--\0", 3);
inline constexpr std::string_view kLetterThenNul("a\0", 2);

inline std::string boundaryLines(uint32_t n) { return multipart("b", repeat("--b\n", n)); }
inline std::string boundaryLinesAndEmptyOnes(uint32_t n) { return multipart("b", repeat("--b\n\n", n)); }
inline std::string dashes(uint32_t n) { return multipart("", repeat("-", n)); }
inline std::string linesOfTwoDashes(uint32_t n) { return multipart("", repeat("--\n", n)); }
inline std::string dashesAndNul(uint32_t n) { return multipart("", repeat(kDashesThenNul, n)); }
inline std::string lettersAndNul(uint32_t n) { return multipart("b", repeat(kLetterThenNul, n)); }
inline std::string nestedRelated(uint32_t n) { return nestedAlone("multipart/related", n); }
inline std::string nestedAlternative(uint32_t n) { return nestedAlone("multipart/alternative", n); }
// Within one block of the input each related part is found to hold all that follow it in the block.
inline std::string relatedInOneBlock(uint32_t n) {
    return multipart("",
                     repeat("--\nContent-Type:multipart/related;boundary=\n\nx\n", 100) + repeat("--\n", n));
}
inline std::string newBoundaries(uint32_t n) { return parts("multipart/appledouble; boundary=b", n); }
inline std::string attachments(uint32_t n) { return parts("image/gif; name=a", n); }
inline std::string embeddedMessages(uint32_t n) { return parts("message/rfc822", n); }
// The filter records each report as an attachment and none as a part, so that all of them run to the end of
// the one part: an attachment has half the message on average.
inline std::string overlappingReports(uint32_t n) {
    return multipart("b", repeat("--b\nContent-Type: message/delivery-status\n\nx\n", n) +
                              "--b\nContent-Type: text/plain\n\nlast\n--b--\n");
}
inline std::string converted(uint32_t n) { return multipart("b", repeat("Attachment Converted: a\n", n)); }
inline std::string oneLine(uint32_t n) { return header("Subject: " + repeat("a", n)); }
inline std::string equalFields(uint32_t n) { return header(repeat("To: a\n", n)); }
inline std::string emptyFields(uint32_t n) { return header(repeat("To:\n", n)); }
inline std::string unknownFields(uint32_t n) { return repeat("a\r", n) + "\r\rbody\r"; }
inline std::string continuations(uint32_t n) { return header("To: a\n" + repeat(" b\n", n)); }
inline std::string parameters(uint32_t n) {
    return header("Content-Type: multipart/mixed;" + repeat(" a\n", n));
}
inline std::string words(uint32_t n) { return header("Subject: " + repeat("=?u?q?a?=", n)); }
inline std::string base64Words(uint32_t n) { return header("Subject: " + repeat("=?u?b?YQ==?= ", n)); }
inline std::string endlessWords(uint32_t n) { return header("Subject: " + repeat("=?a?b?", n)); }
inline std::string wordBeginnings(uint32_t n) { return header("Subject: " + repeat("=?", n)); }
inline std::string newlines(uint32_t n) { return text("7bit", repeat("\n", n)); }
inline std::string lettersAndTabs(uint32_t n) { return text("7bit", repeat("a\t", n)); }
inline std::string base64Text(uint32_t n) { return text("base64", repeat("CUEJ", n)); }
inline std::string quotedText(uint32_t n) { return text("quoted-printable", repeat("=41=09", n)); }
inline std::string html(uint32_t n) {
    return "Content-Type: text/html\nContent-Transfer-Encoding: quoted-printable\n\n" + repeat("=3C\n", n);
}
inline std::string packedReferences(uint32_t n) { return packedRtf("LZFu", kReferences, n); }
inline std::string packedClaim(uint32_t n) { return packedRtf("LZFu", "", 0) + repeat("AAAA", n); }
inline std::string storedClaim(uint32_t n) { return packedRtf("MELA", "{}", n); }
// A subject of characters of two bytes, each of which is written as eight.
inline std::string rtfHeader(uint32_t n) {
    return "Content-Type: application/rtf\nSubject: " + repeat("\x81\x82", n) +
           "\n\n{\\rtf1 a body of some length}\n";
}

}  // namespace hostile

inline constexpr auto kHostileMessages = std::to_array<HostileMessage>({
    {"boundary lines", 400000, 100000, hostile::boundaryLines},
    {"boundary lines, empty lines", 400000, 100000, hostile::boundaryLinesAndEmptyOnes},
    {"dashes, empty boundary", 4000000, 1000000, hostile::dashes},
    {"lines of two dashes, empty boundary", 400000, 100000, hostile::linesOfTwoDashes},
    {"two dashes and NUL, empty boundary", 400000, 100000, hostile::dashesAndNul},
    {"letter and NUL", 500000, 200000, hostile::lettersAndNul},
    {"nearly a boundary of 2,000 letters", 1000, 200, hostile::nearlyBoundary},
    {"related, nested", 5000, 5000, hostile::nestedRelated},
    {"related, nested around attachments", 100000, 10000, hostile::relatedAroundAttachments},
    {"related, 100 within each other's blocks", 16000, 16000, hostile::relatedInOneBlock},
    {"alternative, nested", 5000, 5000, hostile::nestedAlternative},
    {"boundaries that replace each other", 100000, 20000, hostile::newBoundaries},
    {"attachments", 100000, 20000, hostile::attachments},
    {"embedded messages", 100000, 20000, hostile::embeddedMessages},
    {"reports that overlap", 100000, 20000, hostile::overlappingReports},
    {"converted attachments", 100000, 20000, hostile::converted, EML_OPEN_CONVERTED_ATTACHMENTS},
    {"one header line", 10000000, 1000000, hostile::oneLine},
    {"equal fields", 200000, 40000, hostile::equalFields},
    {"equal fields, empty", 200000, 60000, hostile::emptyFields},
    {"unknown fields, CR alone", 200000, 120000, hostile::unknownFields},
    {"continuation lines", 200000, 80000, hostile::continuations},
    {"folded parameters", 200000, 80000, hostile::parameters},
    {"encoded words", 200000, 40000, hostile::words},
    {"encoded words, base64", 200000, 40000, hostile::base64Words},
    {"encoded words without end", 500000, 100000, hostile::endlessWords},
    {"beginnings of encoded words", 1000000, 200000, hostile::wordBeginnings},
    {"newlines", 1000000, 300000, hostile::newlines},
    {"letter and tab", 1000000, 300000, hostile::lettersAndTabs},
    {"base64 text", 1000000, 200000, hostile::base64Text},
    {"quoted-printable text", 1000000, 200000, hostile::quotedText},
    {"HTML", 1000000, 200000, hostile::html},
    {"packed RTF, references", 40000, 10000, hostile::packedReferences},
    {"packed RTF, a claim", 1000000, 200000, hostile::packedClaim},
    {"stored RTF, a claim", 1000000, 200000, hostile::storedClaim},
    {"RTF header in two-byte characters", 500000, 100000, hostile::rtfHeader},
});

}  // namespace eml::test
