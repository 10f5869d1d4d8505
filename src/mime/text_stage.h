// Decoded content into text: its charset into UTF-8, line ends into LF, flowed lines joined.
#pragma once

#include <string_view>

#include "mime/flowed.h"
#include "mime/output_writer.h"
#include "mime/text_conversion.h"
#include "mime/text_lines.h"

namespace eml {

struct TextForm {
    std::string_view charset;  // label
    bool asciiOnly;            // the charset is to be guessed: 8-bit bytes end the conversion
    bool flowed;
    bool delSp;
};

// UTF-8 text on its way from the conversion to the writer. A sink (bytes/sink.h).
class TextTail {
  public:
    // `block` has `size` bytes and belongs to the caller.
    TextTail(OutputWriter& writer, const TextForm& form, uint8_t* block, size_t size)
        : writer_(writer), block_(block), size_(size), flowedText_(form.delSp), flowed_(form.flowed) {}

    [[nodiscard]] OutputSpan space() const { return {block_, block_ + size_}; }
    void commit(uint8_t* end);
    void finish();

  private:
    void put(uint8_t* begin, uint8_t* end);

    OutputWriter& writer_;
    uint8_t* block_;
    size_t size_;
    LineEnds lineEnds_;
    FlowedText flowedText_;
    bool flowed_;
    uint8_t markLength_ = 0;  // bytes of a byte order mark that have been held back
    bool markPassed_ = false;
};

// A taker of decoded bytes (mime/decoded_bytes.h).
class TextStage {
  public:
    TextStage(const EmlMimeConvert* convert, const TextForm& form, TextTail& tail)
        : conversion_(convert, form.charset), tail_(tail), asciiOnly_(form.asciiOnly) {}

    [[nodiscard]] static bool take(void* stage, std::string_view bytes);
    void finish();

    [[nodiscard]] const ConversionOutcome& outcome() const { return conversion_.outcome(); }
    // 8-bit bytes have ended the conversion.
    [[nodiscard]] bool met8Bit() const { return met8Bit_; }

  private:
    TextConversion conversion_;
    TextTail& tail_;
    bool asciiOnly_;
    bool met8Bit_ = false;
};

}  // namespace eml
