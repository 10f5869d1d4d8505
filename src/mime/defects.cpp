#include "mime/defects.h"

#include <array>
#include <cstring>

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
    {EML_MIME_DEFECT_BOUNDARY_TOO_LONG, "boundary-too-long"},
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
    {EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE, "quoted-printable-escape"},
    {EML_MIME_DEFECT_UUENCODE_LINE, "uuencode-line"},
    {EML_MIME_DEFECT_YENC_DAMAGED, "yenc-damaged"},
    {EML_MIME_DEFECT_UNKNOWN_CHARSET, "unknown-charset"},
    {EML_MIME_DEFECT_CHARSET_MISMATCH, "charset-mismatch"},
    {EML_MIME_DEFECT_CHARSET_GUESSED, "charset-guessed"},
    {EML_MIME_DEFECT_8BIT_IN_7BIT, "8bit-in-7bit"},
});

MimeDefect* defectAt(const EmlMimeContext& context, uint32_t place) {
    return &recordsOf<MimeDefect>(context.defects)[place - 1];
}

// The list is full: its last entry counts all that have no place, the one that gave way among them.
void countLeftOut(EmlMimeContext& context) {
    EmlMimeDefect& last = defectAt(context, recordCount<MimeDefect>(context.defects))->defect;
    if (last.code != EML_MIME_DEFECT_TOO_MANY_DEFECTS) last = {EML_MIME_DEFECT_TOO_MANY_DEFECTS, 0, 0, 1};
    ++last.count;
}

// The block of the list is lost, and with it what the parts know of it.
void forgetDefects(EmlMimeContext& context) {
    context.defectsLost = true;
    for (uint32_t i = 0; i < partCount(context); ++i) {
        partAt(context, i).lastDefect = 0;
        partAt(context, i).defectCount = 0;
    }
}

}  // namespace

void noteDefect(EmlMimeContext& context, uint32_t code, uint32_t part, uint64_t offset, uint64_t count) {
    MimePart& owner = partAt(context, part);
    for (uint32_t place = owner.lastDefect; place != 0; place = defectAt(context, place)->before) {
        EmlMimeDefect& known = defectAt(context, place)->defect;
        if (known.code != code || known.part != part) continue;
        known.count += count;
        return;
    }
    if (recordCount<MimeDefect>(context.defects) >= context.options.maxDefects) {
        countLeftOut(context);
        return;
    }
    const MimeDefect added{{code, part, offset, count}, owner.lastDefect};
    if (context.defects.append(*context.allocator, reinterpret_cast<const uint8_t*>(&added), sizeof added) !=
        EML_OK) {
        forgetDefects(context);
        return;
    }
    owner.lastDefect = recordCount<MimeDefect>(context.defects);
    ++owner.defectCount;
}

// Not by a reallocation, which loses the list when it fails.
EmlResult reserveDefects(EmlMimeContext& context, uint32_t more) {
    GrowingBuffer& list = context.defects;
    const uint64_t needed = list.length + uint64_t{more} * sizeof(MimeDefect);
    if (needed <= list.capacity) return EML_OK;
    GrowingBuffer grown{};
    if (grown.reserve(*context.allocator, grownCapacity(list.capacity, needed)) != EML_OK)
        return EML_NO_MEMORY;
    if (list.length != 0) std::memcpy(grown.data, list.data, list.length);
    grown.length = list.length;
    list.release(*context.allocator);
    list = grown;
    return EML_OK;
}

const char* defectName(uint32_t code) {
    for (const DefectName& row : kDefectNames) {
        if (row.code == code) return row.name;
    }
    return nullptr;
}

}  // namespace eml
