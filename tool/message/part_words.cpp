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

struct DefectWords {
    uint32_t code;
    std::string_view text;
};

constexpr std::array kDefects = std::to_array<DefectWords>({
    {EML_MIME_DEFECT_NO_CLOSING_DELIMITER, "the closing delimiter is missing; it may be cut off"},
    {EML_MIME_DEFECT_OUTER_DELIMITER, "a delimiter of a multipart further out ends it"},
    {EML_MIME_DEFECT_NO_BOUNDARY, "a multipart without a boundary"},
    {EML_MIME_DEFECT_BOUNDARY_GUESSED, "the boundary was guessed from the first line like a delimiter"},
    {EML_MIME_DEFECT_NO_PARTS, "the boundary never occurs; all of it is one part"},
    {EML_MIME_DEFECT_DELIMITER_TEXT, "text after a delimiter in the same line, which belongs to no part"},
    {EML_MIME_DEFECT_PART_AFTER_CLOSING, "a part after the closing delimiter"},
    {EML_MIME_DEFECT_DELIMITER_IN_HEADER, "a delimiter before the header has ended; the part is empty"},
    {EML_MIME_DEFECT_NO_BLANK_LINE, "no empty line between header and body"},
    {EML_MIME_DEFECT_FIELD_WITHOUT_COLON, "a line in the header that is no field"},
    {EML_MIME_DEFECT_NO_HEADER, "no header field; all of it is text"},
    {EML_MIME_DEFECT_TOO_DEEP, "nested too deep; not opened"},
    {EML_MIME_DEFECT_TOO_MANY_PARTS, "too many parts; what follows stays in this one"},
    {EML_MIME_DEFECT_HEADER_TOO_LONG, "the header is too long; the lines after the limit are left out"},
    {EML_MIME_DEFECT_ENCODED_MULTIPART, "a multipart or message under a transfer encoding"},
    {EML_MIME_DEFECT_INLINE_FILE_CUT_OFF, "a file inside text without its last line"},
    {EML_MIME_DEFECT_TOO_MANY_DEFECTS, "more defects than are listed"},
    {EML_MIME_DEFECT_BOUNDARY_TOO_LONG, "a boundary of more than 70 characters"},
    {EML_MIME_DEFECT_DUPLICATE_FIELD, "a field twice, with the same value"},
    {EML_MIME_DEFECT_CONFLICTING_FIELD, "a field twice, with different values; the first counts"},
    {EML_MIME_DEFECT_DUPLICATE_PARAMETER, "a parameter twice; the first counts"},
    {EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX, "Content-Type cannot be read; the default type counts"},
    {EML_MIME_DEFECT_PARAMETER_SYNTAX, "broken parameters; read as far as they make sense"},
    {EML_MIME_DEFECT_UNKNOWN_ENCODING, "unknown transfer encoding; taken as it stands"},
    {EML_MIME_DEFECT_ENCODING_SYNTAX, "other text around the transfer encoding"},
    {EML_MIME_DEFECT_UNTERMINATED_QUOTE, "a quoted string that does not end"},
    {EML_MIME_DEFECT_8BIT_IN_HEADER, "8-bit bytes in the header that are not UTF-8"},
    {EML_MIME_DEFECT_NUL_IN_HEADER, "a zero byte in the header"},
    {EML_MIME_DEFECT_NAME_ENCODED_WORD, "an encoded word inside a parameter; decoded"},
    {EML_MIME_DEFECT_NAME_PERCENT, "a percent sign in a parameter without two hexadecimal digits"},
    {EML_MIME_DEFECT_LONG_LINE, "a line of more than 998 bytes"},
    {EML_MIME_DEFECT_BARE_CR, "a line that ends in CR alone"},
    {EML_MIME_DEFECT_MIXED_LINE_ENDS, "a line that ends in LF alone among lines that end in CR LF"},
    {EML_MIME_DEFECT_NUL, "a zero byte in the body"},
    {EML_MIME_DEFECT_BASE64_CHARACTER, "a byte that is no base64; left out"},
    {EML_MIME_DEFECT_BASE64_PADDING, "base64 padding missing, too early, or with data after it"},
    {EML_MIME_DEFECT_BASE64_CUT_OFF, "base64 that is cut off"},
    {EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE, "\"=\" without two hexadecimal digits; left as it stands"},
    {EML_MIME_DEFECT_UUENCODE_LINE, "a line that is no uuencode; left out or filled up"},
    {EML_MIME_DEFECT_YENC_DAMAGED, "yEnc data of another size or checksum than it says"},
    {EML_MIME_DEFECT_UNKNOWN_CHARSET, "unknown charset; the text is left as bytes"},
    {EML_MIME_DEFECT_CHARSET_MISMATCH, "bytes that do not fit the charset"},
    {EML_MIME_DEFECT_CHARSET_GUESSED, "8-bit text without a charset; it was guessed"},
    {EML_MIME_DEFECT_8BIT_IN_7BIT, "8-bit bytes where the transfer encoding promises none"},
});

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

std::string_view defectText(uint32_t code) {
    for (const DefectWords& known : kDefects) {
        if (known.code == code) return known.text;
    }
    return {};
}

}  // namespace emltool
