// The field of an mbox that says how long the body of a message is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace emltool {

// What the header of one message says. A message may say anything, so what it says is believed only if
// isMessageEnd finds an end there.
class ContentLength {
  public:
    // A line of the header, or the beginning of a long one.
    void takeLine(std::string_view line);

    // Nothing if there is no such field, or two, or one that is no number.
    std::optional<uint64_t> value() const { return fields_ == 1 ? value_ : std::nullopt; }

  private:
    unsigned fields_ = 0;  // 2 stands for more
    std::optional<uint64_t> value_;
};

// As many bytes tell whether a message ends.
constexpr size_t kEndSeen = 131;

// Whether a message may end after the first byte of `text`. Then nothing follows, or a line with a postmark, and an
// empty line may be before that. `text` has kEndSeen bytes, or all that there are.
bool isMessageEnd(std::string_view text);

}  // namespace emltool
