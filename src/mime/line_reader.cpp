#include "mime/line_reader.h"

#include <cstring>

#include "host/host_file.h"
#include "mime/body_reader.h"

namespace eml {

// The block ends before the line does: the beginning of the line moves to the front of the block, and what follows is
// read after it.
bool LineReader::nextAtBlockEnd(MimeLine& line) {
    if (!atEnd_ && !refill()) return false;
    if (pos_ == end_) return false;
    const uint8_t* zero = nullptr;
    const uint8_t* stop = context_.kernels->findLineEnd(pos_, end_, zero);
    // A full block without a line end: a piece of a line. A CR at its end stays for the next piece, which shows
    // whether LF follows.
    if (!atEnd_ && stop == end_ - 1 && *stop == kCr) {
        end_ = stop;
        give(stop, zero, line);
        ++end_;
        line.ends = false;
        starts_ = false;
        return true;
    }
    give(stop, zero, line);
    return true;
}

void LineReader::skipOrdinaryLines(bool lfIsOrdinary, uint64_t& textEnd) {
    constexpr size_t kMaxLine = 998;  // RFC 5322 section 2.1.1
    if (!starts_) return;
    const uint8_t* pos = pos_;
    // Two bytes more are there than the line end begins at: what ends the line is seen whole.
    while (end_ - pos > 2) {
        if (*pos == '-' || *pos == 'b' || *pos == '=') break;
        const uint8_t* zero = nullptr;
        const uint8_t* const stop = context_.kernels->findLineEnd(pos, end_, zero);
        if (end_ - stop < 2 || zero != stop || static_cast<size_t>(stop - pos) > kMaxLine) break;
        const bool crLf = stop[0] == kCr && stop[1] == kLf;
        if (!crLf && (*stop == kCr || !lfIsOrdinary)) break;
        textEnd = offset_ + static_cast<uint64_t>(stop - pos_);
        pos = stop + (crLf ? 2 : 1);
    }
    offset_ += static_cast<uint64_t>(pos - pos_);
    pos_ = pos;
}

// Fills the block as far as the input goes. Short reads are not the end; a read that gives nothing is.
bool LineReader::refill() {
    const auto kept = static_cast<size_t>(end_ - pos_);
    if (kept != 0) std::memmove(context_.block, pos_, kept);
    auto filled = static_cast<uint32_t>(kept);
    while (filled < kMimeBlockSize) {
        const uint32_t count = readFile(*context_.input, context_.block + filled, kMimeBlockSize - filled);
        if (count == 0) {
            atEnd_ = true;
            break;
        }
        filled += count;
    }
    pos_ = context_.block;
    end_ = pos_ + filled;
    if (reportProgress(context_, offset_ + filled)) return true;
    result_ = EML_MIME_CANCELLED;
    return false;
}

}  // namespace eml
