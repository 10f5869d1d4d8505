#include "tool/message/rendering.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "standalone/output.h"

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

}  // namespace

Form formOf(emlhost::OpenMessage& message, uint32_t options) {
    BeginningOutput output;
    message.extract(0, output, options);
    if (output.text().starts_with("<html>\r\n<head>")) return Form::kHtml;
    if (output.text().starts_with("{\\rtf1\\ansi\\ansicpg")) return Form::kRtf;
    return Form::kText;
}

}  // namespace emltool
