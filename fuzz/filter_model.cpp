#include "filter_model.h"

#include "check.h"
#include "filter/body_span.h"
#include "filter/filter_context.h"
#include "filter/part_tables.h"
#include "reference/filter_scan.h"

namespace fuzz {
namespace {

// What the scan has found, of the model and of the library alike.
struct Dump {
    std::string text;

    void add(const char* name, std::string_view value) {
        text.append(name).append(": ").append(value).append("\n");
    }
    void add(const char* name, int64_t value) { add(name, std::to_string(value)); }
    void addPart(int64_t start, int64_t end, uint32_t encoding, std::string_view type) {
        add("part", start);
        add(" to", end);
        add(" encoding", encoding);
        add(" type", type);
    }
};

uint32_t codeOf(eml::TransferEncoding encoding) { return static_cast<uint32_t>(encoding); }

std::string dumpOf(EmlFilterContext& context) {
    Dump dump;
    dump.add("size", context.messageSize);
    dump.add("header", context.headerLength);
    dump.add("line end", {reinterpret_cast<const char*>(context.input.lineEnd), context.input.lineEndWidth});
    dump.add("encoding", codeOf(context.transferEncoding));
    dump.add("type", context.contentType);
    dump.add("charset", context.charset);
    dump.add("charset name", context.charsetTaken ? context.charsetName : "-");
    dump.add("boundary", context.boundary.text != nullptr ? context.boundary.text : "");
    dump.add("MIME", context.mimeIndicator);
    dump.add("encrypted", context.encrypted ? 1 : 0);
    dump.add("signed", context.signedMessage ? 1 : 0);
    for (int32_t i = 0; i < context.parts.bodies.count; ++i) {
        const EmlBodyPart& part = context.parts.bodies.records[i];
        dump.addPart(part.start, part.end, codeOf(part.encoding), part.type);
    }
    for (int32_t i = 0; i < context.parts.attachments.count; ++i) {
        const EmlAttachment& one = context.parts.attachments.records[i];
        dump.add("attachment", eml::attachmentName(context, one));
        dump.addPart(one.offset, one.partIndex, codeOf(one.encoding), one.contentType);
    }
    if (context.parts.bodies.count == 0) return dump.text;
    eml::BodySpan span{};
    dump.add("body", getBody(context, span));
    dump.add("first part", context.parts.first);
    dump.addPart(span.start, span.end, codeOf(context.transferEncoding), context.contentType);
    return dump.text;
}

std::string dumpOf(reference::FilterScan& scan) {
    Dump dump;
    dump.add("size", scan.messageSize);
    dump.add("header", scan.headerLength);
    dump.add("line end", scan.lineEnd);
    dump.add("encoding", scan.encoding);
    dump.add("type", scan.type);
    dump.add("charset", scan.charset);
    dump.add("charset name", scan.charsetTaken ? scan.charsetName : "-");
    dump.add("boundary", scan.boundary);
    dump.add("MIME", scan.mimeIndicator);
    dump.add("encrypted", scan.encrypted ? 1 : 0);
    dump.add("signed", scan.isSigned ? 1 : 0);
    for (const reference::FilterPart& part : scan.parts)
        dump.addPart(part.start, part.end, part.encoding, part.type);
    for (const reference::FilterAttachment& one : scan.attachments) {
        dump.add("attachment", one.name);
        dump.addPart(one.offset, one.partIndex, one.encoding, one.type);
    }
    if (scan.parts.empty()) return dump.text;
    scan.findBody();
    dump.add("body", int64_t{0});
    dump.add("first part", static_cast<int64_t>(scan.firstPart));
    dump.addPart(scan.bodyStart, scan.bodyEnd, scan.encoding, scan.type);
    return dump.text;
}

}  // namespace

void holdFilterScan(std::string_view message, EmlFilterContext* context, EmlResult opened) {
    reference::FilterScan scan(message);
    const uint32_t result = scan.scan();
    require(result == opened, "the open has the code of the model");
    require((result == 0) == (context != nullptr), "a context comes with success");
    if (result != 0) return;
    const std::string expected = dumpOf(scan);
    const std::string got = dumpOf(*context);
    if (expected != got) fail("the scan is that of the model\n" + expected + "\nbut got\n" + got);
}

}  // namespace fuzz
