#include "tool/message/defect_words.h"

#include <emlreader/eml_mime.h>

#include <algorithm>
#include <array>

namespace emltool {

namespace {

struct DefectWords {
    uint32_t code;
    std::string_view text;
    std::string_view meaning;
};

constexpr auto kDefects = std::to_array<DefectWords>({
    {EML_MIME_DEFECT_NO_CLOSING_DELIMITER, "the closing delimiter is missing; it may be cut off",
     "cut off, the closing delimiter is missing; the last part may be incomplete"},
    {EML_MIME_DEFECT_OUTER_DELIMITER, "a delimiter of a multipart further out ends it",
     "a multipart ends without its closing delimiter; its last part may be incomplete"},
    {EML_MIME_DEFECT_NO_BOUNDARY, "a multipart without a boundary", "a multipart names no boundary"},
    {EML_MIME_DEFECT_BOUNDARY_GUESSED, "the boundary was guessed from the first line like a delimiter",
     "a multipart names no boundary; the first line like a delimiter was taken for one"},
    {EML_MIME_DEFECT_NO_PARTS, "the boundary never occurs; all of it is one part",
     "the boundary of a multipart never occurs; its body is shown as text"},
    {EML_MIME_DEFECT_DELIMITER_TEXT, "text after a delimiter in the same line, which belongs to no part",
     "there is text after a delimiter; it belongs to no part"},
    {EML_MIME_DEFECT_PART_AFTER_CLOSING, "a part after the closing delimiter",
     "there are parts after a closing delimiter; other readers may not show them"},
    {EML_MIME_DEFECT_DELIMITER_IN_HEADER, "a delimiter before the header has ended; the part is empty",
     "the header of a part does not end; the part is empty"},
    {EML_MIME_DEFECT_NO_BLANK_LINE, "no empty line between header and body",
     "there is no empty line after a header; where it ends was guessed"},
    {EML_MIME_DEFECT_FIELD_WITHOUT_COLON, "a line in the header that is no field",
     "a line in a header is no field; it was left out"},
    {EML_MIME_DEFECT_NO_HEADER, "no header field; all of it is text", ""},
    {EML_MIME_DEFECT_TOO_DEEP, "nested too deep; not opened",
     "nested too deep; the innermost parts were not opened"},
    {EML_MIME_DEFECT_TOO_MANY_PARTS, "too many parts; what follows stays in this one",
     "too many parts; the rest stays in the last one"},
    {EML_MIME_DEFECT_HEADER_TOO_LONG, "the header is too long; the lines after the limit are left out",
     "a header is too long; its last fields were left out"},
    {EML_MIME_DEFECT_ENCODED_MULTIPART, "a multipart or message under a transfer encoding",
     "a multipart is encoded as a whole, which it must not be; its parts were guessed"},
    {EML_MIME_DEFECT_INLINE_FILE_CUT_OFF, "a file inside text without its last line",
     "a file inside the text is cut off"},
    {EML_MIME_DEFECT_TOO_MANY_DEFECTS, "more defects than are listed",
     "there is more wrong with the message than is listed"},
    {EML_MIME_DEFECT_BOUNDARY_TOO_LONG, "a boundary of more than 70 characters", ""},
    {EML_MIME_DEFECT_DUPLICATE_FIELD, "a field twice, with the same value", ""},
    {EML_MIME_DEFECT_CONFLICTING_FIELD, "a field twice, with different values; the first counts",
     "a field that may occur once is there twice, with different values; the first was taken"},
    {EML_MIME_DEFECT_DUPLICATE_PARAMETER, "a parameter twice; the first counts",
     "a parameter is there twice; the first was taken"},
    {EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX, "Content-Type cannot be read; the default type counts",
     "a Content-Type cannot be read; the default type was taken"},
    {EML_MIME_DEFECT_PARAMETER_SYNTAX, "broken parameters; read as far as they make sense",
     "the parameters of a field are broken; they were read as far as they make sense"},
    {EML_MIME_DEFECT_UNKNOWN_ENCODING, "unknown transfer encoding; taken as it stands",
     "unknown transfer encoding; the content was not decoded"},
    {EML_MIME_DEFECT_ENCODING_SYNTAX, "other text around the transfer encoding", ""},
    {EML_MIME_DEFECT_UNTERMINATED_QUOTE, "a quoted string that does not end",
     "a quoted text in a field does not end; its end was guessed"},
    {EML_MIME_DEFECT_8BIT_IN_HEADER, "8-bit bytes in the header that are not UTF-8",
     "8-bit text in a header without a charset; it was guessed"},
    {EML_MIME_DEFECT_NUL_IN_HEADER, "a zero byte in the header", ""},
    {EML_MIME_DEFECT_NAME_ENCODED_WORD, "an encoded word inside a parameter; decoded", ""},
    {EML_MIME_DEFECT_NAME_PERCENT, "a percent sign in a parameter without two hexadecimal digits", ""},
    {EML_MIME_DEFECT_LONG_LINE, "a line of more than 998 bytes", ""},
    {EML_MIME_DEFECT_BARE_CR, "a line that ends in CR alone", ""},
    {EML_MIME_DEFECT_MIXED_LINE_ENDS, "a line that ends in LF alone among lines that end in CR LF", ""},
    {EML_MIME_DEFECT_NUL, "a zero byte in the body", ""},
    {EML_MIME_DEFECT_BASE64_CHARACTER, "a byte that is no base64; left out",
     "damaged base64: characters that mean nothing were left out"},
    {EML_MIME_DEFECT_BASE64_PADDING, "base64 padding missing, too early, or with data after it",
     "damaged base64: padding is missing or in the middle"},
    {EML_MIME_DEFECT_BASE64_CUT_OFF, "base64 that is cut off", "damaged base64: it is cut off"},
    {EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE, "\"=\" without two hexadecimal digits; left as it stands",
     "damaged quoted-printable: an escape that means nothing was left as it stands"},
    {EML_MIME_DEFECT_UUENCODE_LINE, "a line that is no uuencode; left out or filled up",
     "damaged uuencode: a line was left out or filled up"},
    {EML_MIME_DEFECT_YENC_DAMAGED, "yEnc data of another size or checksum than it says",
     "damaged yEnc: size or checksum is wrong"},
    {EML_MIME_DEFECT_UNKNOWN_CHARSET, "unknown charset; the text is left as bytes",
     "unknown charset; the text was not converted"},
    {EML_MIME_DEFECT_CHARSET_MISMATCH, "bytes that do not fit the charset",
     "text that does not fit its charset; U+FFFD stands for what is none"},
    {EML_MIME_DEFECT_CHARSET_GUESSED, "8-bit text without a charset; it was guessed",
     "8-bit text without a charset; it was guessed"},
    {EML_MIME_DEFECT_8BIT_IN_7BIT, "8-bit bytes where the transfer encoding promises none", ""},
});

const DefectWords* wordsOf(uint32_t code) {
    const auto* found = std::find_if(kDefects.begin(), kDefects.end(),
                                     [&](const DefectWords& row) { return row.code == code; });
    return found == kDefects.end() ? nullptr : found;
}

}  // namespace

std::string_view defectText(uint32_t code) {
    const DefectWords* words = wordsOf(code);
    return words == nullptr ? std::string_view() : words->text;
}

std::string_view defectMeaning(uint32_t code) {
    const DefectWords* words = wordsOf(code);
    return words == nullptr ? std::string_view() : words->meaning;
}

}  // namespace emltool
