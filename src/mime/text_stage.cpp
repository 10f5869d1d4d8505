#include "mime/text_stage.h"

#include <algorithm>

namespace eml {

namespace {

constexpr uint8_t kByteOrderMark[] = {0xEF, 0xBB, 0xBF};  // in UTF-8

}  // namespace

// A byte order mark at the start is no text.
void TextTail::commit(uint8_t* end) {
    uint8_t* begin = block_;
    while (!markPassed_ && begin < end) {
        if (*begin == kByteOrderMark[markLength_]) {
            ++begin;
            markPassed_ = ++markLength_ == sizeof kByteOrderMark;
            if (markPassed_) markLength_ = 0;
        } else {
            markPassed_ = true;
        }
    }
    if (!markPassed_) return;
    uint8_t held[sizeof kByteOrderMark];
    std::copy(kByteOrderMark, kByteOrderMark + markLength_, held);
    if (markLength_ != 0) put(held, held + markLength_);
    markLength_ = 0;
    put(begin, end);
}

void TextTail::put(uint8_t* begin, uint8_t* end) {
    end = lineEnds_.normalize(begin, end);
    if (flowed_) {
        flowedText_.feed(begin, end, writer_);
    } else {
        writer_.append(begin, end);
    }
}

void TextTail::finish() {
    markPassed_ = true;
    commit(block_);
    if (flowed_) flowedText_.finish(writer_);
    writer_.flush();
}

bool TextStage::take(void* stage, std::string_view bytes) {
    auto& self = *static_cast<TextStage*>(stage);
    if (self.asciiOnly_ && !isAscii(bytes)) {
        self.met8Bit_ = true;
        return false;
    }
    self.conversion_.feed(bytes, false, self.tail_);
    return true;
}

void TextStage::finish() {
    conversion_.feed({}, true, tail_);
    tail_.finish();
}

}  // namespace eml
