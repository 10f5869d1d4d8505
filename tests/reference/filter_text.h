// The message filter's text once more: the decoders of bodies, the step that turns bytes into records, the
// drain of staged records, and the calls that fill a host's buffers. Slow, one rule after the other. Held
// against the real ones.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace reference {

// Records of the stream.
[[nodiscard]] std::string word(uint32_t value);
[[nodiscard]] std::string textRecord(std::string_view text);
[[nodiscard]] std::string tabRecord();
[[nodiscard]] std::string lineBreakRecord();
[[nodiscard]] std::string charsetRecord(uint32_t charset);

// The decoders of text output.
[[nodiscard]] std::string filterQuotedPrintable(std::string_view body);
[[nodiscard]] std::string filterBase64(std::string_view body);

// A value that is gathered as plain bytes. `zeroAfter`: a zero byte follows it.
[[nodiscard]] std::string fieldText(std::string_view bytes, bool zeroAfter = true);

// A host's buffer.
struct Buffer {
    size_t capacity;
    size_t limit;  // full from here on
    std::string bytes;
    bool full = false;  // the step stopped since the buffer is full, or a record did not fit
};

[[nodiscard]] Buffer bufferOf(size_t capacity);

// Turns the bytes of `rest` into records until it is empty or the buffer is full; what is left stays in
// `rest`. Gives what the rule of the single last byte took.
std::string convert(std::string& rest, Buffer& buffer);

// Moves staged records into `buffer`, which is empty. True when some remain to be delivered.
[[nodiscard]] bool drain(std::string& staged, Buffer& buffer);

// A conversion, call by call.
class StreamModel {
  public:
    // `chunks`: the body in the pieces in which it becomes text: one piece for each read, or all that a
    // decoder gave.
    StreamModel(std::string staged, uint32_t charset, std::deque<std::string> chunks);

    // The bytes that the next call gives.
    [[nodiscard]] std::string fill(size_t capacity);

    [[nodiscard]] uint32_t progress() const { return progress_; }

    // What the rule of the single last byte has taken, and how many bytes it took elsewhere than at the end
    // of a chunk that is whole.
    [[nodiscard]] const std::string& dropped() const { return dropped_; }

    // The text that the conversion stands for, with what was dropped left out: a line break is "\n".
    [[nodiscard]] const std::string& shown() const { return shown_; }

  private:
    bool startBody(Buffer& buffer);
    void step(Buffer& buffer);

    std::string staged_;
    uint32_t charset_;
    std::deque<std::string> chunks_;
    uint64_t bodyLength_ = 0;
    uint64_t converted_ = 0;
    uint32_t progress_ = 0;
    bool inBody_ = false;
    std::string rest_;
    std::string dropped_;
    std::string shown_;
};

}  // namespace reference
