#include "mime/part_records.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "mime/part_texts.h"
#include "mime/text_builder.h"
#include "mime/type_extensions.h"

namespace eml {

namespace {

EmlMimeSpan spanBetween(uint64_t start, uint64_t end) { return {start, end - start}; }

bool isSigned(uint32_t protection) {
    return protection == EML_MIME_SMIME_SIGNED || protection == EML_MIME_PGP_SIGNED ||
           protection == EML_MIME_SIGNED_OTHER;
}

// What a signature covers: the first part of the multipart, header and body (RFC 1847 section 2.1).
EmlMimeSpan signedSpan(const EmlMimeContext& context, uint32_t number) {
    const MimePart& part = partAt(context, number);
    if (!isSigned(part.protection) || part.childCount == 0) return {0, 0};
    const MimePart& first = partAt(context, number + 1);
    return spanBetween(first.headerStart, first.bodyEnd);
}

void describe(const EmlMimeContext& context, uint32_t number, EmlMimePart& record) {
    const MimePart& part = partAt(context, number);
    record.parent = part.parent;
    record.firstChild = part.childCount == 0 ? EML_MIME_NONE : number + 1;
    record.nextSibling = part.nextSibling;
    record.childCount = part.childCount;
    record.ordinal = part.ordinal;
    record.depth = part.depth;
    record.message = part.message;
    record.encoding = part.encoding;
    record.dispositionKind = part.dispositionKind;
    record.ending = part.ending;
    record.protection = part.protection;
    record.roles = part.roles;
    record.flags = part.flags;
    record.defectCount = part.defectCount;
    record.type = textAt(context, part.type);
    record.subtype = textAt(context, part.subtype);
    record.charset = textAt(context, part.charset);
    record.encodingText = textAt(context, part.encodingText);
    record.disposition = textAt(context, part.disposition);
    record.name = textAt(context, part.name);
    record.contentId = textAt(context, part.contentId);
    record.location = textAt(context, part.location);
    record.description = textAt(context, part.description);
    record.header = spanBetween(part.headerStart, part.headerEnd);
    record.body = spanBetween(part.bodyStart, part.bodyEnd);
    record.signedSpan = signedSpan(context, number);
}

void appendNumber(uint32_t number, TextBuilder& out) {
    std::array<char, 10> digits{};
    size_t first = digits.size();
    do {
        digits[--first] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    out.append({digits.data() + first, digits.size() - first});
}

// "1.2": the place of a part among its siblings, from the outermost in. The header of an embedded message has no
// place of its own.
void appendPlace(const EmlMimeContext& context, uint32_t number, TextBuilder& out) {
    constexpr size_t kMaxPlaces = 1024;  // deeper than parts can be nested
    std::array<uint32_t, kMaxPlaces> ordinals{};
    size_t count = 0;
    for (uint32_t i = number; partAt(context, i).parent != EML_MIME_NONE && count < kMaxPlaces;
         i = partAt(context, i).parent) {
        const MimePart& part = partAt(context, i);
        if ((part.flags & EML_MIME_PART_ROOT) == 0) ordinals[count++] = part.ordinal;
    }
    if (count == 0) ordinals[count++] = 1;
    while (count > 0) {
        appendNumber(ordinals[--count], out);
        if (count > 0) out.append(uint8_t{'.'});
    }
}

// The part of `inside` (a part number) and all within it.
bool isWithin(const EmlMimeContext& context, const MimePart& part, uint32_t outer) {
    const MimePart& around = partAt(context, outer);
    return part.headerStart >= around.bodyStart && part.headerStart < around.bodyEnd;
}

// The first part from `first` on, within `outer`, with this Content-ID.
uint32_t findWithin(const EmlMimeContext& context, uint32_t outer, std::string_view contentId) {
    for (uint32_t i = outer; i < partCount(context); ++i) {
        const MimePart& part = partAt(context, i);
        if (i != outer && !isWithin(context, part, outer)) break;
        if (part.contentId != 0 && viewAt(context, part.contentId) == contentId) return i;
    }
    return EML_MIME_NONE;
}

}  // namespace

EmlResult describePart(EmlMimeContext& context, uint32_t number, EmlMimePart* part, uint32_t recordSize) {
    if (number >= partCount(context)) return EML_NO_SUB_FILE;
    EmlMimePart record{};
    describe(context, number, record);
    std::memcpy(part, &record, std::min<size_t>(recordSize, sizeof record));
    return EML_OK;
}

EmlResult partName(EmlMimeContext& context, uint32_t number, EmlMimeText& name) {
    if (number >= partCount(context)) return EML_NO_SUB_FILE;
    const MimePart& part = partAt(context, number);
    if (part.name != 0) {
        name = textAt(context, part.name);
        return EML_OK;
    }
    TextBuilder text(*context.allocator, context.scratch);
    text.truncate(0);
    const bool isMessage =
        viewAt(context, part.type) == "message" && viewAt(context, part.subtype) != "delivery-status";
    text.append(isMessage ? "message-" : "part-");
    appendPlace(context, number, text);
    text.append(uint8_t{'.'});
    text.append(extensionOf(viewAt(context, part.type), viewAt(context, part.subtype)));
    const uint32_t length = text.length();
    text.append(uint8_t{0});
    if (text.failed()) return EML_NO_MEMORY;
    name = {reinterpret_cast<const char*>(context.scratch.data), length};
    return EML_OK;
}

EmlResult findContentId(const EmlMimeContext& context, uint32_t from, const char* contentId,
                        uint32_t& number) {
    if (from >= partCount(context)) return EML_NO_SUB_FILE;
    const std::string_view wanted(contentId);
    number = EML_MIME_NONE;
    const uint32_t message = partAt(context, from).message;
    uint32_t related = EML_MIME_NONE;
    for (uint32_t i = from; i != EML_MIME_NONE && i != message; i = partAt(context, i).parent) {
        if (related == EML_MIME_NONE && viewAt(context, partAt(context, i).subtype) == "related") related = i;
    }
    if (related != EML_MIME_NONE) number = findWithin(context, related, wanted);
    if (number == EML_MIME_NONE) number = findWithin(context, message, wanted);
    return EML_OK;
}

EmlResult describeSpan(const EmlMimeContext& context, uint32_t index, EmlMimeSpanInfo& info) {
    const uint32_t count = recordCount<MimeSpan>(context.spans);
    if (index >= count) return EML_NO_SUB_FILE;
    const MimeSpan* const spans = recordsOf<MimeSpan>(context.spans);
    const uint64_t end = index + 1 < count ? spans[index + 1].offset : context.size;
    info = {spanBetween(spans[index].offset, end), spans[index].kind, spans[index].part};
    return EML_OK;
}

EmlResult describeDefect(const EmlMimeContext& context, uint32_t index, EmlMimeDefect& defect) {
    if (index >= recordCount<MimeDefect>(context.defects)) return EML_NO_SUB_FILE;
    defect = recordsOf<MimeDefect>(context.defects)[index].defect;
    return EML_OK;
}

}  // namespace eml
