#include "mime/opened_mime.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace eml::test {

std::string_view viewOf(const EmlMimeText& text) { return {text.text, text.length}; }

std::string_view at(const EmlMimeSpan& span, std::string_view message) {
    return message.substr(static_cast<size_t>(span.offset), static_cast<size_t>(span.length));
}

std::string visible(std::string_view bytes) {
    std::string out;
    for (const char character : bytes) {
        const auto byte = static_cast<uint8_t>(character);
        if (character == '\n') {
            out += "\\n";
        } else if (character == '\r') {
            out += "\\r";
        } else if (byte < 32 || byte == 127) {
            char code[8];
            (void)std::snprintf(code, sizeof code, "\\x%02X", byte);
            out += code;
        } else {
            out += character;
        }
    }
    return out;
}

EmlMimePart OpenedMime::part(uint32_t number) const {
    EmlMimePart part{};
    EXPECT_EQ(emlMimeGetPart(context_, number, &part, sizeof part), EML_OK);
    return part;
}

std::string OpenedMime::name(uint32_t number) const {
    EmlMimeText name{};
    EXPECT_EQ(emlMimeGetName(context_, number, &name), EML_OK);
    return std::string(viewOf(name));
}

std::string OpenedMime::field(uint32_t part, const char* name) const {
    uint32_t index = 0;
    EXPECT_EQ(emlMimeFindField(context_, part, name, 0, &index), EML_OK);
    if (index == EML_MIME_NONE) return "(none)";
    EmlMimeText text{};
    EXPECT_EQ(emlMimeFieldText(context_, part, index, &text), EML_OK);
    return std::string(viewOf(text));
}

std::string OpenedMime::content(uint32_t part, uint32_t form) {
    MemoryOutput output(host_);
    EmlMimeContent content{};
    const EmlResult result = emlMimeExtract(context_, part, form, &output.object(), &content);
    if (result != EML_OK) return "(code " + std::to_string(result) + ")";
    EXPECT_EQ(content.size, output.bytes().size());
    EXPECT_EQ(output.sizeField(), content.size);
    return output.bytes();
}

std::string OpenedMime::tree(std::string_view message) const {
    if (context_ == nullptr) return "(code " + std::to_string(result_) + ")";
    std::string out;
    std::string closing;  // of the parts that are open, innermost last
    uint32_t depth = 0;
    for (uint32_t i = 0; i < emlMimePartCount(context_); ++i) {
        const EmlMimePart part = this->part(i);
        for (; i > 0 && depth >= part.depth; --depth) {
            out += closing.back();
            closing.pop_back();
        }
        if (part.ordinal > 1) out += "; ";
        depth = part.depth;
        out += std::string(viewOf(part.type)) + "/" + std::string(viewOf(part.subtype));
        if (part.name.text != nullptr) out += "=" + std::string(viewOf(part.name));
        const bool isMessage = (part.flags & EML_MIME_PART_MESSAGE) != 0;
        const bool isMultipart = (part.flags & EML_MIME_PART_MULTIPART) != 0;
        if (!isMessage && !isMultipart) {
            out += "\"" + visible(at(part.body, message)) + "\"";
        }
        const bool isText = !isMessage && !isMultipart;
        out += isMessage ? "(" : isMultipart ? "{" : part.childCount > 0 ? "[" : "";
        closing += isMessage ? ')' : isText && part.childCount > 0 ? ']' : isMultipart ? '}' : '\0';
    }
    for (; !closing.empty(); closing.pop_back()) out += closing.back();
    std::erase(out, '\0');
    return out;
}

std::string OpenedMime::defects() const {
    std::string out;
    for (uint32_t i = 0; i < emlMimeDefectCount(context_); ++i) {
        EmlMimeDefect defect{};
        EXPECT_EQ(emlMimeGetDefect(context_, i, &defect), EML_OK);
        if (!out.empty()) out += ' ';
        out += emlMimeDefectName(defect.code) + ("@" + std::to_string(defect.part));
    }
    return out;
}

std::string OpenedMime::roles() const {
    std::string out;
    for (uint32_t i = 0; i < emlMimePartCount(context_); ++i) {
        const uint32_t roles = part(i).roles;
        if (!out.empty()) out += ' ';
        if ((roles & EML_MIME_ROLE_TEXT_BODY) != 0) out += 'T';
        if ((roles & EML_MIME_ROLE_HTML_BODY) != 0) out += 'H';
        if ((roles & EML_MIME_ROLE_ATTACHMENT) != 0) out += 'A';
        if (roles == 0) out += '-';
    }
    return out;
}

std::string OpenedMime::spanProblems(std::string_view message) const {
    uint64_t at = 0;
    for (uint32_t i = 0; i < emlMimeSpanCount(context_); ++i) {
        EmlMimeSpanInfo info{};
        EXPECT_EQ(emlMimeGetSpan(context_, i, &info), EML_OK);
        const std::string where = "span " + std::to_string(i) + ": ";
        if (info.span.offset != at) return where + "does not begin where the last one ends";
        if (info.span.length == 0) return where + "is empty";
        if (info.part >= emlMimePartCount(context_)) return where + "belongs to no part";
        at += info.span.length;
    }
    return at == message.size() ? "" : "the spans end at " + std::to_string(at);
}

std::string OpenedMime::spans() const {
    std::string out;
    for (uint32_t i = 0; i < emlMimeSpanCount(context_); ++i) {
        EmlMimeSpanInfo info{};
        EXPECT_EQ(emlMimeGetSpan(context_, i, &info), EML_OK);
        if (!out.empty()) out += ' ';
        out += "phnbdcre"[info.kind] + std::to_string(info.span.length);
    }
    return out;
}

}  // namespace eml::test
