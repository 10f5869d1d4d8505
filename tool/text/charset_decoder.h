// Text in any charset that mail has a label for, as UTF-8.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace emltool {

// Reads any number of texts in one charset.
class CharsetDecoder {
  public:
    explicit CharsetDecoder(std::string_view label);

    // False if nobody knows the label; then decode() may not be called.
    bool known() const { return conversion_ != nullptr; }

    // A whole text. What belongs to no character becomes U+FFFD, and is added to `replaced`.
    std::string decode(std::string_view bytes);
    uint64_t replaced() const { return replaced_; }

  private:
    struct Closer {
        void operator()(void* conversion) const;
    };

    std::unique_ptr<void, Closer> conversion_;
    uint64_t replaced_ = 0;
};

// One text; nothing for a label that nobody knows.
std::optional<std::string> toUtf8(std::string_view bytes, std::string_view label);

}  // namespace emltool
