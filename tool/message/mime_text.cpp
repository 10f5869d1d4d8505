#include "tool/message/mime_text.h"

#include <algorithm>

#include "tool/message/tnef_text.h"
#include "tool/text/ascii.h"
#include "tool/text/charset_decoder.h"
#include "tool/text/charset_guess.h"
#include "tool/text/charset_labels.h"
#include "tool/text/flowed_text.h"
#include "tool/text/html_charset.h"
#include "tool/text/html_text.h"
#include "tool/text/rtf_text.h"
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
std::string textOfRtf(const Part& part) {
    const std::string bytes = part.bytes();
    std::string text = rtfToText({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    return text.empty() ? withoutInvalidBytes(bytes) : text;
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

BodyText readParts(const std::vector<Part>& parts, bool source) {
    BodyText body;
    bool isAllHtml = true;
    for (const Part& part : parts) {
        const bool isHtml = part.is("text", "html");
        std::string text = isRtf(part) && !source ? textOfRtf(part) : textOfPart(part, source);
        if (isHtml && !source) text = linesOfHtml(text);
        if (!isBlank(text)) isAllHtml = isAllHtml && isHtml;
        const std::string lines = trimmedLines(text);
        body.text += lines;
        body.pieces.push_back(lines.size());
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

BodyText readBody(const Message& message, uint32_t root, bool source) {
    for (const auto choice : {isInText, isInHtml, isOtherText}) {
        BodyText body = readParts(partsOf(message, root, choice), source);
        if (!body.text.empty()) return body;
    }
    BodyText body;
    body.text = trimmedLines(tnefText(message, root, body.warnings));
    body.pieces.push_back(body.text.size());
    return body;
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
