#include "support/reference_lines.h"

#include <algorithm>
#include <cctype>

#include "container/container_context.h"
#include "reference/charset.h"
#include "reference/parameters.h"

namespace eml::test {
namespace {

using Text = std::string_view;

bool begins(Text text, Text literal) {
    if (text.size() < literal.size()) return false;
    for (size_t i = 0; i < literal.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != literal[i]) return false;
    }
    return true;
}

bool acceptName(Text& text) { return acceptNoCase(text, "name=") || acceptNoCase(text, "filename="); }

Text withoutBlanks(Text text) { return text.substr(std::min(text.find_first_not_of(" \t"), text.size())); }

std::optional<std::string> delimiter(Text text) {
    std::optional<std::string> value = reference::boundary(text);
    if (value) value->insert(0, "--");
    return value;
}

void takeName(ReferenceSection& section, Text text) {
    if (!section.fileName && acceptName(text)) section.fileName = reference::quotedValue(text);
}

void takeCharset(ReferenceSection& section, Text text) {
    if (section.charset == 0 && begins(text, "charset="))
        section.charset = reference::charsetIdOfParameter(text);
}

void takeBoundary(ReferenceSection& section, Text text) {
    if (section.boundary) return;
    section.boundary = delimiter(text);
    if (section.boundary) section.boundaryLength = static_cast<uint32_t>(section.boundary->size());
}

void partContentType(ReferenceSection& section, Text text) {
    section.contentClass = reference::contentClass(text);
    text = reference::firstParameter(withoutBlanks(text));
    if (isMultipartClass(section.contentClass)) {
        takeBoundary(section, text);
    } else if (section.contentClass == kMessage) {
        section.flags |= EML_SECTION_MESSAGE;
    } else {
        takeCharset(section, text);
        takeName(section, text);
    }
}

}  // namespace

bool acceptNoCase(Text& text, Text literal) {
    if (!begins(text, literal)) return false;
    text.remove_prefix(literal.size());
    return true;
}

void ReferenceTopHeader::takeBoundary(Text text) {
    if (out_.boundary || !isMultipartClass(out_.contentClass)) return;
    out_.boundary = delimiter(text);
    if (out_.boundary) out_.boundaryLength = static_cast<uint32_t>(out_.boundary->size());
}

void ReferenceTopHeader::takeName(Text text) {
    if (!topName_ && acceptName(text)) topName_ = reference::quotedValue(text);
}

void ReferenceTopHeader::continuation(Text text) {
    if (begins(text, "charset=")) out_.charset = reference::charsetIdOfParameter(text);
    takeBoundary(text);
    if (dispositionSeen_) takeName(text);
}

void ReferenceTopHeader::contentType(Text text) {
    out_.contentClass = reference::contentClass(text);
    text = reference::firstParameter(withoutBlanks(text));
    takeBoundary(text);
    if (!isMultipartClass(out_.contentClass) && begins(text, "charset=")) {
        out_.charset = reference::charsetIdOfParameter(text);
    }
}

void ReferenceTopHeader::line(Text text) {
    if (text.empty()) return;
    if (text[0] == ' ' || text[0] == '\t') {
        continuation(withoutBlanks(text));
    } else if (acceptNoCase(text, "content-disposition:")) {
        text = withoutBlanks(text);
        if (!begins(text, "attachment")) return;
        takeName(reference::firstParameter(text));
        dispositionSeen_ = true;
    } else if (acceptNoCase(text, "content-transfer-encoding:")) {
        out_.encoding = reference::transferEncoding(text);
    } else if (acceptNoCase(text, "content-type:")) {
        contentType(text);
    }
}

void referencePartLine(ReferenceSection& section, Text text) {
    if (text.empty()) return;
    if (text[0] == ' ' || text[0] == '\t') {
        text = withoutBlanks(text);
        takeName(section, text);
        takeCharset(section, text);
        takeBoundary(section, text);
    } else if (acceptNoCase(text, "content-disposition:")) {
        text = withoutBlanks(text);
        if (!begins(text, "attachment") && !begins(text, "inline")) return;
        takeName(section, reference::firstParameter(text));
    } else if (acceptNoCase(text, "content-transfer-encoding:")) {
        section.encoding = reference::transferEncoding(text);
    } else if (acceptNoCase(text, "content-type:")) {
        partContentType(section, text);
    }
}

}  // namespace eml::test
