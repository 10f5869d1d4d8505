// The input as lines, in one forward pass through one block. A line ends with LF, CR LF or CR. A line that does not
// fit in the block comes in pieces.
#pragma once

#include <string_view>

#include "bytes/ascii.h"
#include "mime/mime_context.h"

namespace eml {

struct MimeLine {
    std::string_view text;  // without the line end
    uint64_t offset;        // of its first byte in the file
    uint32_t endLength;     // bytes of the line end; 0 at the end of the file and between pieces of a line
    bool starts;            // not the later piece of a line
    bool ends;              // the line is complete: its end was found, or the file ends
    bool endsInCr;          // the line end is CR alone
    bool hasNul;

    // Where its line end begins, and where the next line does.
    [[nodiscard]] uint64_t textEnd() const { return offset + text.size(); }
    [[nodiscard]] uint64_t next() const { return offset + text.size() + endLength; }
    [[nodiscard]] bool isEmpty() const { return text.empty() && starts; }
};

class LineReader {
  public:
    explicit LineReader(EmlMimeContext& context)
        : context_(context), pos_(context.block), end_(context.block) {}

    // The next line or piece; valid until the next call. False at the end of the data, and when the host has ended
    // the call.
    [[nodiscard]] bool next(MimeLine& line) {
        const uint8_t* zero = nullptr;
        const uint8_t* stop = context_.kernels->findLineEnd(pos_, end_, zero);
        // A CR at the end of what is there may be half a line end.
        if (end_ - stop <= (atEnd_ ? 0 : 1)) return nextAtBlockEnd(line);
        give(stop, zero, line);
        return true;
    }

    // Passes over whole lines of a body that no rule has anything to say about: at most 998 bytes without NUL, not
    // beginning like a delimiter or a file inside text, ended by CR LF, or by LF where `lfIsOrdinary`. `textEnd`
    // becomes where the line end of the last one begins.
    void skipOrdinaryLines(bool lfIsOrdinary, uint64_t& textEnd);

    // Of the next line in the file.
    [[nodiscard]] uint64_t offset() const { return offset_; }

    // EML_OK, or EML_MIME_CANCELLED.
    [[nodiscard]] EmlResult result() const { return result_; }

  private:
    // Gives the line up to `stop`, which is a line end or the end of the data.
    void give(const uint8_t* stop, const uint8_t* zero, MimeLine& line) {
        line.text = {reinterpret_cast<const char*>(pos_), static_cast<size_t>(stop - pos_)};
        line.offset = offset_;
        line.hasNul = zero < stop;
        line.starts = starts_;
        const bool cr = stop < end_ && *stop == kCr;
        const bool crLf = cr && stop + 1 < end_ && stop[1] == kLf;
        line.endLength = stop == end_ ? 0 : crLf ? 2 : 1;
        line.endsInCr = cr && !crLf;
        line.ends = line.endLength != 0 || atEnd_;
        starts_ = line.ends;
        offset_ += line.text.size() + line.endLength;
        pos_ = stop + line.endLength;
    }

    [[nodiscard]] bool nextAtBlockEnd(MimeLine& line);
    [[nodiscard]] bool refill();

    EmlMimeContext& context_;
    const uint8_t* pos_;
    const uint8_t* end_;
    uint64_t offset_ = 0;  // of pos_ in the file
    bool starts_ = true;
    bool atEnd_ = false;  // nothing follows what is in the block
    EmlResult result_ = EML_OK;
};

}  // namespace eml
