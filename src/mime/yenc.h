// yEnc: each byte plus 42, the few that a line cannot hold after "=" and plus 64 more. Lines "=ybegin", "=ypart" and
// "=yend" frame the data and say how long it is, and what its CRC-32 is.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "bytes/sink.h"
#include "mime/line_splitter.h"
#include "mime/transfer.h"

namespace eml {

// What a line "=ybegin line=128 size=123456 name=..." says; what it leaves out is 0.
struct YencBegin {
    uint64_t lineLength;
    uint64_t size;
    bool inParts;  // "part=": a "=ypart" line follows
};
[[nodiscard]] std::optional<YencBegin> readYencBegin(std::string_view line);

// The number of bytes that a line "=ypart begin=1 end=100000" frames.
[[nodiscard]] std::optional<uint64_t> readYencPart(std::string_view line);

struct YencEnd {
    std::optional<uint64_t> size;
    std::optional<uint64_t> crc;
};
[[nodiscard]] YencEnd readYencEnd(std::string_view line, bool inParts);

// CRC-32 (ISO 3309), continued over the pieces of a text. It begins with 0.
[[nodiscard]] uint32_t continueCrc32(uint32_t crc, const uint8_t* pos, const uint8_t* end);

class YencDecoder : public FilePlace {
  public:
    // With `begun` the data has no "=ybegin" line.
    YencDecoder(const DecodeKernels& kernels, DecodeProblems& problems, bool begun)
        : problems_(problems), lines_(kernels), state_(begun ? State::kData : State::kBefore) {}

    // False after the last byte: no "=ybegin" line has been seen, and nothing was decoded.
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
        if (state_ != State::kData) return;
        problems_.cutOff.note(endPlace());
        checkSize(expected_, endPlace());
    }

  private:
    enum class State : uint8_t { kBefore, kData, kAfter };

    // Lines of yEnc have 128 characters, at most 997. Longer ones are decoded all the same.
    static constexpr size_t kMaxLine = 1024;

    template <class Sink>
    void take(const LinePiece& line, Sink& sink) {
        const bool whole = line.first && line.last;
        if (whole && line.text.starts_with("=y")) return takeKeyword(line);
        if (state_ != State::kData) return noteStray(line);
        std::string_view text = line.text;
        if (whole && isDotStuffed(text)) text.remove_prefix(1);
        decode(text, sink);
        if (line.last) escaped_ = false;
    }

    void takeKeyword(const LinePiece& line);
    void noteStray(const LinePiece& line);
    void checkSize(std::optional<uint64_t> size, uint64_t place);
    [[nodiscard]] bool isDotStuffed(std::string_view line) const;

    template <class Sink>
    void decode(std::string_view text, Sink& sink) {
        const auto* pos = reinterpret_cast<const uint8_t*>(text.data());
        const uint8_t* const end = pos + text.size();
        while (pos < end && !failed_) {
            if (*pos == '=' && !escaped_) {
                escaped_ = true;
                ++pos;
                continue;
            }
            pos = decodeRun(pos, end, sink);
        }
    }

    // Decodes one escaped byte, or the bytes up to the next "=".
    template <class Sink>
    const uint8_t* decodeRun(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        const OutputSpan space = sink.space();
        if (space.begin == space.end) {
            failed_ = true;
            return end;
        }
        const uint8_t shift = escaped_ ? 42 + 64 : 42;
        size_t count = 1;
        if (!escaped_) {
            count = std::min(static_cast<size_t>(end - pos), space.size());
            const void* const equals = std::memchr(pos, '=', count);
            if (equals != nullptr) count = static_cast<size_t>(static_cast<const uint8_t*>(equals) - pos);
        }
        escaped_ = false;
        for (size_t i = 0; i < count; ++i) space.begin[i] = static_cast<uint8_t>(pos[i] - shift);
        crc_ = continueCrc32(crc_, space.begin, space.begin + count);
        size_ += count;
        sink.commit(space.begin + count);
        return pos + count;
    }

    DecodeProblems& problems_;
    LineSplitter<kMaxLine> lines_;
    YencBegin begin_{};
    std::optional<uint64_t> expected_;  // bytes
    uint64_t size_ = 0;                 // decoded so far
    uint32_t crc_ = 0;
    State state_;
    bool escaped_ = false;  // after "="
    bool failed_ = false;
};

}  // namespace eml
