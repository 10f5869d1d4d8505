#include "filter/fill.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "bytes/unreachable.h"
#include "filter/body_span.h"
#include "filter/body_text.h"
#include "filter/header_fields.h"
#include "filter/input_reader.h"
#include "filter/record_stream.h"
#include "filter/transfer_decoders.h"
#include "host/container_queries.h"
#include "host/host_file.h"

namespace eml {

namespace {

constexpr uint32_t kFinished = 100;

// What a step of a fill leaves to do.
enum class Next : uint8_t { kGoOn, kReturn };

void setSize(const EmlFilterContext& context, const FillTarget& target) {
    *target.size = recordBytes(context);
}

int32_t limitOf(const FillTarget& target) {
    return static_cast<int32_t>(std::min<uint64_t>(uint64_t{target.capacity} * 9 / 10, INT32_MAX));
}

// The host's buffer as record output, after `used` bytes that are in it already.
void openHostBuffer(EmlFilterContext& context, const FillTarget& target, uint32_t used) {
    openRecordOutput(context, target.buffer, target.capacity, limitOf(target));
    context.output.next += used;
}

// The prologue and the header fields, built in the staging buffer.
EmlResult stageHeader(EmlFilterContext& context) {
    if (EmlResult result = beginStaging(context); result != EML_OK) return result;
    const Written prologue = writePrologue(context);
    if (EML_NEVER(prologue != Written::kYes)) return EML_NO_MEMORY;  // a new staging buffer has room for it
    if (EmlResult result = processEMLheader(context, false); result != EML_OK) return result;
    finishStaging(context);
    return EML_OK;
}

// Moves staged records to the host. When some remain, the host calls again.
Next drainToHost(EmlFilterContext& context, const FillTarget& target) {
    if (drainStaging(context, target.buffer, *target.size, target.capacity)) {
        openHostBuffer(context, target, *target.size);
        return Next::kReturn;
    }
    releaseStaging(context);
    openHostBuffer(context, target, *target.size);
    return Next::kGoOn;
}

bool followsAttachment(const EmlFilterContext& context, const BodySpan& span) {
    if (context.parts.attachments.count < 1) return false;
    const int64_t offset = context.parts.attachments.records[0].offset;
    return offset <= span.start || offset < span.end;
}

// KEPT: where the first attachment begins at or before the text, or within it, the text is empty.
EmlResult findSpan(EmlFilterContext& context, BodySpan& span) {
    span = {context.input.offset, context.messageSize};
    if (context.parts.bodies.count == 0) return EML_OK;
    const EmlResult result = getBody(context, span);
    if (followsAttachment(context, span)) span.end = span.start;
    return result;
}

EmlResult startBody(EmlFilterContext& context, const FillTarget& target, Next& next) {
    next = Next::kReturn;
    if (context.output.end - context.output.next < ptrdiff_t{kTextHeaderSize}) {
        setSize(context, target);
        return EML_OK;  // no room for the charset record: the next call starts the body
    }
    BodySpan span{};
    if (EmlResult result = findSpan(context, span); result != EML_OK) return result;
    context.body.running = true;
    context.body.textWaits = false;
    if (context.charset == EML_CHARSET_UNKNOWN) context.charset = EML_CHARSET_WESTERN;
    const Written charset = writeCharset(context, context.charset);
    if (EML_NEVER(charset != Written::kYes)) return EML_NO_MEMORY;  // its room has been looked at above
    setSize(context, target);
    resetReader(context);
    forgetInput(context);
    context.body.start = span.start;
    context.body.length = span.end - span.start;
    if (context.body.length <= 0) {
        *target.progress = kFinished;
        closeRecordOutput(context);
        return EML_OK;
    }
    if (!seekFile(*context.io, span.start)) return EML_OBJECT_FAILED;
    if (context.contentType[0] == '\0') std::memcpy(context.contentType, "text/plain", sizeof "text/plain");
    next = Next::kGoOn;
    return EML_OK;
}

void reportProgress(const EmlFilterContext& context, const FillTarget& target) {
    const int64_t converted = int64_t{context.body.converted} * 100;
    *target.progress =
        context.body.length > 0 ? static_cast<uint32_t>(converted / context.body.length) : kFinished;
}

EmlResult plainStep(EmlFilterContext& context, const FillTarget& target) {
    const bool converted = processEMLplainbody(context, false);
    reportProgress(context, target);
    return converted ? EML_OK : EML_OBJECT_FAILED;
}

// Text that is not encoded, one read of the message at a time.
EmlResult readPlain(EmlFilterContext& context, const FillTarget& target) {
    if (readBuf(context, context.body.length - context.input.readCount) < 1) {
        *target.progress = kFinished;
        return EML_OK;
    }
    context.input.readPos = context.input.buffer;
    return plainStep(context, target);
}

// One step of the conversion. A fill that goes on where the last one was full only converts what is left of
// the text.
EmlResult convertStep(EmlFilterContext& context, const FillTarget& target) {
    if (context.body.textWaits) {
        context.body.textWaits = false;
        return plainStep(context, target);
    }
    if (const std::optional<EmlResult> result = convertEncodedBody(context)) {
        reportProgress(context, target);
        return *result;
    }
    return readPlain(context, target);
}

EmlResult convertBody(EmlFilterContext& context, const FillTarget& target) {
    while (!context.output.full && *target.progress < kFinished) {
        const EmlResult result = convertStep(context, target);
        setSize(context, target);
        if (result != EML_OK) {
            closeRecordOutput(context);
            return result;
        }
    }
    if (*target.progress >= kFinished) closeRecordOutput(context);
    return EML_OK;
}

// The first call of a conversion, and those that go on draining what it staged.
EmlResult deliverHeader(EmlFilterContext& context, const FillTarget& target, Next& next) {
    next = Next::kGoOn;
    if (context.prologuePending) {
        context.prologuePending = false;
        if (EmlResult result = stageHeader(context); result != EML_OK) {
            releaseStaging(context);
            closeRecordOutput(context);
            next = Next::kReturn;
            return result;
        }
        next = drainToHost(context, target);
    } else if (context.staging.left != 0) {
        next = drainToHost(context, target);
    }
    return EML_OK;
}

}  // namespace

EmlResult fillBuffer(EmlFilterContext* context, const FillTarget& target) {
    *target.size = 0;
    if (context == nullptr || target.buffer == nullptr) return EML_INVALID_ARGUMENT;
    openHostBuffer(*context, target, 0);
    context->output.full = false;
    Next next = Next::kGoOn;
    if (EmlResult result = deliverHeader(*context, target, next); next == Next::kReturn) return result;
    if (!context->body.running) {
        if (EmlResult result = startBody(*context, target, next); next == Next::kReturn) return result;
    }
    return convertBody(*context, target);
}

EmlResult fillBufferEx(EmlFilterContext* context, uint32_t subFile, const FillTarget& target,
                       uint32_t fillFlags) {
    *target.size = 0;
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    const uint32_t message = rootShift(context->flags);
    if (subFile < message) return EML_OK;
    if (subFile != message) return EML_INVALID_ARGUMENT;
    if (context->encrypted) return EML_ENCRYPTED;
    if ((fillFlags & EML_FILL_RESTART) != 0) {
        context->prologuePending = true;
        context->body.textWaits = false;
        context->body.running = false;
        *target.progress = 0;
    }
    context->bodyOnly = (fillFlags & EML_FILL_BODY_ONLY) != 0;
    return fillBuffer(context, target);
}

}  // namespace eml
