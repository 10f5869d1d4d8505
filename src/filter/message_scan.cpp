#include "filter/message_scan.h"

#include <algorithm>
#include <cstring>

#include "filter/boundary_text.h"
#include "filter/content_type.h"
#include "filter/input_reader.h"
#include "host/host_memory.h"

namespace eml {

namespace {

constexpr int32_t kUnknownEnd = -1;
constexpr std::string_view kMixed = "multipart/mixed";

bool fail(EmlFilterContext& context, EmlResult code) {
    context.services->lastError = code;
    return false;
}

bool makePartRoom(EmlFilterContext& context) {
    if (context.partCount < context.partCapacity) return true;
    constexpr int32_t kStep = 5;
    // Whole steps, and as many as are there already, so that a long table grows in linear time.
    const int64_t capacity = int64_t{context.partCapacity} + std::max(kStep, context.partCapacity);
    const uint64_t size = static_cast<uint64_t>(capacity) * sizeof(EmlBodyPart);
    EmlAllocator& allocator = allocatorOf(context);
    context.parts =
        static_cast<EmlBodyPart*>(context.parts == nullptr ? allocateBlock(allocator, size)
                                                           : reallocateBlock(allocator, context.parts, size));
    context.partCapacity = context.parts != nullptr ? static_cast<int32_t>(capacity) : 0;
    if (context.parts != nullptr) return true;
    context.partCount = 0;
    return fail(context, EML_NO_MEMORY);
}

int32_t offsetOf(const EmlFilterContext& context, const uint8_t* at) {
    return context.messageOffset + static_cast<int32_t>(at - context.input);
}

int32_t beforeLineEnd(const EmlFilterContext& context, int32_t offset) {
    return offset - static_cast<int32_t>(context.lineEndWidth);
}

void endLastPart(EmlFilterContext& context, int32_t end) {
    if (context.partCount > 0) context.parts[context.partCount - 1].end = end;
}

void fillPart(const EmlFilterContext& context, EmlBodyPart& part, int32_t start) {
    part.start = start;
    part.end = kUnknownEnd;
    part.encoding = context.transferEncoding;
    std::memcpy(part.type, context.contentType, sizeof part.type);
}

// KEPT: while no attachment has been found, a further part is written to the spare slot behind the table, and
// the part before it is reopened to run on over the new one.
void recordPart(EmlFilterContext& context, int32_t start) {
    int32_t index = context.partCount;
    fillPart(context, context.parts[index], start);
    if (index == 0) {
        context.firstPart = 0;
    } else if (context.attachmentCount == 0) {
        --index;
    }
    context.parts[index].end = kUnknownEnd;
    if (index >= 1) context.parts[index - 1].end = beforeLineEnd(context, context.parts[index].start);
    context.partCount = index + 1;
}

bool isRecorded(const EmlFilterContext& context) {
    const auto* type = reinterpret_cast<const uint8_t*>(context.contentType);
    return context.contentType[0] != '\0' && !equalNoCase(type, kMixed.data(), kMixed.size());
}

// Moves over pairs of bytes that equal the line end. KEPT: a pair is two bytes also where line ends have one:
// then it is the line end and a zero byte, so that the last line end of a buffer and the zero behind it are
// passed together.
void skipLineEndPairs(const EmlFilterContext& context, const uint8_t*& at) {
    while (at < context.inputEnd && at[0] == context.lineEnd[0] && at[1] == context.lineEnd[1]) at += 2;
}

// Moves over what may follow a boundary. True when the boundary ends the last part and nothing of the buffer
// is left.
bool skipBehindBoundary(const EmlFilterContext& context, const uint8_t*& at) {
    const auto atDashes = [&] { return context.inputEnd - at >= 2 && at[0] == '-' && at[1] == '-'; };
    if (!atDashes()) {
        skipLineEndPairs(context, at);
        return at > context.inputEnd;
    }
    for (const uint8_t* before = nullptr; before != at;) {
        before = at;
        while (atDashes()) at += 2;
        skipLineEndPairs(context, at);
    }
    return at >= context.inputEnd;
}

// One boundary, whose text begins at `hit`. `at` moves behind the header of its part, or to the end of the
// buffer.
bool scanBoundary(EmlFilterContext& context, const uint8_t* hit, const uint8_t*& at) {
    const int32_t start = offsetOf(context, hit);
    at = hit + context.boundaryLength;
    if (skipBehindBoundary(context, at)) {
        endLastPart(context, beforeLineEnd(context, start));
        at = context.inputEnd;
        return true;
    }
    at = std::min(at, context.inputEnd);
    if (decodeContentType(context, at, true) == 0 || !makePartRoom(context)) return false;
    if (isRecorded(context)) recordPart(context, start);
    return true;
}

bool scanBuffer(EmlFilterContext& context) {
    const uint8_t* at = context.input;
    if (context.headerLength == 0 && decodeContentType(context, at, true) == 0) return false;
    while (at < context.inputEnd && *at != 0) {
        const uint8_t* const hit = findBoundary(context, at, context.inputEnd);
        if (hit == nullptr) return true;
        if (!scanBoundary(context, hit, at)) return false;
    }
    return true;
}

// A message that is an attachment itself, without any part: one part for its text, which is empty, and one
// for it.
bool makeFallbackParts(EmlFilterContext& context) {
    if (context.attachmentCount > 1) return fail(context, EML_EMPTY_MESSAGE);
    EmlAllocator& allocator = allocatorOf(context);
    freeBlock(allocator, context.parts);
    context.parts = nullptr;
    context.partCapacity = 0;
    if (allocator.allocateZeroed != nullptr) {
        context.parts =
            static_cast<EmlBodyPart*>(allocator.allocateZeroed(&allocator, 2, sizeof(EmlBodyPart)));
    }
    if (context.parts == nullptr) return fail(context, EML_NO_MEMORY);
    const int32_t body = static_cast<int32_t>(context.lineEndWidth) + context.headerLength;
    context.parts[0].start = context.parts[0].end = body;
    fillPart(context, context.parts[1], body);
    context.parts[1].end = context.messageSize;
    context.partCount = context.partCapacity = 2;
    context.firstPart = 0;
    context.attachments[0].partIndex = 1;
    return true;
}

bool scanMessage(EmlFilterContext& context) {
    for (int32_t count = readBuf(context, kInputSize); count > 0; count = readBuf(context, kInputSize)) {
        if (!scanBuffer(context)) return false;
        context.messageOffset += count;
    }
    context.messageSize = context.messageOffset;
    if (context.messageSize == 0) return fail(context, EML_EMPTY_MESSAGE);
    if (context.partCount == 0 && context.attachmentCount > 0) return makeFallbackParts(context);
    if (context.partCount > 0 && context.parts[context.partCount - 1].end == kUnknownEnd) {
        endLastPart(context, context.messageSize);
    }
    return true;
}

}  // namespace

}  // namespace eml

uint32_t parseEML(EmlFilterContext& context) { return eml::scanMessage(context) ? 1 : 0; }
