#include "container/converted_body.h"
#include "container/render.h"
#include "container/render_header.h"
#include "container/row_writer.h"
#include "container/text_stream.h"
#include "container/transfer_decoders.h"
#include "host/block_writer.h"
#include "host/host_text.h"

namespace eml {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

enum class TextForm : uint8_t { kUnchanged, kConverted, kWide };

struct TextWriter {
    EmlContainerContext& context;
    RowWriter& writer;
    TextForm form;
};

// KEPT: a conversion needs both charsets, and two that differ.
TextForm formOf(const EmlContainerContext& context) {
    const uint32_t target = context.extract.outputCharset;
    if (target == 0 || context.charset == 0 || target == context.charset) return TextForm::kUnchanged;
    return target == EML_CHARSET_TEXT_16 ? TextForm::kWide : TextForm::kConverted;
}

ConvertedText convert(TextWriter& text, const uint8_t* bytes, uint32_t length) {
    EmlContainerContext& context = text.context;
    if (text.form == TextForm::kConverted) {
        return convertBetween(*context.services, bytes, length, context.charset,
                              context.extract.outputCharset);
    }
    ConvertedText result{};
    result.bytes = eml2ConvertText(*context.services, bytes, length, context.charset, result.length);
    return result;
}

void writeAscii(TextWriter& text, std::string_view ascii) {
    if (text.form == TextForm::kWide) {
        text.writer.appendWide(ascii);
    } else {
        text.writer.append(ascii);
    }
}

// A label or a separator, followed by a value. When the conversion yields nothing, neither is written: false.
bool writePiece(TextWriter& text, std::string_view lead, Cursor value) {
    const auto length = static_cast<uint32_t>(value.left());
    if (text.form == TextForm::kUnchanged) {
        text.writer.append(lead);
        text.writer.append(value.pos, length);
        return true;
    }
    const ConvertedText converted = convert(text, value.pos, length);
    const bool written = converted.length != 0;
    if (written) {
        writeAscii(text, lead);
        text.writer.append(converted.bytes, converted.length);
        text.context.extract.converted = 1;
    }
    freeBlock(allocatorOf(text.context), converted.bytes);
    return written;
}

// KEPT: the line end that closes the block is an 8-bit one when no name was written, also in 16-bit text.
void writeAttachmentNames(TextWriter& text) {
    bool any = false;
    forEachAttachmentName(text.context, [&](std::string_view name) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(name.data());
        if (writePiece(text, any ? kTextSeparator : kAttachmentsLabel, {bytes, bytes + name.size()}))
            any = true;
    });
    if (!any) {
        text.writer.append(kLineEnd);
        return;
    }
    writeAscii(text, kLineEnd);
    writeAscii(text, kLineEnd);
}

void writeHeaderBlock(TextWriter& text) {
    forEachHeaderRow(text.context, [&](const HeaderRow& row, const Cursor& value) {
        const char* const label = text.form == TextForm::kWide ? row.wideLabel : row.label;
        if (writePiece(text, label, value)) writeAscii(text, kLineEnd);
    });
    writeAttachmentNames(text);
    text.writer.flush();
}

// Text as it is decoded, on its way to the output.
class TextBlocks {
  public:
    explicit TextBlocks(EmlIOobj& output) : output_(output), writer_(output, block_) {}

    [[nodiscard]] OutputSpan space() const { return writer_.space(); }
    void commit(const uint8_t* end) { writer_.commit(end); }
    [[nodiscard]] static bool take() { return true; }

    [[nodiscard]] bool put(const uint8_t* begin, const uint8_t* end) {
        writeFile(output_, begin, static_cast<uint32_t>(end - begin));
        return true;
    }

    void flush() { writer_.flush(); }

  private:
    EmlIOobj& output_;
    uint8_t block_[kOutputBlockSize];
    BlockWriter writer_;
};

EmlResult writeUnchangedBody(EmlContainerContext& context, const EmlSection& body, EmlIOobj& output) {
    TextBlocks blocks(output);
    const EmlResult result = streamText(context, body, blocks);
    blocks.flush();
    return result;
}

// A charset with a state is converted in one piece.
EmlResult writeWholeBody(EmlContainerContext& context, const EmlSection& body, EmlIOobj& output) {
    DecodedBody decoded{};
    const EmlResult result = readDecodedBody(context, body, decoded);
    if (result == EML_OK) {
        const ConvertedText converted = convertBetween(*context.services, decoded.bytes, decoded.length,
                                                       context.charset, context.extract.outputCharset);
        if (converted.length != 0) {
            writeFile(output, converted.bytes, converted.length);
            context.extract.converted = 1;
        }
        freeBlock(allocatorOf(context), converted.bytes);
    }
    releaseDecodedBody(context, decoded);
    return result;
}

// KEPT: the body goes through the conversion between charsets whatever the target, 16-bit text included.
EmlResult writeBody(EmlContainerContext& context, const EmlSection& body, TextForm form, EmlIOobj& output) {
    if (form == TextForm::kUnchanged) return writeUnchangedBody(context, body, output);
    if (!convertsInPieces(context.charset, context.extract.outputCharset))
        return writeWholeBody(context, body, output);
    const EmlResult result = writeConvertedBody(context, body, output);
    context.decoded.release(allocatorOf(context));
    return result;
}

}  // namespace

EmlResult renderText(EmlContainerContext& context, const EmlSection* body, EmlIOobj& output) {
    RowWriter writer(output);
    TextWriter text{context, writer, formOf(context)};
    if (context.extract.bodyOnly == 0) writeHeaderBlock(text);
    writer.flush();
    return body == nullptr ? EML_OK : writeBody(context, *body, text.form, output);
}

}  // namespace eml
