// What the filter's scan of a message found as stable text, and the records of its stream in a form that a
// table can hold.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "filter/body_span.h"
#include "filter/open_filter.h"
#include "reference/filter_scan.h"

namespace eml::test {

inline uint32_t word(std::string_view bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4 && at + i < bytes.size(); ++i)
        value |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[at + i])) << (8 * i);
    return value;
}

inline std::string partText(int64_t start, int64_t end, uint32_t encoding, std::string_view type) {
    return std::to_string(start) + "-" + std::to_string(end) + " " + std::to_string(encoding) + " " +
           std::string(type) + "; ";
}

inline std::string attachmentText(std::string_view name, int64_t offset, uint32_t encoding,
                                  std::string_view type, uint32_t part) {
    return std::string(name) + "@" + std::to_string(offset) + " " + std::to_string(encoding) + " " +
           std::string(type) + " " + std::to_string(part) + "; ";
}

// The parts alone: "start-end encoding type; ..."; the attachments: "name@offset encoding type part; ...".
inline std::string partsOf(const EmlFilterContext& context) {
    std::string text;
    for (int32_t i = 0; i < context.parts.bodies.count; ++i) {
        const EmlBodyPart& part = context.parts.bodies.records[i];
        text += partText(part.start, part.end, codeOf(part.encoding), part.type);
    }
    return text;
}

inline std::string attachmentsOf(const EmlFilterContext& context) {
    std::string text;
    for (int32_t i = 0; i < context.parts.attachments.count; ++i) {
        const EmlAttachment& one = context.parts.attachments.records[i];
        text += attachmentText(attachmentName(context, one), one.offset, codeOf(one.encoding),
                               one.contentType, one.partIndex);
    }
    return text;
}

// One line a subject, so that a failed comparison shows where two dumps part.
struct Dump {
    std::string text;

    void add(const char* name, const std::string& value) { text += std::string(name) + ": " + value + "\n"; }
    void add(const char* name, int64_t value) { add(name, std::to_string(value)); }
};

// What the scan has found, and the readable text, as text. Looking for the text changes the context.
inline std::string dumpScan(OpenFilter& filter) {
    if (filter.context() == nullptr) return "open: " + std::to_string(filter.result()) + "\n";
    EmlFilterContext& context = filter.opened();
    Dump dump;
    dump.add("open", 0);
    dump.add("size", context.messageSize);
    dump.add("header", context.headerLength);
    dump.add("line end",
             std::string(reinterpret_cast<const char*>(context.input.lineEnd), context.input.lineEndWidth));
    dump.add("encoding", codeOf(context.transferEncoding));
    dump.add("type", context.contentType);
    dump.add("charset", context.charset);
    dump.add("charset name", context.charsetTaken ? std::string("+") + context.charsetName : "-");
    dump.add("boundary", context.boundary.text != nullptr ? context.boundary.text : "");
    dump.add("MIME", context.mimeIndicator);
    dump.add("encrypted, signed", std::to_string(context.encrypted) + std::to_string(context.signedMessage));
    dump.add("parts", partsOf(context));
    dump.add("attachments", attachmentsOf(context));
    if (context.parts.bodies.count == 0) return dump.text;
    BodySpan span{};
    if (const EmlResult result = getBody(context, span); result != EML_OK) dump.add("body", result);
    dump.add("first part", context.parts.first);
    dump.add("span", std::to_string(span.start) + "-" + std::to_string(span.end));
    dump.add("span encoding", codeOf(context.transferEncoding));
    dump.add("type afterwards", context.contentType);
    dump.add("boundary afterwards", context.boundary.text != nullptr ? context.boundary.text : "");
    return dump.text;
}

