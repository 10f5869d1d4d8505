#include "tool/message/text.h"

#include "tool/html/html_text.h"
#include "tool/message/filter_file.h"
#include "tool/message/shown_message.h"
#include "tool/message/signed_message.h"

namespace emltool {

namespace {

class Collector final : public MessageReader {
  public:
    void field(std::string_view, std::string_view) override {}
    void bodyBegins() override {}

    void line(std::string_view text) override {
        bool isEmpty = text.find_first_not_of(" \t\r") == std::string_view::npos;
        if (isEmpty && !anyLine_) return;
        if (!anyLine_) html_ = looksLikeHtml(text);
        anyLine_ = true;
        if (isEmpty && !html_) {
            ++emptyLines_;
            return;
        }
        text_.append(emptyLines_, '\n').append(text) += '\n';
        emptyLines_ = 0;
    }

    BodyText finish(LinkStyle links) {
        if (!html_) return {std::move(text_), false, "", {}, {}};
        HtmlText read = textOfHtml(text_, links);
        return {std::move(read.text), true, std::move(read.hidden), {}, std::move(read.warnings)};
    }

  private:
    bool anyLine_ = false;
    bool html_ = false;
    size_t emptyLines_ = 0;  // held back, so that none is at the end
    std::string text_;
};

std::optional<BodyText> filterText(MessageFile& file, LinkStyle links) {
    FilterFile filter(file, false);
    if (filter.isEncrypted()) return std::nullopt;
    Collector collector;
    RecordReader reader(collector);
    filter.read([&](const emlhost::TextRecord& record) {
        reader.take(record);
        return true;
    });
    reader.finish();
    return collector.finish(links);
}

// Calls `read` with the message that holds the content; not if that is encrypted.
template <typename Read>
void withContent(MessageFile& file, Read read) {
    withMime(file, [&](const emlreader::mime::Message& message) {
        const SignedMessage content(message, 0);
        if (content.isEncrypted()) return;
        read(content.inside() != nullptr ? *content.inside() : message);
    });
    file.checkReads();
}

std::optional<BodyText> mimeText(MessageFile& file, LinkStyle links) {
    std::optional<BodyText> body;
    withContent(file, [&](const emlreader::mime::Message& message) {
        body = readBody(message, 0, {false, links});
    });
    return body;
}

}  // namespace

std::optional<BodyText> bodyText(MessageFile& file, Reading reading, LinkStyle links) {
    return reading == Reading::kMime ? mimeText(file, links) : filterText(file, links);
}

std::optional<std::string> bodyHtml(MessageFile& file) {
    std::optional<std::string> html;
    withContent(file, [&](const emlreader::mime::Message& message) { html = readHtmlSource(message, 0); });
    return html;
}

}  // namespace emltool
