#include "filter/fill.h"

#include <algorithm>
#include <cstring>

#include "bytes/unreachable.h"
#include "filter/body_span.h"
#include "filter/body_text.h"
#include "filter/header_fields.h"
#include "filter/input_reader.h"
#include "filter/record_stream.h"
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

// The host's buffer as record output, behind `used` bytes that are in it already.
void openHostBuffer(EmlFilterContext& context, const FillTarget& target, uint32_t used) {
    openRecordOutput(context, target.buffer, target.capacity, limitOf(target));
    context.out += used;
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
    context.stagingPending = drainStaging(context, target.buffer, *target.size, target.capacity);
    if (context.stagingPending != 0) {
        openHostBuffer(context, target, *target.size);
        return Next::kReturn;
    }
    releaseStaging(context);
    openHostBuffer(context, target, *target.size);
    return Next::kGoOn;
}

bool isBehindAttachment(const EmlFilterContext& context, const BodySpan& span) {
    if (context.attachmentCount < 1) return false;
    const int64_t offset = context.attachments[0].offset;
    return offset <= span.start || offset < span.end;
}

// KEPT: where the first attachment begins at or before the text, or within it, the text is empty.
EmlResult findSpan(EmlFilterContext& context, BodySpan& span) {
    span = {context.messageOffset, context.messageSize};
    if (context.partCount == 0) return EML_OK;
    const EmlResult result = getBody(context, span);
    if (isBehindAttachment(context, span)) span.end = span.start;
    return result;
}

EmlResult startBody(EmlFilterContext& context, const FillTarget& target, Next& next) {
    next = Next::kReturn;
    if (context.outEnd - context.out < ptrdiff_t{kTextHeaderSize}) {
        setSize(context, target);
        return EML_OK;  // no room for the charset record: the next call starts the body
    }
    BodySpan span{};
    if (EmlResult result = findSpan(context, span); result != EML_OK) return result;
    context.inBody = 1;
    if (context.charset == EML_CHARSET_UNKNOWN) context.charset = EML_CHARSET_WESTERN;
    const Written charset = writeCharset(context, context.charset);
    if (EML_NEVER(charset != Written::kYes)) return EML_NO_MEMORY;  // its room has been looked at above
    setSize(context, target);
    resetReader(context);
    forgetInput(context);
    context.bodyLength = span.end - span.start;
    if (context.bodyLength <= 0) {
        *target.progress = kFinished;
        closeRecordOutput(context);
        return EML_OK;
    }
    if (!seekFile(*context.io, span.start)) return EML_OBJECT_FAILED;
    if (context.transferEncoding > kEncodingQuotedPrintable) context.transferEncoding = kEncodingNone;
    if (context.contentType[0] == '\0') std::memcpy(context.contentType, "text/plain", sizeof "text/plain");
    next = Next::kGoOn;
    return EML_OK;
}

void reportProgress(const EmlFilterContext& context, const FillTarget& target) {
    const int64_t converted = int64_t{context.messageOffset} * 100;
    *target.progress =
        context.bodyLength > 0 ? static_cast<uint32_t>(converted / context.bodyLength) : kFinished;
}

void plainStep(EmlFilterContext& context, const FillTarget& target) {
    (void)processEMLplainbody(context, false);
    reportProgress(context, target);
}

// Text that is not encoded, one read of the message at a time.
void readPlain(EmlFilterContext& context, const FillTarget& target) {
    if (readBuf(context, context.bodyLength - context.readCount) < 1) {
        *target.progress = kFinished;
        return;
    }
    context.readPos = context.input;
    plainStep(context, target);
}

// One step of the conversion. A fill that goes on where the last one was full only converts what is left in
// the buffer.
EmlResult convertStep(EmlFilterContext& context, const FillTarget& target) {
    if (context.stagingPending != 0) {
        context.stagingPending = 0;
        plainStep(context, target);
        return EML_OK;
    }
    const bool base64 = context.transferEncoding == kEncodingBase64;
    if (!base64 && context.transferEncoding != kEncodingQuotedPrintable) {
        readPlain(context, target);
        return EML_OK;
    }
    // KEPT: behind the base64 step the quoted-printable step always runs too, and its result is the one that
    // counts.
    if (base64) (void)processEMLbase64body(context, false);
    const EmlResult result = processEMLqpbody(context, false);
    reportProgress(context, target);
    return result;
}

EmlResult convertBody(EmlFilterContext& context, const FillTarget& target) {
    while (context.bufferFull == 0 && *target.progress < kFinished) {
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
    if (context.prologuePending != 0) {
        context.prologuePending = 0;
        if (EmlResult result = stageHeader(context); result != EML_OK) {
            releaseStaging(context);
            closeRecordOutput(context);
            next = Next::kReturn;
            return result;
        }
        next = drainToHost(context, target);
    } else if (context.stagingPending != 0 && context.stagingLeft != 0) {
        next = drainToHost(context, target);
    }
    return EML_OK;
}

}  // namespace

EmlResult fillBuffer(EmlFilterContext* context, const FillTarget& target) {
    *target.size = 0;
    if (context == nullptr || target.buffer == nullptr) return EML_INVALID_ARGUMENT;
    openHostBuffer(*context, target, 0);
    context->bufferFull = 0;
    Next next = Next::kGoOn;
    if (EmlResult result = deliverHeader(*context, target, next); next == Next::kReturn) return result;
    if (context->inBody == 0) {
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
    if (context->encrypted != 0) return EML_ENCRYPTED;
    if ((fillFlags & EML_FILL_RESTART) != 0) {
        context->prologuePending = 1;
        context->stagingPending = 0;
        context->inBody = 0;
        *target.progress = 0;
    }
    context->bodyOnly = (fillFlags & EML_FILL_BODY_ONLY) != 0 ? 1 : 0;
    return fillBuffer(context, target);
}

}  // namespace eml
