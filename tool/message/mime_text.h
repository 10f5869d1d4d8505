// The text of a message, as the MIME reader has it.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tool/html/document.h"
#include "tool/html/document_text.h"
#include "tool/terminal/problem.h"
#include "tool/text/text_spans.h"

namespace emltool {

// A part of type text as UTF-8, by the charset that it names, or else by the one that HTML names in a <meta>,
// or else by its letters. Lines end with LF; those of format=flowed are joined, unless they are wanted `asSent`.
std::string textOfPart(const emlreader::mime::Part& part, bool asSent = false);

// The parts that are the text of the message whose root is `root`, in order; some may be HTML.
std::vector<emlreader::mime::Part> textParts(const emlreader::mime::Message& message, uint32_t root);

// Bytes of those parts, decoded; nothing if there are none.
std::optional<uint64_t> textSize(const std::vector<emlreader::mime::Part>& parts);

// The charset that the first of those parts names, in lower case; empty if it names none.
std::string charsetOf(const std::vector<emlreader::mime::Part>& parts);

struct TextForm {
    bool source = false;  // HTML as it stands, and lines of format=flowed as they were sent
    LinkStyle links = LinkStyle::kFootnotes;
};

struct BodyText {
    std::string text;            // UTF-8, each line with its LF; without empty lines at both ends
    bool isFromHtml = false;     // all of it
    std::string hidden;          // what is in its HTML, but not to be seen; each line with its LF
    std::vector<size_t> pieces;  // how many bytes of it come from each part, in order
    std::vector<Warning> warnings;
};

// The text as a person reads it. If the plain text of a message says nothing, its HTML; without that, text of other
// types, and at last what is in its TNEF.
BodyText readBody(const emlreader::mime::Message& message, uint32_t root, const TextForm& form = {});

// The same as a document; `links` means nothing to it.
struct BodyDocument {
    Block content;
    std::string hidden;
    std::vector<Warning> warnings;
};
BodyDocument readBodyDocument(const emlreader::mime::Message& message, uint32_t root);

// The same of one part.
BodyDocument readPartDocument(const emlreader::mime::Part& part);

// The HTML of its text as it was sent, but as UTF-8; empty without any. Nothing in it is made harmless.
std::string readHtmlSource(const emlreader::mime::Message& message, uint32_t root);

// Which lines of it are the sender's own. Each part is looked at alone: a signature ends with its part.
std::vector<TextSpan> spansOf(const BodyText& body);

}  // namespace emltool
