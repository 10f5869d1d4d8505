#include "filter/body_span.h"

#include <algorithm>
#include <cstring>

#include "bytes/cursor.h"
#include "filter/boundary_text.h"
#include "filter/content_type.h"
#include "filter/field_value.h"
#include "filter/input_reader.h"
#include "host/host_file.h"

namespace eml {

namespace {

struct BodySearch {
    EmlFilterContext& context;
    BodySpan span;
    int32_t partStart;
    bool startKnown;
    bool endKnown;
};

// Offsets end at 2^31 - 1, like the message itself.
int32_t offsetOf(const BodySearch& search, const uint8_t* at) {
    const EmlFilterContext& context = search.context;
    const int64_t offset = int64_t{search.partStart} + context.input.offset + (at - context.input.buffer);
    return static_cast<int32_t>(std::min<int64_t>(offset, INT32_MAX));
}

EmlResult readHeader(BodySearch& search, const uint8_t*& position) {
    return decodeContentType(search.context, position, false);
}

bool isSingleType(const EmlFilterContext& context) {
    constexpr std::string_view kMultipart = "multipart";
    const auto* type = reinterpret_cast<const uint8_t*>(context.contentType);
    return context.contentType[0] != '\0' && !equalNoCase(type, kMultipart.data(), kMultipart.size());
}

// Looks past a boundary for the start of the text, and moves there.
EmlResult enterPart(BodySearch& search, Cursor& rest) {
    if (rest.startsWith("--")) {
        rest.skip(2);
    } else {
        skipLineEnd(rest);
    }
    if (isLineEnd(rest.peek())) {
        skipLineEnd(rest);
        search.startKnown = true;
    } else {
        const uint8_t* position = rest.pos;
        if (EmlResult result = readHeader(search, position); result != EML_OK) return result;
        rest.pos = position;
        search.startKnown = isSingleType(search.context);
    }
    if (search.startKnown) search.span.start = offsetOf(search, rest.pos);
    return EML_OK;
}

EmlResult searchBuffer(BodySearch& search) {
    EmlFilterContext& context = search.context;
    Cursor rest{context.input.buffer, context.input.end};
    while (const uint8_t* hit = findBoundary(context, rest.pos, rest.end)) {
        if (search.startKnown) {
            search.span.end = offsetOf(search, hit) - static_cast<int32_t>(context.input.lineEndWidth);
            search.endKnown = true;
            return EML_OK;
        }
        rest.pos = hit;
        rest.skip(static_cast<size_t>(context.boundary.length));
        if (EmlResult result = enterPart(search, rest); result != EML_OK) return result;
    }
    return EML_OK;
}

EmlResult searchPart(BodySearch& search) {
    EmlFilterContext& context = search.context;
    const int32_t length = search.span.end - search.span.start;
    bool first = true;
    while (!search.endKnown && context.input.offset < length) {
        const int32_t count = readBuf(context, kInputSize);
        if (count < 1) break;
        if (first) {
            // The part's own header may bring the boundary of a nested level; then the buffer is searched
            // from its start.
            const uint8_t* position = context.input.buffer;
            if (EmlResult result = readHeader(search, position); result != EML_OK) return result;
        }
        first = false;
        if (EmlResult result = searchBuffer(search); result != EML_OK) return result;
        context.input.offset += count;
    }
    return EML_OK;
}

}  // namespace

}  // namespace eml

EmlResult getBody(EmlFilterContext& context, eml::BodySpan& span) {
    const EmlBodyPart& part = context.parts.bodies.records[context.parts.first];
    span = {part.start, part.end};
    context.transferEncoding = eml::TransferEncoding::kNone;
    eml::resetReader(context);
    if (!eml::seekFile(*context.io, part.start)) return EML_OBJECT_FAILED;
    // KEPT: a nested level's boundary serves this search alone. The one before it is put back afterwards.
    eml::SavedBoundary savedBoundary{};
    if (EmlResult result = eml::saveBoundary(context, savedBoundary); result != EML_OK) return result;
    char savedType[eml::kTypeSize];
    std::memcpy(savedType, context.contentType, sizeof savedType);
    std::memset(context.contentType, 0, sizeof context.contentType);
    eml::BodySearch search{context, span, part.start, false, false};
    const EmlResult result = eml::searchPart(search);
    eml::restoreBoundary(context, savedBoundary);
    span = search.span;
    if (span.start > span.end) span.end = span.start;
    if (!search.startKnown) context.transferEncoding = eml::TransferEncoding::kNone;
    std::memcpy(context.contentType, savedType, sizeof savedType);
    return result;
}
