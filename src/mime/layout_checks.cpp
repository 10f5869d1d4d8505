// The positions of all fields of the MIME reader's records, held at compile time: for 32 bits, where 64-bit numbers
// are aligned to 4 bytes as on x86, and for 64 bits. Hosts are compiled with these positions.
#include <emlreader/eml_mime.h>

#include <cstddef>

namespace {

struct Number64 {
    char before;
    uint64_t number;
};

// The position in this build. 32-bit processors that align 64-bit numbers to 8 bytes have a layout of their own:
// whatever it is.
constexpr size_t expected(size_t in32Bits, size_t in64Bits, size_t actual) {
    if (sizeof(void*) == 8) return in64Bits;
    return offsetof(Number64, number) == 4 ? in32Bits : actual;
}

}  // namespace

#define EML_AT(Record, field, offset32, offset64) \
    static_assert(offsetof(Record, field) == expected(offset32, offset64, offsetof(Record, field)))
#define EML_SIZE(Record, size32, size64) \
    static_assert(sizeof(Record) == expected(size32, size64, sizeof(Record)))

EML_AT(EmlMimeText, text, 0, 0);
EML_AT(EmlMimeText, length, 4, 8);
EML_SIZE(EmlMimeText, 8, 16);

EML_AT(EmlMimeSpan, offset, 0, 0);
EML_AT(EmlMimeSpan, length, 8, 8);
EML_SIZE(EmlMimeSpan, 16, 16);

EML_AT(EmlMimeConvert, host, 0, 0);
EML_AT(EmlMimeConvert, open, 4, 8);
EML_AT(EmlMimeConvert, convert, 8, 16);
EML_AT(EmlMimeConvert, close, 12, 24);
EML_SIZE(EmlMimeConvert, 16, 32);

EML_AT(EmlMimeOptions, recordSize, 0, 0);
EML_AT(EmlMimeOptions, flags, 4, 4);
EML_AT(EmlMimeOptions, maxDepth, 8, 8);
EML_AT(EmlMimeOptions, maxParts, 12, 12);
EML_AT(EmlMimeOptions, maxHeaderBytes, 16, 16);
EML_AT(EmlMimeOptions, maxDefects, 20, 20);
EML_AT(EmlMimeOptions, convert, 24, 24);
EML_AT(EmlMimeOptions, progress, 28, 32);
EML_AT(EmlMimeOptions, progressHost, 32, 40);
EML_SIZE(EmlMimeOptions, 36, 48);

EML_AT(EmlMimePart, parent, 0, 0);
EML_AT(EmlMimePart, firstChild, 4, 4);
EML_AT(EmlMimePart, nextSibling, 8, 8);
EML_AT(EmlMimePart, childCount, 12, 12);
EML_AT(EmlMimePart, ordinal, 16, 16);
EML_AT(EmlMimePart, depth, 20, 20);
EML_AT(EmlMimePart, message, 24, 24);
EML_AT(EmlMimePart, encoding, 28, 28);
EML_AT(EmlMimePart, dispositionKind, 32, 32);
EML_AT(EmlMimePart, ending, 36, 36);
EML_AT(EmlMimePart, protection, 40, 40);
EML_AT(EmlMimePart, roles, 44, 44);
EML_AT(EmlMimePart, flags, 48, 48);
EML_AT(EmlMimePart, defectCount, 52, 52);
EML_AT(EmlMimePart, type, 56, 56);
EML_AT(EmlMimePart, subtype, 64, 72);
EML_AT(EmlMimePart, charset, 72, 88);
EML_AT(EmlMimePart, encodingText, 80, 104);
EML_AT(EmlMimePart, disposition, 88, 120);
EML_AT(EmlMimePart, name, 96, 136);
EML_AT(EmlMimePart, contentId, 104, 152);
EML_AT(EmlMimePart, location, 112, 168);
EML_AT(EmlMimePart, description, 120, 184);
EML_AT(EmlMimePart, header, 128, 200);
EML_AT(EmlMimePart, body, 144, 216);
EML_AT(EmlMimePart, signedSpan, 160, 232);
EML_SIZE(EmlMimePart, 176, 248);

EML_AT(EmlMimeSpanInfo, span, 0, 0);
EML_AT(EmlMimeSpanInfo, kind, 16, 16);
EML_AT(EmlMimeSpanInfo, part, 20, 20);
EML_SIZE(EmlMimeSpanInfo, 24, 24);

EML_AT(EmlMimeField, name, 0, 0);
EML_AT(EmlMimeField, raw, 8, 16);
EML_AT(EmlMimeField, span, 16, 32);
EML_SIZE(EmlMimeField, 32, 48);

EML_AT(EmlMimeAddress, name, 0, 0);
EML_AT(EmlMimeAddress, address, 8, 16);
EML_AT(EmlMimeAddress, group, 16, 32);
EML_SIZE(EmlMimeAddress, 24, 48);

EML_AT(EmlMimeDate, seconds, 0, 0);
EML_AT(EmlMimeDate, zoneMinutes, 8, 8);
EML_AT(EmlMimeDate, flags, 12, 12);
EML_SIZE(EmlMimeDate, 16, 16);

EML_AT(EmlMimeParameter, name, 0, 0);
EML_AT(EmlMimeParameter, value, 8, 16);
EML_SIZE(EmlMimeParameter, 16, 32);

EML_AT(EmlMimeContent, size, 0, 0);
EML_AT(EmlMimeContent, flags, 8, 8);
EML_SIZE(EmlMimeContent, 12, 16);

EML_AT(EmlMimeDefect, code, 0, 0);
EML_AT(EmlMimeDefect, part, 4, 4);
EML_AT(EmlMimeDefect, offset, 8, 8);
EML_AT(EmlMimeDefect, count, 16, 16);
EML_SIZE(EmlMimeDefect, 24, 24);
