#include "tool/view/defect_words.h"

#include <emlreader/eml_mime.h>

#include <array>

namespace emltool {

namespace {

struct Row {
    uint32_t code;
    const char* words;
};

constexpr std::array<Row, 33> kWords = {{
    {EML_MIME_DEFECT_NO_CLOSING_DELIMITER, "the message ends too early; it may have been cut off"},
    {EML_MIME_DEFECT_OUTER_DELIMITER, "a group of parts ends too early; something may be missing"},
    {EML_MIME_DEFECT_NO_BOUNDARY, "the message does not say where its parts begin"},
    {EML_MIME_DEFECT_BOUNDARY_GUESSED, "where the parts begin was guessed"},
    {EML_MIME_DEFECT_NO_PARTS, "no part was found where there should be some; all of it is shown as text"},
    {EML_MIME_DEFECT_PART_AFTER_CLOSING, "a part follows after the end of its group"},
    {EML_MIME_DEFECT_DELIMITER_IN_HEADER, "the header of a part is cut off, and its content is missing"},
    {EML_MIME_DEFECT_NO_BLANK_LINE, "where a header ends was guessed"},
    {EML_MIME_DEFECT_FIELD_WITHOUT_COLON, "a line in a header was passed over, since it is no field"},
    {EML_MIME_DEFECT_NO_HEADER, "the message has no header"},
    {EML_MIME_DEFECT_TOO_DEEP, "parts are nested too deep; the innermost were not opened"},
    {EML_MIME_DEFECT_TOO_MANY_PARTS, "the message has too many parts; the last ones were not opened"},
    {EML_MIME_DEFECT_HEADER_TOO_LONG, "a header is too long; its end was left out"},
    {EML_MIME_DEFECT_ENCODED_MULTIPART, "a group of parts is encoded as a whole, which it must not be"},
    {EML_MIME_DEFECT_INLINE_FILE_CUT_OFF, "a file inside the text has no end; it may have been cut off"},
    {EML_MIME_DEFECT_TOO_MANY_DEFECTS, "there is more wrong with the message than is listed"},
    {EML_MIME_DEFECT_CONFLICTING_FIELD,
     "a header has the same field twice, with different values; the first counts here, but elsewhere the "
     "other may"},
    {EML_MIME_DEFECT_DUPLICATE_PARAMETER, "a field says the same thing twice; the first counts"},
    {EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX, "the type of a part cannot be read; it is taken as text"},
    {EML_MIME_DEFECT_PARAMETER_SYNTAX,
     "a field with details of a part is broken; it was read as far as it makes sense"},
    {EML_MIME_DEFECT_UNKNOWN_ENCODING, "a part has an unknown encoding; it is shown as it stands"},
    {EML_MIME_DEFECT_UNTERMINATED_QUOTE, "a quoted text in a header does not end; where it ends was guessed"},
    {EML_MIME_DEFECT_BASE64_CHARACTER, "a part has stray characters in its base64; they were left out"},
    {EML_MIME_DEFECT_BASE64_CUT_OFF, "the base64 of a part is cut off"},
    {EML_MIME_DEFECT_UUENCODE_LINE, "a uuencoded file has damaged lines"},
    {EML_MIME_DEFECT_YENC_DAMAGED, "a yEnc file is damaged: its size or checksum is wrong"},
    {EML_MIME_DEFECT_UNKNOWN_CHARSET,
     "a text has a charset that nobody here knows; some characters may be wrong"},
    {EML_MIME_DEFECT_CHARSET_MISMATCH, "a text has bytes that are no characters of its charset"},
    {EML_MIME_DEFECT_CHARSET_GUESSED, "a text does not say its charset, which was guessed"},
    {EML_MIME_DEFECT_8BIT_IN_HEADER, "a header has bytes without a charset, which was guessed"},
    {EML_MIME_DEFECT_NUL, "a text has zero bytes"},
    {EML_MIME_DEFECT_NUL_IN_HEADER, "a header has zero bytes"},
    {EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE, "a part has broken quoted-printable; it is shown as it stands"},
}};

}  // namespace

const char* defectWords(uint32_t code) {
    for (const Row& row : kWords) {
        if (row.code == code) return row.words;
    }
    return nullptr;
}

}  // namespace emltool
