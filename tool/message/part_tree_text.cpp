#include "tool/message/part_tree_text.h"

#include <algorithm>

#include "tool/message/defect_words.h"
#include "tool/message/part_words.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kMaxIndent = 24;  // columns; deeper parts tell their depth instead

struct Row {
    std::string number;
    std::string section;
    std::string type;  // indented
    std::string size;
    std::string encoding;
    std::string charset;
};

struct Widths {
    size_t number = 3;
    size_t section = 7;
    size_t type = 20;
    size_t size = 8;
    size_t encoding = 8;
    size_t charset = 7;
};

// Words from a message may be of any length: a column does not grow beyond this.
constexpr size_t kMaxColumn = 44;

std::string padded(const std::string& text, size_t width) {
    const size_t used = displayWidth(text);
    return used < width ? text + std::string(width - used, ' ') : text;
}

std::string indented(const PartEntry& entry) {
    const size_t indent = size_t{2} * entry.part.depth();
    std::string type = visible(entry.part.mediaType());
    if (indent <= kMaxIndent) return std::string(indent, ' ') + type;
    return formatted("{}[{}] {}", std::string(kMaxIndent, ' '), entry.part.depth(), type);
}

Row rowOf(const PartEntry& entry, bool exact) {
    const EmlMimePart& info = entry.part.info();
    Row row;
    row.number = std::to_string(entry.part.number());
    row.section = entry.section;
    row.type = indented(entry);
    row.size = exact ? formatted("{} B ", entry.size) : humanSize(entry.size);
    if (info.encoding != EML_MIME_ENCODING_NONE) row.encoding = encodingWord(info.encoding);
    if (info.encoding == EML_MIME_ENCODING_UNKNOWN) {
        row.encoding = visible({info.encodingText.text, info.encodingText.length});
    }
    row.charset = visible(entry.part.charset());
    return row;
}

void widen(size_t& width, const std::string& text) {
    width = std::max(width, std::min(displayWidth(text), kMaxColumn));
}

Widths widthsOf(const std::vector<Row>& rows) {
    Widths widths;
    for (const Row& row : rows) {
        widen(widths.number, row.number);
        widen(widths.section, row.section);
        widen(widths.type, row.type);
        widen(widths.size, row.size);
        widen(widths.encoding, row.encoding);
        widen(widths.charset, row.charset);
    }
    return widths;
}

std::string roleText(const PartEntry& entry) {
    const bool isText = entry.part.isTextBody();
    const bool isHtml = entry.part.isHtmlBody();
    if (entry.part.isAttachment()) return "attachment";
    if (isText && isHtml) return "body";
    return isText ? "text body" : isHtml ? "html body" : "";
}

// The name, where there is one or a file would need one, and what a person should know beyond the columns.
std::string remarks(const PartEntry& entry, const Style& style) {
    const emlreader::mime::Part& part = entry.part;
    std::string text = roleText(entry);
    const bool isFile = part.isAttachment() || part.isNamed();
    if (isFile && !text.empty()) text += "  ";
    if (part.isNamed()) {
        text += visible(entry.name);
    } else if (isFile) {
        text += style.note(visible(entry.name));
    }
    std::vector<std::string> notes;
    if (isFile && !part.isNamed()) notes.emplace_back("no name");
    if (part.protection() != EML_MIME_PROTECTION_NONE) notes.emplace_back(protectionText(part.protection()));
    if (part.isInlineFile()) notes.emplace_back("in the text");
    if (part.isEncodedMessage()) notes.emplace_back("a message, not opened");
    if (!notes.empty()) {
        if (!text.empty()) text += "  ";
        text += style.note(formatted("({})", joined(notes, "; ")));
    }
    return text;
}

std::string defectLine(const emlreader::mime::Defect& defect) {
    std::string where = defect.count > 1
                            ? formatted("{} times, first at byte {}", defect.count, defect.offset)
                            : formatted("at byte {}", defect.offset);
    return formatted("{} ({})", defectText(defect.code), where);
}

std::string detailLine(const PartEntry& entry) {
    const EmlMimePart& info = entry.part.info();
    std::string line = formatted("header {} B at {}, body {} B at {}", info.header.length, info.header.offset,
                                 info.body.length, info.body.offset);
    if (info.signedSpan.length != 0) {
        line += formatted(", signed {} B at {}", info.signedSpan.length, info.signedSpan.offset);
    }
    if (!entry.part.disposition().empty()) line += formatted("; {}", visible(entry.part.disposition()));
    if (!entry.part.contentId().empty()) line += formatted("; id {}", visible(entry.part.contentId()));
    if (!entry.part.location().empty()) line += formatted("; location {}", visible(entry.part.location()));
    if (!entry.part.description().empty()) line += formatted("; \"{}\"", visible(entry.part.description()));
    return line;
}

void printLine(Console& console, std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    console.print(line + "\n");
}

std::string columns(const Row& row, const Widths& widths) {
    return formatted("  {}  {:>{}}  {}  {}  ", padded(row.type, widths.type), row.size, widths.size,
                     padded(row.encoding, widths.encoding), padded(row.charset, widths.charset));
}

}  // namespace

void printParts(Console& console, std::span<const PartEntry> parts) {
    std::vector<Row> rows;
    rows.reserve(parts.size());
    for (const PartEntry& entry : parts) rows.push_back(rowOf(entry, console.verbose()));
    const Widths widths = widthsOf(rows);
    const Style& style = console.style();
    const Row heading{"#", "SECTION", "TYPE", "SIZE", "ENCODING", "CHARSET"};
    console.print(style.label(formatted("{:>{}}  {:<{}}{}ROLE AND NAME", heading.number, widths.number,
                                        heading.section, widths.section, columns(heading, widths))) +
                  "\n");
    const std::string below(widths.number + 2 + widths.section + 2, ' ');
    for (size_t i = 0; i < parts.size(); ++i) {
        const std::string numbers = style.number(
            formatted("{:>{}}  {:<{}}", rows[i].number, widths.number, rows[i].section, widths.section));
        printLine(console, numbers + columns(rows[i], widths) + remarks(parts[i], style));
        const std::string indent =
            below + std::string(std::min(size_t{2} * parts[i].part.depth(), kMaxIndent) + 2, ' ');
        if (console.verbose()) console.print(indent + style.note(detailLine(parts[i])) + "\n");
        for (const emlreader::mime::Defect& defect : parts[i].defects) {
            console.print(formatted("{}{} {}\n", indent, style.warning(formatted("! {}:", defect.name())),
                                    defectLine(defect)));
        }
    }
}

void printSpans(Console& console, std::span<const EmlMimeSpanInfo> spans, std::span<const PartEntry> parts) {
    const Style& style = console.style();
    console.print(
        style.label(formatted("{:>12}  {:>12}  {:<9}  {:>4}  {}", "OFFSET", "LENGTH", "SPAN", "#", "TYPE")) +
        "\n");
    for (const EmlMimeSpanInfo& span : spans) {
        const std::string type = span.part < parts.size() ? visible(parts[span.part].part.mediaType()) : "";
        console.print(formatted("{:>12}  {:>12}  {:<9}  {}  {}\n", span.span.offset, span.span.length,
                                spanWord(span.kind), style.number(formatted("{:>4}", span.part)), type));
    }
}

}  // namespace emltool
