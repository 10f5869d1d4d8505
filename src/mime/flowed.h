// format=flowed (RFC 3676 sections 4.1 to 4.5): lines that flow are joined, in pieces of any size.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "bytes/ascii.h"
#include "bytes/sink.h"

namespace eml {

// Takes text whose lines end in LF. A line that ends in a blank flows into the next one of the same quote depth;
// with `delSp` that blank is dropped. A space in front of a line, after its quote marks, is stuffing. "-- " alone
// is a signature's separator and joins nothing. Each line of a quote begins with ">" for each level, and a blank.
class FlowedText {
  public:
    explicit FlowedText(bool delSp) : delSp_(delSp) {}

    // The sink has failed.
    [[nodiscard]] bool ended() const { return failed_; }

    template <class Sink>
    void feed(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        while (pos < end && !failed_) pos = step(pos, end, sink);
    }

    template <class Sink>
    void finish(Sink& sink) {
        if (state_ == State::kQuote && depth_ == 0) {
            if (lineEndHeld_) put(kLf, sink);
            return;
        }
        endLine(sink);
        state_ = State::kQuote;
    }

  private:
    enum class State : uint8_t {
        kQuote,      // at the start of a line: its quote marks are counted
        kSeparator,  // what may be "-- " is held back
        kText,
    };

    // Looks at one byte, or at a whole run. Gives the position after what was used.
    template <class Sink>
    const uint8_t* step(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        if (state_ == State::kText) return copyText(pos, end, sink);
        if (state_ == State::kQuote) {
            if (*pos == '>') {
                ++depth_;
                return pos + 1;
            }
            state_ = State::kSeparator;
            return *pos == ' ' ? pos + 1 : pos;
        }
        if (held_ < kSeparatorLength && *pos == static_cast<uint8_t>(kSeparator[held_])) {
            ++held_;
            return pos + 1;
        }
        if (*pos == kLf) {
            endLine(sink);
            lineEndHeld_ = true;
            return pos + 1;
        }
        beginText(sink);
        return pos;
    }

    // The line is no separator: what was held back is text.
    template <class Sink>
    void beginText(Sink& sink) {
        beginLine(lineFlows_ && depth_ == paragraphDepth_, sink);
        for (uint32_t i = 0; i < held_; ++i) putText(static_cast<uint8_t>(kSeparator[i]), sink);
        held_ = 0;
        state_ = State::kText;
    }

    // The end of a line, or of the text.
    template <class Sink>
    void endLine(Sink& sink) {
        const bool separator = state_ != State::kText && held_ == kSeparatorLength;
        if (separator) {
            beginLine(false, sink);
            putText('-', sink);
            putText('-', sink);
            putText(' ', sink);
            held_ = 0;
        } else if (state_ != State::kText) {
            beginText(sink);
        }
        lineFlows_ = blankHeld_ && !separator;
        if (blankHeld_ && !(lineFlows_ && delSp_)) put(' ', sink);
        blankHeld_ = false;
        lineEndHeld_ = false;
        paragraphDepth_ = depth_;
        depth_ = 0;
        state_ = State::kQuote;
    }

    // Ends the line before unless this one is joined to it.
    template <class Sink>
    void beginLine(bool joined, Sink& sink) {
        const bool lineBefore = lineEndHeld_;
        lineEndHeld_ = false;
        if (joined && lineBefore) return;
        if (lineBefore) put(kLf, sink);
        for (uint64_t i = 0; i < depth_; ++i) put('>', sink);
        if (depth_ != 0) put(' ', sink);
    }

    template <class Sink>
    const uint8_t* copyText(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        const void* const found = std::memchr(pos, kLf, static_cast<size_t>(end - pos));
        const uint8_t* const lineEnd = found != nullptr ? static_cast<const uint8_t*>(found) : end;
        if (lineEnd != pos) copyRun(pos, lineEnd, sink);
        if (lineEnd == end) return end;
        endLine(sink);
        lineEndHeld_ = true;
        return lineEnd + 1;
    }

    // The last blank is held back: the line may end there.
    template <class Sink>
    void copyRun(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        if (blankHeld_) put(' ', sink);
        blankHeld_ = end[-1] == ' ';
        if (blankHeld_) --end;
        while (pos < end && !failed_) {
            const OutputSpan space = sink.space();
            const size_t count = std::min(static_cast<size_t>(end - pos), space.size());
            if (count == 0) {
                failed_ = true;
                return;
            }
            std::memcpy(space.begin, pos, count);
            sink.commit(space.begin + count);
            pos += count;
        }
    }

    template <class Sink>
    void putText(uint8_t byte, Sink& sink) {
        copyRun(&byte, &byte + 1, sink);
    }

    template <class Sink>
    void put(uint8_t byte, Sink& sink) {
        if (!failed_ && !putByte(sink, byte)) failed_ = true;
    }

    static constexpr char kSeparator[] = "-- ";
    static constexpr uint32_t kSeparatorLength = 3;

    uint64_t depth_ = 0;  // quote marks of this line
    uint64_t paragraphDepth_ = 0;
    uint32_t held_ = 0;  // bytes of the separator that are held back
    State state_ = State::kQuote;
    bool delSp_;
    bool lineFlows_ = false;    // the line before ends in a blank
    bool lineEndHeld_ = false;  // the line end before this line has not been written
    bool blankHeld_ = false;    // a blank that may end the line has not been written
    bool failed_ = false;
};

}  // namespace eml
