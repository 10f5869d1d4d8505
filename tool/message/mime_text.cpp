#include "tool/message/mime_text.h"

#include <algorithm>

#include "tool/html/html_charset.h"
#include "tool/html/html_text.h"
#include "tool/html/markdown.h"
#include "tool/message/tnef_text.h"
#include "tool/text/ascii.h"
#include "tool/text/charset_decoder.h"
#include "tool/text/charset_guess.h"
#include "tool/text/charset_labels.h"
#include "tool/text/flowed_text.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using emlreader::mime::Content;
using emlreader::mime::Form;
using emlreader::mime::Message;
using emlreader::mime::Part;

std::string withLfAlone(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r') {
            lines += text[i];
        } else if (i + 1 == text.size() || text[i + 1] != '\n') {
            lines += '\n';
        }
    }
    return lines;
}

bool isRtf(const Part& part) { return part.is("text", "rtf") || part.is("application", "rtf"); }

// What stands in RTF; its source if it is none.
HtmlText textOfRtfPart(const Part& part, LinkStyle links) {
    const std::string bytes = part.bytes();
    HtmlText read = textOfRtf({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, links);
    if (read.text.empty()) read.text = withoutInvalidBytes(bytes);
    return read;
}

// By the charset that HTML names itself. UTF-8 it is not, and what can be read so far is not UTF-16.
std::optional<std::string> textByMeta(const std::string& html) {
    const std::string label = metaCharset(html);
    if (label.empty() || label.starts_with("utf-")) return std::nullopt;
    return toUtf8(html, label);
}

std::optional<std::string> guessedText(const std::string& bytes) {
    const std::optional<std::string> label = guessCharset(bytes);
    return label ? toUtf8(bytes, *label) : std::nullopt;
}

bool hasFlowedLines(const Part& part) {
    return part.is("text", "plain") && (part.info().flags & EML_MIME_PART_FLOWED) != 0;
}

// `bytes` of the part by the charset that it names, or else that HTML names, or else by their letters; nothing if none
// of them tells.
std::optional<std::string> convertedText(const Part& part, const Content& content, const std::string& bytes) {
    const bool isNamed = !content.notConverted() && !content.guessed() && !part.charset().empty();
    if (isNamed) return toUtf8(bytes, part.charset());
    if (isUtf8(bytes)) return bytes;
    std::optional<std::string> converted;
    if (content.guessed() && part.is("text", "html")) converted = textByMeta(bytes);
    return converted ? converted : guessedText(bytes);
}

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r\n") == std::string_view::npos; }

// Drops empty lines at both ends, and ends the last line.
std::string trimmedLines(std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (end == std::string_view::npos || !isBlank(text.substr(0, end))) break;
        text.remove_prefix(end + 1);
    }
    const size_t last = text.find_last_not_of(" \t\r\n");
    if (last == std::string_view::npos) return "";
    return std::string(text.substr(0, std::min(text.find('\n', last), text.size()))) + '\n';
}

template <typename Choice>
std::vector<Part> partsOf(const Message& message, uint32_t root, Choice choice) {
    std::vector<Part> parts;
    for (const Part& part : message.partsOf(root)) {
        // A multipart whose boundary never occurs is text too. Pictures may stand between texts.
        const bool isText = part.type() == "text" || part.type() == "multipart" || isRtf(part);
        if (isText && choice(part)) parts.push_back(part);
    }
    return parts;
}

bool isInText(const Part& part) { return part.isTextBody(); }
bool isInHtml(const Part& part) { return part.isHtmlBody(); }

// Text of another type, RTF or a calendar for instance, that the sender did not attach.
bool isOtherText(const Part& part) {
    return (part.type() == "text" || isRtf(part)) && !part.isNamed() &&
           part.info().dispositionKind == EML_MIME_DISPOSITION_NONE;
}

HtmlText readPart(const Part& part, const TextForm& form) {
    if (form.source) return {textOfPart(part, true), "", {}};
    if (isRtf(part)) return textOfRtfPart(part, form.links);
    if (part.is("text", "html")) return textOfHtml(textOfPart(part), form.links);
    return {textOfPart(part), "", {}};
}

