#include "filter/header_fields.h"

#include <algorithm>

#include "bytes/cursor.h"
#include "bytes/unreachable.h"
#include "filter/content_type_value.h"
#include "filter/field_value.h"
#include "filter/input_reader.h"
#include "filter/part_tables.h"
#include "filter/record_stream.h"
#include "host/host_file.h"
#include "host/metadata_records.h"

namespace eml {

namespace {

constexpr size_t kMaxRequestName = 62;

struct ShownField {
    char header[20];
    char shown[12];
    int32_t kind;
    bool isPriority;  // alternatives: only the first of them in a header is written
};

// KEPT: the date is shown as "Sent:".
constexpr ShownField kShownFields[] = {
    {"To:", "To:", kWholeLines, false},
    {"From:", "From:", kCutLines, false},
    {"Cc:", "Cc:", kWholeLines, false},
    {"Bcc:", "Bcc:", kCutLines, false},
    {"Subject:", "Subject:", kWholeLines, false},
    {"Date:", "Sent:", kCutLines, false},
    {"X-MSMail-Priority:", "Priority:", kCutLines, true},
    {"Priority:", "Priority:", kCutLines, true},
    {"Importance:", "Priority:", kCutLines, true},
};

struct HeaderPass {
    EmlFilterContext& context;
    Cursor text;
    bool metadataMode;
    bool priorityShown;
};

void learnContentType(EmlFilterContext& context, Cursor value) {
    value.skipBlanks();
    if (!value.startsWithNoCase("multipart/mixed") && !value.startsWithNoCase("multipart/alternative")) {
        takeTypeToken(value, context.contentType);
    }
    bool found = findCharsetPlace(value);
    if (!found) {
        skipLineEnd(value);
        found = findCharsetPlace(value);
    }
    if (found) takeCharset(context, value, false);
}

// True when the line was one of those that say what the body is.
bool learnField(EmlFilterContext& context, Cursor line) {
    if (line.acceptNoCase("Content-Type:")) {
        learnContentType(context, line);
        return true;
    }
    if (line.acceptNoCase("Content-Transfer-Encoding:")) {
        context.transferEncoding = encodingOfValue(line);
        return true;
    }
    return false;
}

EmlResult outputValue(HeaderPass& pass, Cursor value, int32_t kind) {
    const uint8_t* position = value.pos;
    const EmlResult result = outputEMLfieldbody(pass.context, position, pass.metadataMode, kind);
    pass.text.pos = position;
    return result;
}

// The value is taken from directly after the colon: its leading blank is part of the first text.
EmlResult showField(HeaderPass& pass) {
    if (pass.context.bodyOnly) return EML_OK;
    for (const ShownField& field : kShownFields) {
        Cursor value = pass.text;
        if (!value.acceptNoCase(field.header)) continue;
        if (field.isPriority && pass.priorityShown) return EML_OK;
        pass.priorityShown = pass.priorityShown || field.isPriority;
        if (EmlResult result = outputEMLfieldname(pass.context, field.shown); result != EML_OK) return result;
        return outputValue(pass, value, field.kind);
    }
    return EML_OK;
}

// Moves past the name that a request looks for. KEPT: a name is cut after 62 characters, "Sent" looks for
// the date, and "Priority" for "X-MSMail-Priority" as well.
bool acceptRequested(Cursor& line, std::string_view name) {
    name = name.substr(0, kMaxRequestName);
    if (!name.empty() && name.back() == ':') name.remove_suffix(1);
    const auto is = [&](std::string_view other) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(name.data());
        return name.size() == other.size() && equalNoCase(bytes, other.data(), other.size());
    };
    const auto accept = [&](std::string_view wanted) {
        if (!line.startsWithNoCase(wanted) || line.peek(wanted.size()) != ':') return false;
        line.skip(wanted.size() + 1);
        return true;
    };
    if (is("Sent")) return accept("Date");
    return accept(name) || (is("Priority") && accept("X-MSMail-Priority"));
}

// A line serves one request.
EmlResult collectField(HeaderPass& pass) {
    const EmlMetaData& requests = *pass.context.request.list;
    for (int32_t i = 0; i < requests.count; ++i) {
        const EmlMetaDataEntry* const entry = metadataEntry(requests, i);
        if (EML_NEVER(entry == nullptr)) continue;  // a pass begins with every entry made
        Cursor value = pass.text;
        if (entry->name == nullptr || !acceptRequested(value, entry->name)) continue;
        value.skipBlanks();
        return outputValue(pass, value, i);
    }
    return EML_OK;
}

// KEPT: a metadata request is served from Content-* lines too, which the stream never shows.
EmlResult treatLine(HeaderPass& pass) {
    const bool learnt = learnField(pass.context, pass.text);
    if (pass.metadataMode) return collectField(pass);
    return learnt ? EML_OK : showField(pass);
}

EmlResult readLines(HeaderPass& pass) {
    const EmlFilterContext& context = pass.context;
    while (!pass.text.atEnd()) {
        if (context.input.lineEndWidth != 0 && *pass.text.pos == context.input.lineEnd[0]) break;
        if (EmlResult result = treatLine(pass); result != EML_OK) return result;
        while (!pass.text.atEnd() && !isLineEnd(*pass.text.pos)) pass.text.skip(1);
        skipLineEnd(pass.text);
    }
    return EML_OK;
}

EmlResult parseHeader(EmlFilterContext& context, const uint8_t* begin, uint32_t length, bool metadataMode,
                      int32_t& parsed) {
    context.input.end = begin + length;
    context.input.readPos = context.input.end;
    HeaderPass pass{context, {begin, context.input.end}, metadataMode, false};
    const EmlResult result = readLines(pass);
    parsed = static_cast<int32_t>(pass.text.pos - begin);
    forgetInput(context);
    return result;
}

// The header in one block of its own, read at once.
EmlResult parseWholeHeader(EmlFilterContext& context, bool metadataMode) {
    const ScopedBlock block(allocatorOf(context), static_cast<uint32_t>(context.headerLength));
    if (block.bytes() == nullptr) return EML_NO_MEMORY;
    const uint32_t length = readFile(*context.io, block.bytes(), static_cast<uint32_t>(context.headerLength));
    if (length == 0) return EML_OBJECT_FAILED;
    int32_t parsed = 0;
    const EmlResult result = parseHeader(context, block.bytes(), length, metadataMode, parsed);
    context.input.offset += context.headerLength;
    return result;
}

// A message without an empty line: what is in the first buffer is the header.
EmlResult parseFirstBuffer(EmlFilterContext& context, bool metadataMode) {
    const int32_t length = readBuf(context, kInputSize);
    if (length < 1) return EML_OBJECT_FAILED;
    int32_t parsed = 0;
    const EmlResult result =
        parseHeader(context, context.input.buffer, static_cast<uint32_t>(length), metadataMode, parsed);
    context.input.offset += parsed;
    return result;
}

EmlResult showAttachmentList(EmlFilterContext& context) {
    if (EmlResult result = outputEMLfieldname(context, "Attachment:"); result != EML_OK) return result;
    for (int32_t i = 0; i < context.parts.attachments.count; ++i) {
        const char* const name = attachmentName(context, context.parts.attachments.records[i]);
        if (name[0] != '\0' && writeText(context, name) == Written::kNoMemory) return EML_NO_MEMORY;
        if (i + 1 < context.parts.attachments.count && writeText(context, "; ") == Written::kNoMemory)
            return EML_NO_MEMORY;
    }
    return resultOf(writeLineBreak(context));
}

}  // namespace

}  // namespace eml

EmlResult processEMLheader(EmlFilterContext& context, bool metadataMode) {
    if (!eml::seekFile(*context.io, 0)) return EML_OBJECT_FAILED;
    eml::resetReader(context);
    if (metadataMode) {
        context.output.full = false;
        context.body.textWaits = false;
        context.body.running = false;
        context.prologuePending = true;
    }
    const EmlResult result = context.headerLength < 1 ? eml::parseFirstBuffer(context, metadataMode)
                                                      : eml::parseWholeHeader(context, metadataMode);
    if (result != EML_OK || metadataMode || context.bodyOnly) return result;
    return context.parts.attachments.count > 0 ? eml::showAttachmentList(context) : EML_OK;
}
