#include "mime/defects.h"

#include <array>

namespace eml {

namespace {

struct DefectName {
    uint32_t code;
    const char* name;
};

constexpr std::array kDefectNames = std::to_array<DefectName>({
    {EML_MIME_DEFECT_NO_CLOSING_DELIMITER, "no-closing-delimiter"},
    {EML_MIME_DEFECT_OUTER_DELIMITER, "outer-delimiter"},
    {EML_MIME_DEFECT_NO_BOUNDARY, "no-boundary"},
    {EML_MIME_DEFECT_BOUNDARY_GUESSED, "boundary-guessed"},
    {EML_MIME_DEFECT_NO_PARTS, "no-parts"},
    {EML_MIME_DEFECT_DELIMITER_TEXT, "delimiter-text"},
    {EML_MIME_DEFECT_PART_AFTER_CLOSING, "part-after-closing"},
    {EML_MIME_DEFECT_DELIMITER_IN_HEADER, "delimiter-in-header"},
    {EML_MIME_DEFECT_NO_BLANK_LINE, "no-blank-line"},
    {EML_MIME_DEFECT_FIELD_WITHOUT_COLON, "field-without-colon"},
    {EML_MIME_DEFECT_NO_HEADER, "no-header"},
    {EML_MIME_DEFECT_TOO_DEEP, "too-deep"},
    {EML_MIME_DEFECT_TOO_MANY_PARTS, "too-many-parts"},
    {EML_MIME_DEFECT_HEADER_TOO_LONG, "header-too-long"},
    {EML_MIME_DEFECT_ENCODED_MULTIPART, "encoded-multipart"},
    {EML_MIME_DEFECT_INLINE_FILE_CUT_OFF, "inline-file-cut-off"},
    {EML_MIME_DEFECT_TOO_MANY_DEFECTS, "too-many-defects"},
    {EML_MIME_DEFECT_DUPLICATE_FIELD, "duplicate-field"},
    {EML_MIME_DEFECT_CONFLICTING_FIELD, "conflicting-field"},
    {EML_MIME_DEFECT_DUPLICATE_PARAMETER, "duplicate-parameter"},
    {EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX, "content-type-syntax"},
    {EML_MIME_DEFECT_PARAMETER_SYNTAX, "parameter-syntax"},
    {EML_MIME_DEFECT_UNKNOWN_ENCODING, "unknown-encoding"},
    {EML_MIME_DEFECT_ENCODING_SYNTAX, "encoding-syntax"},
    {EML_MIME_DEFECT_UNTERMINATED_QUOTE, "unterminated-quote"},
    {EML_MIME_DEFECT_8BIT_IN_HEADER, "8bit-in-header"},
    {EML_MIME_DEFECT_NUL_IN_HEADER, "nul-in-header"},
    {EML_MIME_DEFECT_NAME_ENCODED_WORD, "name-encoded-word"},
    {EML_MIME_DEFECT_NAME_PERCENT, "name-percent"},
    {EML_MIME_DEFECT_LONG_LINE, "long-line"},
    {EML_MIME_DEFECT_BARE_CR, "bare-cr"},
    {EML_MIME_DEFECT_MIXED_LINE_ENDS, "mixed-line-ends"},
    {EML_MIME_DEFECT_NUL, "nul"},
    {EML_MIME_DEFECT_BASE64_CHARACTER, "base64-character"},
    {EML_MIME_DEFECT_BASE64_PADDING, "base64-padding"},
    {EML_MIME_DEFECT_BASE64_CUT_OFF, "base64-cut-off"},
    {EML_MIME_DEFECT_UUENCODE_LINE, "uuencode-line"},
    {EML_MIME_DEFECT_YENC_DAMAGED, "yenc-damaged"},
    {EML_MIME_DEFECT_UNKNOWN_CHARSET, "unknown-charset"},
    {EML_MIME_DEFECT_CHARSET_MISMATCH, "charset-mismatch"},
    {EML_MIME_DEFECT_CHARSET_GUESSED, "charset-guessed"},
    {EML_MIME_DEFECT_8BIT_IN_7BIT, "8bit-in-7bit"},
});

// Whether the defect at `index` is `code` of `part`.
bool isDefect(const EmlMimeDefect& defect, uint32_t code, uint32_t part) {
    return defect.code == code && defect.part == part;
}

}  // namespace

void noteDefect(EmlMimeContext& context, uint32_t code, uint32_t part, uint64_t offset, uint64_t count) {
    const uint32_t have = recordCount<EmlMimeDefect>(context.defects);
    auto* const defects = recordsOf<EmlMimeDefect>(context.defects);
    // A part has at most as many defects as there are codes, and mostly the last ones: the walk back is short.
    MimePart& owner = partAt(context, part);
    uint32_t left = owner.defectCount;
    for (uint32_t i = have; i > 0 && left > 0; --i) {
        EmlMimeDefect& defect = defects[i - 1];
        if (isDefect(defect, code, part)) {
            defect.count += count;
            return;
        }
        if (defect.part == part) --left;
    }
    const EmlMimeDefect added{code, part, offset, count};
    const auto* bytes = reinterpret_cast<const uint8_t*>(&added);
    if (have >= context.options.maxDefects ||
        context.defects.append(*context.allocator, bytes, sizeof added) != EML_OK) {
        ++context.defectsLeftOut;
        return;
    }
    ++owner.defectCount;
}

void noteFullList(EmlMimeContext& context) {
    const uint32_t have = recordCount<EmlMimeDefect>(context.defects);
    if (context.defectsLeftOut == 0 || have == 0) return;
    EmlMimeDefect& last = recordsOf<EmlMimeDefect>(context.defects)[have - 1];
    const bool isNoted = last.code == EML_MIME_DEFECT_TOO_MANY_DEFECTS;
    // The entry that gives way counts as left out.
    last = {EML_MIME_DEFECT_TOO_MANY_DEFECTS, 0, 0, context.defectsLeftOut + (isNoted ? 0 : 1)};
}

const char* defectName(uint32_t code) {
    for (const DefectName& row : kDefectNames) {
        if (row.code == code) return row.name;
    }
    return nullptr;
}

}  // namespace eml
