#include "tool/message/rendering.h"

#include <algorithm>
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

// Looks for bytes that are not UTF-8; a character may be cut between two pieces.
class Utf8Check final : public emlhost::Output {
  public:
    Utf8Check() : Output(Seeking::kNotAtAll) {}

    bool isValid() const { return isValid_ && cut_.empty(); }

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override try {
        if (!isValid_) return 0;
        const std::string text = cut_ + std::string(bytes.begin(), bytes.end());
        const size_t whole = text.size() - cutCharacter(text);
        isValid_ = isUtf8(std::string_view(text).substr(0, whole));
        cut_ = text.substr(whole);
        return 0;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }

    // The bytes at the end of `text` that begin a character and lack its end.
    static size_t cutCharacter(std::string_view text) {
        for (size_t back = 1; back <= std::min<size_t>(3, text.size()); ++back) {
            const auto byte = static_cast<unsigned char>(text[text.size() - back]);
            if (byte < 0x80) return 0;
            if (byte >= 0xC0) return back < (byte >= 0xF0 ? 4U : byte >= 0xE0 ? 3U : 2U) ? back : 0;
        }
        return 0;
    }

    bool isValid_ = true;
    std::string cut_;
};

std::string headerRows(MessageFile& file) {
    std::string rows;
    withMime(file, [&rows](const emlreader::mime::Message& message) {
        for (const MetadataField& field : readMetadata(message.part(0))) {
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
    const std::string body = bodyText(file, Reading::kMime, warnings).value_or("");
    return (bodyOnly ? "" : headerRows(file)) + withCrLf(body);
}

bool isUtf8Form(emlhost::OpenMessage& message, uint32_t options, uint32_t charset) {
    Utf8Check check;
    message.extract(0, check, options, charset);
    return check.isValid();
}

}  // namespace emltool
