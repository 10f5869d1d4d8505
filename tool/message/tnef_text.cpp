#include "tool/message/tnef_text.h"

#include "tool/html/html_text.h"
#include "tool/message/tnef.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

std::string textOf(const TnefContent& content, std::vector<Warning>& warnings, LinkStyle links) {
    if (!content.text.empty()) return content.text;
    HtmlText read = content.html.empty() ? textOfRtf(content.rtf, links) : textOfHtml(content.html, links);
    for (Warning& warning : read.warnings) warnings.push_back(std::move(warning));
    return std::move(read.text);
}

}  // namespace

bool maybeTnef(const emlreader::mime::Part& part) {
    return part.is("application", "ms-tnef") || part.is("application", "vnd.ms-tnef") ||
           lowerCase(part.name()) == "winmail.dat";
}

std::string tnefText(const emlreader::mime::Message& message, uint32_t root, std::vector<Warning>& warnings,
                     LinkStyle links) {
    for (const emlreader::mime::Part& part : message.files(root)) {
        if (!maybeTnef(part) || part.info().body.length > 2 * kMaxTnefSize) continue;
        if (!readsTnef()) return "";
        const std::string bytes = part.bytes();
        const TnefContent content =
            unpackTnef({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
        if (!content.problem.empty()) warnings.push_back({"tnef", part.name() + ": " + content.problem});
        std::string text = textOf(content, warnings, links);
        if (!text.empty()) return text;
    }
    return "";
}

}  // namespace emltool
