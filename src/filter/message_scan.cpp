#include "filter/message_scan.h"

#include <algorithm>
#include <cstring>

#include "filter/boundary_text.h"
#include "filter/content_type.h"
#include "filter/input_reader.h"
#include "filter/part_tables.h"

namespace eml {

namespace {

constexpr int32_t kUnknownEnd = -1;
constexpr std::string_view kMixed = "multipart/mixed";

int32_t offsetOf(const EmlFilterContext& context, const uint8_t* at) {
    return context.input.offset + static_cast<int32_t>(at - context.input.buffer);
}

int32_t beforeLineEnd(const EmlFilterContext& context, int32_t offset) {
    return offset - static_cast<int32_t>(context.input.lineEndWidth);
}

void endLastPart(EmlFilterContext& context, int32_t end) {
    if (context.parts.bodies.count > 0)
        context.parts.bodies.records[context.parts.bodies.count - 1].end = end;
}

void fillPart(const EmlFilterContext& context, EmlBodyPart& part, int32_t start) {
    part.start = start;
    part.end = kUnknownEnd;
    part.encoding = context.transferEncoding;
    std::memcpy(part.type, context.contentType, sizeof part.type);
}

// KEPT: while no attachment has been found, a further part is written to the spare slot after the last record, and
// the part before it is reopened to run on over the new one.
void recordPart(EmlFilterContext& context, int32_t start) {
    int32_t index = context.parts.bodies.count;
    fillPart(context, context.parts.bodies.records[index], start);
    if (index == 0) {
        context.parts.first = 0;
    } else if (context.parts.attachments.count == 0) {
        --index;
    }
    context.parts.bodies.records[index].end = kUnknownEnd;
    if (index >= 1)
        context.parts.bodies.records[index - 1].end =
            beforeLineEnd(context, context.parts.bodies.records[index].start);
    context.parts.bodies.count = index + 1;
}

bool isRecorded(const EmlFilterContext& context) {
    const auto* type = reinterpret_cast<const uint8_t*>(context.contentType);
    return context.contentType[0] != '\0' && !equalNoCase(type, kMixed.data(), kMixed.size());
}

// Moves over pairs of bytes that equal the line end. KEPT: a pair is two bytes also where line ends have one:
// then it is the line end and a zero byte, so that the last line end of a buffer and the zero after it are
// passed together.
void skipLineEndPairs(const EmlFilterContext& context, const uint8_t*& at) {
    while (at < context.input.end && at[0] == context.input.lineEnd[0] && at[1] == context.input.lineEnd[1])
        at += 2;
}

// Moves over what may follow a boundary. True when the boundary ends the last part and nothing of the buffer
// is left.
bool skipPastBoundary(const EmlFilterContext& context, const uint8_t*& at) {
    const auto atDashes = [&] { return context.input.end - at >= 2 && at[0] == '-' && at[1] == '-'; };
    if (!atDashes()) {
        skipLineEndPairs(context, at);
        return at > context.input.end;
    }
    for (const uint8_t* before = nullptr; before != at;) {
        before = at;
        while (atDashes()) at += 2;
        skipLineEndPairs(context, at);
    }
    return at >= context.input.end;
}

// One boundary, whose text begins at `hit`. `at` moves past the header of its part, or to the end of the
// buffer.
EmlResult scanBoundary(EmlFilterContext& context, const uint8_t* hit, const uint8_t*& at) {
    const int32_t start = offsetOf(context, hit);
    at = hit + context.boundary.length;
    if (skipPastBoundary(context, at)) {
        endLastPart(context, beforeLineEnd(context, start));
        at = context.input.end;
        return EML_OK;
    }
    at = std::min(at, context.input.end);
    if (EmlResult result = decodeContentType(context, at, true); result != EML_OK) return result;
    if (EmlResult result = makePartRoom(context); result != EML_OK) return result;
    if (isRecorded(context)) recordPart(context, start);
    return EML_OK;
}

EmlResult scanBuffer(EmlFilterContext& context) {
    const uint8_t* at = context.input.buffer;
    if (context.headerLength == 0) {
        if (EmlResult result = decodeContentType(context, at, true); result != EML_OK) return result;
    }
    while (at < context.input.end && *at != 0) {
        const uint8_t* const hit = findBoundary(context, at, context.input.end);
        if (hit == nullptr) return EML_OK;
        if (EmlResult result = scanBoundary(context, hit, at); result != EML_OK) return result;
    }
    return EML_OK;
}

// A message that is an attachment itself, without any part: one part for its text, which is empty, and one
// for it.
EmlResult makeFallbackParts(EmlFilterContext& context) {
    PartTables& parts = context.parts;
    if (parts.attachments.count > 1) return EML_EMPTY_MESSAGE;
    EmlAllocator& allocator = allocatorOf(context);
    parts.bodies.release(allocator);
    if (allocator.allocateZeroed != nullptr) {
        parts.bodies.records =
            static_cast<EmlBodyPart*>(allocator.allocateZeroed(&allocator, 2, sizeof(EmlBodyPart)));
    }
    if (parts.bodies.records == nullptr) return EML_NO_MEMORY;
    const int32_t body = static_cast<int32_t>(context.input.lineEndWidth) + context.headerLength;
    parts.bodies.records[0].start = parts.bodies.records[0].end = body;
    fillPart(context, parts.bodies.records[1], body);
    parts.bodies.records[1].end = context.messageSize;
    parts.bodies.count = parts.bodies.capacity = 2;
    parts.first = 0;
    parts.attachments.records[0].partIndex = 1;
    return EML_OK;
}

EmlResult scanMessage(EmlFilterContext& context) {
    for (int32_t count = readBuf(context, kInputSize); count > 0; count = readBuf(context, kInputSize)) {
        if (EmlResult result = scanBuffer(context); result != EML_OK) return result;
        context.input.offset += count;
    }
    context.messageSize = context.input.offset;
    if (context.messageSize == 0) return EML_EMPTY_MESSAGE;
    const GrowingArray<EmlBodyPart>& bodies = context.parts.bodies;
    if (bodies.count == 0 && context.parts.attachments.count > 0) return makeFallbackParts(context);
    if (bodies.count > 0 && bodies.records[bodies.count - 1].end == kUnknownEnd) {
        endLastPart(context, context.messageSize);
    }
    return EML_OK;
}

}  // namespace

}  // namespace eml

EmlResult parseEML(EmlFilterContext& context) { return eml::scanMessage(context); }
