#include "tool/message/part_words.h"

#include <emlreader/eml_mime.h>

#include <array>

namespace emltool {

namespace {

struct Words {
    std::string_view word;
    std::string_view text;
};

constexpr std::array<std::string_view, 9> kEncodings = {
    "none", "7bit", "8bit", "binary", "base64", "quoted-printable", "uuencode", "yenc", "unknown"};

struct ProtectionWords {
    std::string_view word;
    std::string_view text;
    std::string_view notice;
};

constexpr auto kProtections = std::to_array<ProtectionWords>({
    {"", "", ""},
    {"smime-signed", "S/MIME signed", "signed (S/MIME), not verified"},
    {"smime-opaque", "S/MIME signed, content inside", "signed (S/MIME), not verified"},
    {"smime-enveloped", "S/MIME encrypted", "encrypted (S/MIME)"},
    {"smime-compressed", "S/MIME compressed", "compressed (S/MIME)"},
    {"smime-certs", "S/MIME certificates", "certificates (S/MIME)"},
    {"smime-other", "S/MIME", "encrypted (S/MIME)"},
    {"pgp-signed", "PGP signed", "signed (PGP), not verified"},
    {"pgp-encrypted", "PGP encrypted", "encrypted (PGP)"},
    {"pgp-inline-signed", "PGP signed, in the text", "signed (PGP), not verified"},
    {"pgp-inline-encrypted", "PGP encrypted, in the text", "encrypted (PGP)"},
    {"signed-other", "signed", "signed, not verified"},
    {"encrypted-other", "encrypted", "encrypted"},
});

constexpr std::array<std::string_view, 8> kSpans = {"padding",   "header",  "blank",    "body",
                                                    "delimiter", "closing", "preamble", "epilogue"};

}  // namespace

std::string_view encodingWord(uint32_t encoding) {
    return encoding < kEncodings.size() ? kEncodings[encoding] : "unknown";
}

std::string_view protectionWord(uint32_t protection) {
    return protection < kProtections.size() ? kProtections[protection].word : "unknown";
}

std::string_view protectionText(uint32_t protection) {
    return protection < kProtections.size() ? kProtections[protection].text : "protected";
}

std::string_view protectionNotice(uint32_t protection) {
    return protection < kProtections.size() ? kProtections[protection].notice : "protected";
}

std::string_view spanWord(uint32_t kind) { return kind < kSpans.size() ? kSpans[kind] : "unknown"; }

std::vector<std::string_view> roleWords(uint32_t roles) {
    std::vector<std::string_view> words;
    if ((roles & EML_MIME_ROLE_TEXT_BODY) != 0) words.emplace_back("text-body");
    if ((roles & EML_MIME_ROLE_HTML_BODY) != 0) words.emplace_back("html-body");
    if ((roles & EML_MIME_ROLE_ATTACHMENT) != 0) words.emplace_back("attachment");
    return words;
}

}  // namespace emltool
