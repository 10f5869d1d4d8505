#include "tool/message/rendering.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

#include "standalone/output.h"
#include "tool/message/mime_fields.h"
#include "tool/message/text.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

// Keeps the beginning of a document.
class BeginningOutput final : public emlhost::Output {
  public:
    BeginningOutput() : Output(Seeking::kAnywhere) {}

    std::string_view text() const { return {buffer_.data(), length_}; }

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        for (uint8_t byte : bytes) {
            if (length_ == buffer_.size()) break;
            buffer_[length_++] = static_cast<char>(byte);
        }
        return 0;
    }

    std::array<char, 32> buffer_{};
    size_t length_ = 0;
};

class Utf8Output final : public emlhost::Output {
  public:
    Utf8Output() : Output(Seeking::kNotAtAll) {}

    bool isValid() const { return check_.isValid(); }

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override try {
        check_.feed({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        return 0;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }

    Utf8Check check_;
};

std::string headerRows(MessageFile& file) {
    std::string rows;
    withMime(file, [&rows](const emlreader::mime::Message& message) {
        for (const MetadataField& field : readMetadata(message, 0)) {
            if (field.text && !field.text->empty()) rows += formatted("{}: {}\r\n", field.name, *field.text);
        }
    });
    return rows + "\r\n";
}

std::string withCrLf(std::string_view text) {
    std::string lines;
    for (const char c : text) {
        if (c == '\n') lines += '\r';
        lines += c;
    }
    return lines;
}

}  // namespace

Form formOf(emlhost::OpenMessage& message, uint32_t options) {
    BeginningOutput output;
    message.extract(0, output, options);
    if (output.text().starts_with("<html>\r\n<head>")) return Form::kHtml;
    if (output.text().starts_with("{\\rtf1\\ansi\\ansicpg")) return Form::kRtf;
    return Form::kText;
}

std::string madeText(MessageFile& file, bool bodyOnly, std::vector<Warning>& warnings) {
    std::optional<BodyText> body = bodyText(file, Reading::kMime);
    if (!body) body.emplace();
    std::move(body->warnings.begin(), body->warnings.end(), std::back_inserter(warnings));
    return (bodyOnly ? "" : headerRows(file)) + withCrLf(body->text);
}

bool isUtf8Form(emlhost::OpenMessage& message, uint32_t options, uint32_t charset) {
    Utf8Output output;
    message.extract(0, output, options, charset);
    return output.isValid() && !output.error();
}

}  // namespace emltool
