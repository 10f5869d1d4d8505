#include "mime/field_calls.h"

#include <algorithm>

#include "bytes/subtext.h"
#include "host/host_file.h"
#include "mime/addresses.h"
#include "mime/content_type.h"
#include "mime/date_time.h"
#include "mime/encoded_words.h"
#include "mime/header_fields.h"
#include "mime/message_ids.h"
#include "mime/parameters.h"
#include "mime/part_texts.h"

namespace eml {

namespace {

std::string_view headerOf(const EmlMimeContext& context) {
    return {reinterpret_cast<const char*>(context.header.data), context.header.length};
}

// Reads the header of a part into the context, unless it is there.
EmlResult loadHeader(EmlMimeContext& context, uint32_t number) {
    if (number >= partCount(context)) return EML_NO_SUB_FILE;
    if (context.headerPart == number + 1) return EML_OK;
    context.headerPart = 0;
    context.header.length = 0;
    context.fieldIndex = 0;
    context.fieldStart = 0;
    const MimePart& part = partAt(context, number);
    const auto length = static_cast<uint32_t>(
        std::min<uint64_t>(part.headerEnd - part.headerStart, context.options.maxHeaderBytes));
    if (EmlResult result = context.header.reserve(*context.allocator, length); result != EML_OK)
        return result;
    if (!seekFile(*context.input, static_cast<int64_t>(part.headerStart))) return EML_OBJECT_FAILED;
    while (context.header.length < length) {
        const uint32_t count = readFile(*context.input, context.header.data + context.header.length,
                                        length - context.header.length);
        if (count == 0) return EML_OBJECT_FAILED;
        context.header.length += count;
    }
    context.headerPart = number + 1;
    return EML_OK;
}

// The field with this index. The walk goes on from the field that was looked at last, so that one field after the
// other costs one look at the header.
EmlResult findIndex(EmlMimeContext& context, uint32_t part, uint32_t index, FieldLines& field) {
    if (EmlResult result = loadHeader(context, part); result != EML_OK) return result;
    if (index < context.fieldIndex) {
        context.fieldIndex = 0;
        context.fieldStart = 0;
    }
    const uint32_t start = context.fieldStart;
    uint32_t at = context.fieldIndex;
    for (FieldWalk walk(subtext(headerOf(context), start)); walk.next(field); ++at) {
        if (at < index) continue;
        field.start += start;
        field.end += start;
        context.fieldIndex = at;
        context.fieldStart = static_cast<uint32_t>(field.start);
        return EML_OK;
    }
    return EML_NO_SUB_FILE;
}

HeaderText howOf(const EmlMimeContext& context, uint32_t part) {
    return {context.options.convert, viewAt(context, partAt(context, part).charset)};
}

// The buffer for texts that are handed over, empty.
TextBuilder freshTexts(EmlMimeContext& context) {
    context.scratch.length = 0;
    return {*context.allocator, context.scratch};
}

// Ends a text with a zero byte, which is not part of it.
TextPlace endText(TextBuilder& texts, uint32_t start) {
    const TextPlace place{start, texts.length() - start};
    texts.append(uint8_t{0});
    return place;
}

EmlMimeText placedText(const EmlMimeContext& context, const TextPlace& place) {
    if (place.start == kAbsent) return {nullptr, 0};
    return {reinterpret_cast<const char*>(context.scratch.data) + place.start, place.length};
}

// Makes the array that the host gets from the places that were written; `make` turns one into a record.
template <class Place, class Record, class Make>
EmlResult handOver(EmlMimeContext& context, const Record*& records, uint32_t& count, Make make) {
    const uint32_t have = recordCount<Place>(context.places);
    context.list.length = 0;
    records = nullptr;
    count = 0;
    if (have == 0) return EML_OK;
    if (context.list.reserve(*context.allocator, uint64_t{have} * sizeof(Record)) != EML_OK)
        return EML_NO_MEMORY;
    auto* const list = recordsOf<Record>(context.list);
    const Place* const places = recordsOf<Place>(context.places);
    for (uint32_t i = 0; i < have; ++i) list[i] = make(places[i]);
    context.list.length = have * uint32_t{sizeof(Record)};
    records = list;
    count = have;
    return EML_OK;
}

}  // namespace

EmlResult fieldCount(EmlMimeContext& context, uint32_t part, uint32_t& count) {
    if (EmlResult result = loadHeader(context, part); result != EML_OK) return result;
    count = 0;
    FieldLines field{};
    for (FieldWalk walk(headerOf(context)); walk.next(field);) ++count;
    return EML_OK;
}

EmlResult describeField(EmlMimeContext& context, uint32_t part, uint32_t index, EmlMimeField& field) {
    FieldLines lines{};
    if (EmlResult result = findIndex(context, part, index, lines); result != EML_OK) return result;
    TextBuilder texts = freshTexts(context);
    texts.append(lines.name);
    const TextPlace name = endText(texts, 0);
    const uint32_t start = texts.length();
    texts.append(lines.value);
    const TextPlace value = endText(texts, start);
    if (texts.failed()) return EML_NO_MEMORY;
    const EmlMimeText absent{nullptr, 0};
    const EmlMimeSpan span{partAt(context, part).headerStart + lines.start, lines.end - lines.start};
    field = {lines.name.empty() ? absent : placedText(context, name), placedText(context, value), span};
    return EML_OK;
}

EmlResult findField(EmlMimeContext& context, uint32_t part, const char* name, uint32_t index,
                    uint32_t& found) {
    found = EML_MIME_NONE;
    FieldLines field{};
    EmlResult result = findIndex(context, part, index, field);
    if (result != EML_OK) return result == EML_NO_SUB_FILE && part < partCount(context) ? EML_OK : result;
    const uint32_t start = context.fieldStart;
    uint32_t at = index;
    for (FieldWalk walk(subtext(headerOf(context), start)); walk.next(field); ++at) {
        if (!equalNoCase(field.name, name)) continue;
        found = at;
        context.fieldIndex = at;
        context.fieldStart = start + static_cast<uint32_t>(field.start);
        break;
    }
    return EML_OK;
}

EmlResult fieldText(EmlMimeContext& context, uint32_t part, uint32_t index, EmlMimeText& text) {
    FieldLines field{};
    if (EmlResult result = findIndex(context, part, index, field); result != EML_OK) return result;
    TextBuilder texts = freshTexts(context);
    appendDecodedTrimmed(field.value, howOf(context, part), texts);
    const TextPlace place = endText(texts, 0);
    if (texts.failed()) return EML_NO_MEMORY;
    text = placedText(context, place);
    return EML_OK;
}

EmlResult fieldAddresses(EmlMimeContext& context, uint32_t part, uint32_t index,
                         const EmlMimeAddress*& addresses, uint32_t& count) {
    FieldLines field{};
    if (EmlResult result = findIndex(context, part, index, field); result != EML_OK) return result;
    TextBuilder texts = freshTexts(context);
    context.places.length = 0;
    TextBuilder places(*context.allocator, context.places);
    readAddresses(field.value, howOf(context, part), texts, places);
    if (texts.failed() || places.failed()) return EML_NO_MEMORY;
    return handOver<AddressPlaces>(context, addresses, count, [&context](const AddressPlaces& place) {
        return EmlMimeAddress{placedText(context, place.name), placedText(context, place.address),
                              placedText(context, place.group)};
    });
}

EmlResult fieldDate(EmlMimeContext& context, uint32_t part, uint32_t index, EmlMimeDate& date) {
    FieldLines field{};
    if (EmlResult result = findIndex(context, part, index, field); result != EML_OK) return result;
    date = readDate(field.value);
    return EML_OK;
}

EmlResult fieldIds(EmlMimeContext& context, uint32_t part, uint32_t index, const EmlMimeText*& ids,
                   uint32_t& count) {
    FieldLines field{};
    if (EmlResult result = findIndex(context, part, index, field); result != EML_OK) return result;
    TextBuilder texts = freshTexts(context);
    context.places.length = 0;
    TextBuilder places(*context.allocator, context.places);
    readMessageIds(field.value, howOf(context, part), *context.allocator, texts, places);
    if (texts.failed() || places.failed()) return EML_NO_MEMORY;
    return handOver<TextPlace>(context, ids, count,
                               [&context](const TextPlace& place) { return placedText(context, place); });
}

EmlResult fieldParameters(EmlMimeContext& context, uint32_t part, uint32_t index, EmlMimeText& value,
                          const EmlMimeParameter*& parameters, uint32_t& count) {
    FieldLines field{};
    if (EmlResult result = findIndex(context, part, index, field); result != EML_OK) return result;
    TextBuilder texts = freshTexts(context);
    context.places.length = 0;
    const MediaType type = readMediaType(field.value);
    const TokenAndParameters token = readToken(field.value);
    const bool isType = !type.subtype.empty();
    appendLower(isType ? type.type : token.token, texts);
    if (isType) texts.append(uint8_t{'/'});
    if (isType) appendLower(type.subtype, texts);
    const TextPlace first = endText(texts, 0);
    const std::string_view list = isType ? type.parameters : token.parameters;
    TextBuilder places(*context.allocator, context.places);
    uint32_t problems = 0;
    readParameters(list, howOf(context, part), texts, places, problems);
    if (texts.failed() || places.failed()) return EML_NO_MEMORY;
    value = placedText(context, first);
    return handOver<ParameterPlaces>(context, parameters, count, [&context](const ParameterPlaces& place) {
        return EmlMimeParameter{placedText(context, place.name), placedText(context, place.value)};
    });
}

}  // namespace eml
