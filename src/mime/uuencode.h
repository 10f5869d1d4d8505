// Uuencode, line by line: a character that counts bytes, then three bytes in four characters (POSIX uuencode).
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "bytes/sink.h"
#include "mime/line_splitter.h"
#include "mime/transfer.h"

namespace eml {

// What follows "begin" and the mode: the name, which may be empty. Nothing when the line is no first line.
[[nodiscard]] std::optional<std::string_view> afterUuencodeMode(std::string_view line);

// How long a line must be for the bytes that it counts.
struct UuencodeLength {
    uint32_t bytes;   // 0 to 63
    uint32_t needed;  // characters that hold them
    uint32_t full;    // the same in whole groups
};

// Characters that may follow the last group: a checksum, or what a sender fills up with.
inline constexpr uint32_t kUuencodeExtra = 4;

// The line is not empty, and has the characters of uuencode.
[[nodiscard]] UuencodeLength uuencodeLength(std::string_view line);

// Blank to "`": all that uuencode has.
[[nodiscard]] bool hasUuencodeCharacters(std::string_view line);

// The bytes of a line; what it lacks counts as blanks. The line is as for uuencodeLength.
struct UuencodeBytes {
    std::array<uint8_t, 64> bytes;
    uint32_t count;
};
[[nodiscard]] UuencodeBytes decodeUuencode(std::string_view line);

// Whether the line has more or fewer characters than its bytes take. One more is a checksum, and blanks fill up.
[[nodiscard]] bool isUuencodeLengthWrong(std::string_view line);

class UuencodeDecoder : public FilePlace {
  public:
    // With `begun` the data has no "begin" line.
    UuencodeDecoder(const DecodeKernels& kernels, DecodeProblems& problems, bool begun)
        : problems_(problems), lines_(kernels), state_(begun ? State::kData : State::kBefore) {}

    // False after the last byte: no "begin" line has been seen, and nothing was decoded.
    [[nodiscard]] bool begun() const { return state_ != State::kBefore; }

    [[nodiscard]] bool ended() const { return failed_; }

    template <class Sink>
    void feed(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        beginPiece(pos);
        lines_.feed(pos, end, placeOf(pos), [&](const LinePiece& line) { take(line, sink); });
        endPiece(end);
    }

    template <class Sink>
    void finish(Sink& sink) {
        lines_.finish([&](const LinePiece& line) { take(line, sink); });
        if (state_ == State::kData) problems_.cutOff.note(endPlace());
    }

  private:
    enum class State : uint8_t { kBefore, kData, kAfter };

    // No line of uuencode is longer than this, but what a sender appends.
    static constexpr size_t kMaxLine = 256;

    template <class Sink>
    void take(const LinePiece& line, Sink& sink) {
        if (!line.first || isBlankLine(line)) return;
        if (state_ == State::kBefore) {
            if (line.last && afterUuencodeMode(line.text).has_value()) {
                state_ = State::kData;
            } else {
                problems_.uuencodeLine.note(line.place);
            }
        } else if (state_ == State::kAfter) {
            problems_.uuencodeLine.note(line.place);
        } else {
            takeData(line, sink);
        }
    }

    template <class Sink>
    void takeData(const LinePiece& line, Sink& sink) {
        if (line.last && isEnd(line.text)) {
            state_ = State::kAfter;
            return;
        }
        if (!line.last || !hasUuencodeCharacters(line.text)) {
            problems_.uuencodeLine.note(line.place);
            return;
        }
        if (isUuencodeLengthWrong(line.text)) problems_.uuencodeLine.note(line.place);
        const UuencodeBytes decoded = decodeUuencode(line.text);
        for (uint32_t i = 0; i < decoded.count && !failed_; ++i) {
            if (!putByte(sink, decoded.bytes[i])) failed_ = true;
        }
    }

    [[nodiscard]] static bool isBlankLine(const LinePiece& line);
    [[nodiscard]] static bool isEnd(std::string_view line);

    DecodeProblems& problems_;
    LineSplitter<kMaxLine> lines_;
    State state_;
    bool failed_ = false;
};

}  // namespace eml
