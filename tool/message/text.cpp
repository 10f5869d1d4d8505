#include "tool/message/text.h"

#include "tool/message/filter_file.h"
#include "tool/message/shown_message.h"
#include "tool/message/signed_message.h"
#include "tool/text/html_text.h"

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

    std::string finish() { return html_ ? linesOfHtml(text_) : std::move(text_); }

  private:
    bool anyLine_ = false;
    bool html_ = false;
    size_t emptyLines_ = 0;  // held back, so that none is at the end
    std::string text_;
};

std::optional<std::string> filterText(MessageFile& file) {
    FilterFile filter(file, false);
    if (filter.isEncrypted()) return std::nullopt;
    Collector collector;
    RecordReader reader(collector);
    filter.read([&](const emlhost::TextRecord& record) {
        reader.take(record);
        return true;
    });
    reader.finish();
    return collector.finish();
}

}  // namespace

std::optional<BodyText> mimeBody(MessageFile& file) {
    std::optional<BodyText> body;
    withMime(file, [&](const emlreader::mime::Message& message) {
        const SignedMessage content(message, 0);
        if (content.isEncrypted()) return;
        body = readBody(content.inside() != nullptr ? *content.inside() : message, 0);
    });
    file.checkReads();
    return body;
}

std::optional<std::string> bodyText(MessageFile& file, Reading reading, std::vector<Warning>& warnings) {
    if (reading != Reading::kMime) return filterText(file);
    std::optional<BodyText> body = mimeBody(file);
    if (!body) return std::nullopt;
    warnings.insert(warnings.end(), body->warnings.begin(), body->warnings.end());
    return std::move(body->text);
}

}  // namespace emltool