inline std::string dumpReferenceScan(std::string_view message) {
    reference::FilterScan scan(message);
    if (const uint32_t result = scan.scan(); result != 0) return "open: " + std::to_string(result) + "\n";
    Dump dump;
    dump.add("open", 0);
    dump.add("size", scan.messageSize);
    dump.add("header", scan.headerLength);
    dump.add("line end", scan.lineEnd);
    dump.add("encoding", scan.encoding);
    dump.add("type", scan.type);
    dump.add("charset", scan.charset);
    dump.add("charset name", scan.charsetTaken ? "+" + scan.charsetName : "-");
    dump.add("boundary", scan.boundary);
    dump.add("MIME", scan.mimeIndicator);
    dump.add("encrypted, signed", std::to_string(scan.encrypted) + std::to_string(scan.isSigned));
    std::string list;
    for (const reference::FilterPart& part : scan.parts)
        list += partText(part.start, part.end, part.encoding, part.type);
    dump.add("parts", list);
    list.clear();
    for (const reference::FilterAttachment& one : scan.attachments)
        list += attachmentText(one.name, one.offset, one.encoding, one.type, one.partIndex);
    dump.add("attachments", list);
    if (scan.parts.empty()) return dump.text;
    const std::string boundary = scan.boundary;
    scan.findBody();
    dump.add("first part", static_cast<int64_t>(scan.firstPart));
    dump.add("span", std::to_string(scan.bodyStart) + "-" + std::to_string(scan.bodyEnd));
    dump.add("span encoding", scan.encoding);
    dump.add("type afterwards", scan.type);
    dump.add("boundary afterwards", boundary);  // a nested one serves the search for the text alone
    return dump.text;
}

struct Record {
    uint8_t tag;
    std::string payload;

    [[nodiscard]] std::string text() const { return tag == 0 ? payload.substr(4) : std::string(); }
};

// A stream cut into records. A length that does not fit gives a last record with tag 255.
inline std::vector<Record> recordsOf(std::string_view stream) {
    std::vector<Record> records;
    while (!stream.empty()) {
        const auto tag = static_cast<uint8_t>(stream[0]);
        const uint32_t length = tag == 11 ? 1 : word(stream, 1);
        const bool fits = length <= stream.size() && (tag == 11 || length >= 5) && (tag != 0 || length >= 9);
        if (!fits) {
            records.push_back({255, std::string(stream)});
            break;
        }
        records.push_back({tag, std::string(stream.substr(tag == 11 ? 1 : 5, length - (tag == 11 ? 1 : 5)))});
        if (tag == 0 && word(records.back().payload, 0) != length - 9) records.back().tag = 255;
        stream.remove_prefix(length);
    }
    return records;
}

// Records as text: 'text', \n for a line break, \t for a tab, * for bold on and off, {n} for a charset, <n>
// for others.
inline std::string showRecords(const std::vector<Record>& records) {
    std::string text;
    for (const Record& record : records) {
        switch (record.tag) {
            case 0:
                text.append("'").append(record.text()).append("'");
                break;
            case 3:
                text += "\\t";
                break;
            case 4:
                text += "*";
                break;
            case 13:
                text += "\\n";
                break;
            case 27:
                text.append("{").append(std::to_string(word(record.payload, 0))).append("}");
                break;
            default:
                text.append("<").append(std::to_string(record.tag)).append(">");
        }
    }
    return text;
}

inline std::string streamOf(std::string_view message, uint32_t fillFlags) {
    OpenFilter filter(message);
    return filter.context() == nullptr ? "" : filter.stream(1U << 24, fillFlags);
}

// The records of the header fields of a message without a body: those between the prologue and the charset
// record of the body.
inline std::string headerRecords(std::string_view message, uint32_t fillFlags = 0) {
    std::vector<Record> records = recordsOf(streamOf(message, fillFlags));
    if (records.size() < 6) return "(no stream)";
    records.erase(records.begin(), records.begin() + 5);
    // The body of a message that ends with its header is the empty line, which is one line break.
    if (records.back().tag == 13) records.pop_back();
    if (records.back().tag != 27) return "(no charset record of a body) " + showRecords(records);
    records.pop_back();
    return showRecords(records);
}

// The records from the charset record of the body on.
inline std::string bodyRecords(std::string_view message) {
    const std::string bare = streamOf(message, EML_FILL_BODY_ONLY);
    std::vector<Record> records = recordsOf(bare);
    if (records.size() < 6) return "(no stream)";
    records.erase(records.begin(), records.begin() + 5);
    return showRecords(records);
}

}  // namespace eml::test