BodyText readParts(const std::vector<Part>& parts, const TextForm& form) {
    BodyText body;
    bool isAllHtml = true;
    for (const Part& part : parts) {
        HtmlText read = readPart(part, form);
        if (!isBlank(read.text)) isAllHtml = isAllHtml && part.is("text", "html");
        const std::string lines = trimmedLines(read.text);
        body.text += lines;
        body.pieces.push_back(lines.size());
        body.hidden += read.hidden;
        std::move(read.warnings.begin(), read.warnings.end(), std::back_inserter(body.warnings));
    }
    body.isFromHtml = isAllHtml && !body.text.empty();
    return body;
}

}  // namespace

std::string textOfPart(const Part& part, bool asSent) {
    const bool isFlowed = hasFlowedLines(part);
    const bool joinsNothing = isFlowed && asSent;
    std::string text;
    const Content content = part.extract([&](std::string_view piece) { text += piece; }, Form::Text);
    if (!content.notConverted() && !content.guessed() && !joinsNothing) return text;
    const std::string bytes = part.bytes();
    if (!content.notConverted() && isUtf8(bytes) && !joinsNothing) return text;
    std::optional<std::string> converted = convertedText(part, content, bytes);
    if (!converted) return content.notConverted() ? fromUnlabelledCharset(text, EML_CHARSET_WESTERN) : text;
    std::string lines = withLfAlone(withoutInvalidBytes(*converted));
    if (!isFlowed || joinsNothing) return lines;
    return joinedFlowed(lines, (part.info().flags & EML_MIME_PART_DELSP) != 0);
}

std::vector<Part> textParts(const Message& message, uint32_t root) {
    std::vector<Part> parts = partsOf(message, root, isInText);
    return parts.empty() ? partsOf(message, root, isOtherText) : parts;
}

std::optional<uint64_t> textSize(const std::vector<Part>& parts) {
    std::optional<uint64_t> size;
    for (const Part& part : parts) {
        size = size.value_or(0) + part.measure(Form::Decoded).size;
    }
    return size;
}

std::string charsetOf(const std::vector<Part>& parts) {
    return parts.empty() ? "" : lowerCase(parts.front().charset());
}

BodyText readBody(const Message& message, uint32_t root, const TextForm& form) {
    BodyText body;
    for (const auto choice : {isInText, isInHtml, isOtherText}) {
        BodyText read = readParts(partsOf(message, root, choice), form);
        std::string hidden = std::move(body.hidden);
        std::vector<Warning> warnings = std::move(body.warnings);
        std::move(read.warnings.begin(), read.warnings.end(), std::back_inserter(warnings));
        body = std::move(read);
        body.hidden.insert(0, hidden);
        body.warnings = std::move(warnings);
        if (!body.text.empty()) return body;
    }
    body.text = trimmedLines(tnefText(message, root, body.warnings, form.links));
    body.pieces = {body.text.size()};
    return body;
}

BodyDocument readPartDocument(const Part& part) {
    if (!part.is("text", "html")) return {plainDocument(readPart(part, {}).text), "", {}};
    ReadHtml read = htmlDocument(textOfPart(part));
    return {std::move(read.content), std::move(read.hidden), std::move(read.warnings)};
}

BodyDocument readBodyDocument(const Message& message, uint32_t root) {
    BodyDocument document;
    for (const auto choice : {isInText, isInHtml, isOtherText}) {
        for (const Part& part : partsOf(message, root, choice)) {
            BodyDocument read = readPartDocument(part);
            Block& content = read.content;
            if (!content.blocks.empty()) content.hasSpaceBefore = true;
            document.hidden += read.hidden;
            std::move(read.warnings.begin(), read.warnings.end(), std::back_inserter(document.warnings));
            if (!content.blocks.empty()) document.content.blocks.push_back(std::move(content));
        }
        if (!document.content.blocks.empty()) return document;
    }
    document.content = plainDocument(tnefText(message, root, document.warnings, LinkStyle::kFootnotes));
    return document;
}

std::string readHtmlSource(const Message& message, uint32_t root) {
    std::string html;
    for (const Part& part : partsOf(message, root, isInHtml)) {
        if (!part.is("text", "html")) continue;
        if (!html.empty()) html += '\n';
        html += textOfPart(part, true);
    }
    return html;
}

std::vector<TextSpan> spansOf(const BodyText& body) {
    std::vector<TextSpan> spans;
    std::string_view rest = body.text;
    for (const size_t piece : body.pieces) {
        appendSpans(spans, textSpans(rest.substr(0, piece)));
        rest.remove_prefix(piece);
    }
    return spans;
}

}  // namespace emltool
