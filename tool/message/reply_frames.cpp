#include "tool/message/reply_frames.h"

#include <cstring>

#include "standalone/write_all.h"

namespace emltool {

bool ReplyPieces::take(uint64_t count, std::span<const uint8_t>& piece) {
    if (count > rest_.size()) return false;
    piece = rest_.first(static_cast<size_t>(count));
    rest_ = rest_.subspan(static_cast<size_t>(count));
    return true;
}

bool ReplyPieces::take(uint64_t count, std::string_view& text) {
    std::span<const uint8_t> piece;
    if (!take(count, piece)) return false;
    text = {reinterpret_cast<const char*>(piece.data()), piece.size()};
    return true;
}

bool ReplyPieces::take(ReplyFrame& frame) {
    std::span<const uint8_t> piece;
    if (!take(sizeof frame, piece)) return false;
    std::memcpy(&frame, piece.data(), sizeof frame);
    return true;
}

void ReplyWriter::put(const ReplyFrame& frame) {
    put(std::span(reinterpret_cast<const uint8_t*>(&frame), sizeof frame));
}

void ReplyWriter::put(std::span<const uint8_t> bytes) {
    failed_ = failed_ || emlhost::writeAll(descriptor_, bytes) != 0;
}

void ReplyWriter::put(std::string_view text) {
    put(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

}  // namespace emltool
