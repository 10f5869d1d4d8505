// The text of HTML, for reading without a browser.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/html/document.h"
#include "tool/html/document_text.h"
#include "tool/terminal/problem.h"

namespace emltool {

// Whether a text that begins with this line is HTML.
bool looksLikeHtml(std::string_view firstLine);

// HTML as a document; or, if it cannot be read, its source, line by line, and a warning.
struct ReadHtml {
    Block content;
    std::string hidden;  // what nobody sees, line by line (html_document.h)
    std::vector<Warning> warnings;
};

// `html` is UTF-8.
ReadHtml htmlDocument(std::string_view html);

struct HtmlText {
    std::string text;  // each line with its LF
    std::string hidden;
    std::vector<Warning> warnings;
};

HtmlText textOfHtml(std::string_view html, LinkStyle links = LinkStyle::kFootnotes);

// The text of RTF: of the HTML that it was made from, if it was. Empty if `rtf` is not RTF.
HtmlText textOfRtf(std::span<const uint8_t> rtf, LinkStyle links = LinkStyle::kFootnotes);

}  // namespace emltool
