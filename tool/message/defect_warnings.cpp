#include "tool/message/defect_warnings.h"

#include <fmt/format.h>

#include <algorithm>

#include "tool/message/mime_fields.h"
#include "tool/message/part_words.h"

namespace emltool {

namespace {

struct Meaning {
    uint32_t code;
    std::string_view text;
};

// Not here: what breaks a rule, but can be read in one way only.
constexpr Meaning kMeanings[] = {
    {EML_MIME_DEFECT_NO_CLOSING_DELIMITER,
     "cut off, the closing delimiter is missing; the last part may be incomplete"},
    {EML_MIME_DEFECT_OUTER_DELIMITER,
     "a multipart ends without its closing delimiter; its last part may be incomplete"},
    {EML_MIME_DEFECT_NO_BOUNDARY, "a multipart names no boundary"},
    {EML_MIME_DEFECT_BOUNDARY_GUESSED,
     "a multipart names no boundary; the first line like a delimiter was taken for one"},
    {EML_MIME_DEFECT_NO_PARTS, "the boundary of a multipart never occurs; its body is shown as text"},
    {EML_MIME_DEFECT_DELIMITER_TEXT, "there is text after a delimiter; it belongs to no part"},
    {EML_MIME_DEFECT_PART_AFTER_CLOSING,
     "there are parts after a closing delimiter; other readers may not show them"},
    {EML_MIME_DEFECT_DELIMITER_IN_HEADER, "the header of a part does not end; the part is empty"},
    {EML_MIME_DEFECT_TOO_DEEP, "nested too deep; the innermost parts were not opened"},
    {EML_MIME_DEFECT_TOO_MANY_PARTS, "too many parts; the rest stays in the last one"},
    {EML_MIME_DEFECT_HEADER_TOO_LONG, "a header is too long; its last fields were left out"},
    {EML_MIME_DEFECT_INLINE_FILE_CUT_OFF, "a file inside the text is cut off"},
    {EML_MIME_DEFECT_CONFLICTING_FIELD,
     "a field that may occur once is there twice, with different values; the first was taken"},
    {EML_MIME_DEFECT_DUPLICATE_PARAMETER, "a parameter is there twice; the first was taken"},
    {EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX, "a Content-Type cannot be read; the default type was taken"},
    {EML_MIME_DEFECT_UNKNOWN_ENCODING, "unknown transfer encoding; the content was not decoded"},
    {EML_MIME_DEFECT_UNTERMINATED_QUOTE, "a quoted text in a field does not end; its end was guessed"},
    {EML_MIME_DEFECT_8BIT_IN_HEADER, "8-bit text in a header without a charset; it was guessed"},
    {EML_MIME_DEFECT_BASE64_CHARACTER, "damaged base64: characters that mean nothing were left out"},
    {EML_MIME_DEFECT_BASE64_PADDING, "damaged base64: padding is missing or in the middle"},
    {EML_MIME_DEFECT_BASE64_CUT_OFF, "damaged base64: it is cut off"},
    {EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE,
     "damaged quoted-printable: an escape that means nothing was left as it stands"},
    {EML_MIME_DEFECT_UUENCODE_LINE, "damaged uuencode: a line was left out or filled up"},
    {EML_MIME_DEFECT_YENC_DAMAGED, "damaged yEnc: size or checksum is wrong"},
    {EML_MIME_DEFECT_UNKNOWN_CHARSET, "unknown charset; the text was not converted"},
    {EML_MIME_DEFECT_CHARSET_MISMATCH, "text that does not fit its charset; U+FFFD stands for what is none"},
    {EML_MIME_DEFECT_CHARSET_GUESSED, "8-bit text without a charset; it was guessed"},
};

// What to call a part: its name, or its place in the file.
std::string whereOf(const emlreader::mime::Message& message, uint32_t number) {
    const emlreader::mime::Part part = message.part(number);
    return part.isNamed() ? part.name() + ": " : "";
}

}  // namespace

std::string_view meaningOf(uint32_t defectCode) {
    const auto* found = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                     [&](const Meaning& row) { return row.code == defectCode; });
    return found == std::end(kMeanings) ? std::string_view() : found->text;
}

std::vector<Warning> defectWarnings(const emlreader::mime::Message& message) {
    std::vector<Warning> warnings;
    std::vector<uint32_t> codes;  // of `warnings`
    std::vector<uint32_t> more;   // parts with the same
    for (const emlreader::mime::Defect& defect : message.defects()) {
        const std::string_view meaning = meaningOf(defect.code);
        if (meaning.empty()) continue;
        const auto known = std::find(codes.begin(), codes.end(), defect.code);
        if (known != codes.end()) {
            ++more[static_cast<size_t>(known - codes.begin())];
            continue;
        }
        codes.push_back(defect.code);
        more.push_back(0);
        warnings.push_back(
            {std::string(defect.name()), whereOf(message, defect.part) + std::string(meaning)});
    }
    for (size_t i = 0; i < warnings.size(); ++i) {
        if (more[i] > 0)
            warnings[i].text += fmt::format(" (and in {} more {})", more[i], more[i] == 1 ? "part" : "parts");
    }
    return warnings;
}

std::vector<Warning> hiddenPartWarnings(const emlreader::mime::Message& message, uint32_t root) {
    std::vector<Warning> warnings;
    for (const emlreader::mime::Part& part : message.parts()) {
        const uint32_t protection = part.protection();
        if (part.info().message != root || part.number() == root) continue;
        if (protection == EML_MIME_SMIME_OPAQUE) {
            warnings.push_back(
                {"signed-part", whereOf(message, part.number()) +
                                    "a part is inside an S/MIME signature; what it holds is not read"});
        } else if (isEncryption(protection)) {
            warnings.push_back({"encrypted-part", whereOf(message, part.number()) + "a part is " +
                                                      std::string(protectionNotice(protection)) +
                                                      "; what it holds cannot be read"});
        }
    }
    return warnings;
}

}  // namespace emltool
