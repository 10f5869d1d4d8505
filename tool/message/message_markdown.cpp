#include "tool/message/message_markdown.h"

#include <algorithm>
#include <emlreader/mime.hpp>

#include "tool/html/markdown.h"
#include "tool/message/mime_fields.h"
#include "tool/message/mime_text.h"
#include "tool/message/signed_message.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

using emlreader::mime::Message;
using emlreader::mime::Part;

// A string in double quotes (YAML 1.2, section 7.3.1).
std::string yamlString(std::string_view text) {
    std::string result = "\"";
    for (size_t at = 0; at < text.size();) {
        const size_t begin = at;
        const char32_t c = nextCharacter(text, at);
        const bool isMarkup = c == '<' || c == '>' || c == '&';
        if (c == '"' || c == '\\') {
            (result += '\\') += static_cast<char>(c);
        } else if (c == kNoCharacter) {
            result += "\\uFFFD";
        } else if (isMarkup || isControl(c) || isDirectionOverride(c) || c == 0xFEFF) {
            result += formatted("\\u{:04X}", static_cast<uint32_t>(c));
        } else {
            result.append(text, begin, at - begin);
        }
    }
    return result + '"';
}

void addLine(std::string& text, std::string_view name, std::string_view value) {
    if (!value.empty()) text += formatted("{}: {}\n", name, yamlString(value));
}

std::string attachmentLines(const std::vector<Part>& files) {
    std::string text;
    for (const Part& part : files) {
        text += formatted("  - name: {}\n    type: {}\n    size: {}\n", yamlString(part.name()),
                          yamlString(part.mediaType()), part.measure().size);
    }
    return text.empty() ? "" : "attachments:\n" + text;
}

std::string frontMatter(const Message& message, const std::vector<Part>& files) {
    std::string text = "---\n";
    const MessageHead head = readHead(message, 0);
    for (const char* const name : {"Subject", "From", "To", "Cc"}) {
        for (const MetadataField& field : head.fields) {
            if (field.name == name) addLine(text, lowerCase(name), field.text.value_or(""));
        }
    }
    if (!head.facts.date.empty()) text += "date: " + head.facts.date + '\n';
    if (const auto field = message.root().field("Message-ID")) {
        const std::vector<std::string> ids = field->ids();
        if (!ids.empty()) addLine(text, "message-id", ids[0]);
    }
    return text + attachmentLines(files) + "---\n";
}

// The text of those that are text, each below its name.
std::string attachedTexts(const std::vector<Part>& files, std::vector<Warning>& warnings) {
    std::string text;
    for (const Part& part : files) {
        if (part.type() != "text") continue;
        Block content;
        Block heading{Block::Kind::kHeading, false, false, 2, {{Inline::Kind::kText, part.name(), ""}}, {}};
        content.blocks.push_back(std::move(heading));
        BodyDocument read = readPartDocument(part);
        content.blocks.push_back(std::move(read.content));
        text += '\n' + markdownOf(content);
        std::move(read.warnings.begin(), read.warnings.end(), std::back_inserter(warnings));
    }
    return text;
}

MarkdownText markdownOfMessage(const Message& message, const Message& content, const MarkdownForm& form) {
    MarkdownText result;
    const std::vector<Part> files = content.files();
    if (!form.bodyOnly) result.text = frontMatter(message, files);
    BodyDocument body = readBodyDocument(content, 0);
    const std::string text = markdownOf(body.content);
    if (!text.empty() && !result.text.empty()) result.text += '\n';
    result.text += text;
    result.hidden = std::move(body.hidden);
    result.warnings = std::move(body.warnings);
    if (form.withAttachments) result.text += attachedTexts(files, result.warnings);
    return result;
}

}  // namespace

std::optional<MarkdownText> messageMarkdown(MessageFile& file, const MarkdownForm& form) {
    std::optional<MarkdownText> result;
    withMime(file, [&](const Message& message) {
        const SignedMessage content(message, 0);
        if (content.isEncrypted()) return;
        result = markdownOfMessage(message, content.inside() != nullptr ? *content.inside() : message, form);
    });
    file.checkReads();
    return result;
}

}  // namespace emltool
