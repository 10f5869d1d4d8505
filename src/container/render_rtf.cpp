#include "bytes/fixed_text.h"
#include "container/render.h"
#include "container/render_header.h"
#include "container/row_writer.h"
#include "container/rtf_body.h"
#include "container/transfer_decoders.h"

namespace eml {

namespace {

struct CodePage {
    uint32_t charset;
    uint16_t ansiCodePage;
    uint8_t fontCharset;
};

constexpr CodePage kWestern = {EML_CHARSET_WESTERN, 1252, 0};

// A charset that is not listed is written as Western. KEPT: only the four East Asian code pages have a font
// charset.
constexpr CodePage kCodePages[] = {
    {EML_CHARSET_SHIFT_JIS, 932, 128},
    {EML_CHARSET_GB2312, 936, 134},
    {EML_CHARSET_BIG5, 950, 136},
    {EML_CHARSET_KSC_5601, 949, 129},
    {EML_CHARSET_CENTRAL_EUROPE, 1250, 0},
    {EML_CHARSET_CYRILLIC, 1251, 0},
    kWestern,
    {EML_CHARSET_GREEK, 1253, 0},
    {EML_CHARSET_TURKISH, 1254, 0},
    {EML_CHARSET_HEBREW, 1255, 0},
    {EML_CHARSET_ARABIC, 1256, 0},
    {EML_CHARSET_BALTIC, 1257, 0},
    {EML_CHARSET_VIETNAMESE, 1258, 0},
};

CodePage codePageOf(uint32_t charset) {
    for (const CodePage& page : kCodePages) {
        if (page.charset == charset) return page;
    }
    return kWestern;
}

bool isLeadByte(EmlContainerContext& context, uint8_t byte) {
    EmlHostServices& services = *context.services;
    return services.isLeadByte != nullptr && services.isLeadByte(&services, byte, context.charset) != 0;
}

void writeHex(RowWriter& writer, uint8_t byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    const char text[] = {'\\', '\'', kDigits[byte >> 4], kDigits[byte & 0x0F]};
    writer.append({text, sizeof text});
}

// Two-byte characters are written as two hex escapes, and characters with a meaning in RTF get a backslash.
// Every other byte, including those from 0x80 on, is written unchanged.
void writeEscaped(EmlContainerContext& context, RowWriter& writer, Cursor text) {
    for (; !text.atEnd(); text.skip(1)) {
        const uint8_t byte = *text.pos;
        if (text.left() > 1 && isLeadByte(context, byte)) {
            writeHex(writer, byte);
            text.skip(1);
            writeHex(writer, *text.pos);
            continue;
        }
        if (byte == '\\' || byte == '{' || byte == '}') writer.append("\\");
        writer.append(text.pos, 1);
    }
}

void writeLabel(RowWriter& writer, std::string_view label) {
    writer.append("\\b ");
    writer.append(label);
    writer.append("\\b0 ");
}

// The body closes the group that the preamble opens.
void writePreamble(const EmlContainerContext& context, RowWriter& writer) {
    const CodePage page = codePageOf(context.charset);
    FixedText<128> text;
    text.append("{\\rtf1\\ansi\\ansicpg").appendDecimal(page.ansiCodePage);
    text.append("\\deff0 {\\fonttbl{\\f0\\fcharset").appendDecimal(page.fontCharset);
    text.append(" Arial;}}\\f0\\fs20");
    writer.append(text.view());
}

void writeHeaderBlock(EmlContainerContext& context, RowWriter& writer) {
    writePreamble(context, writer);
    forEachHeaderRow(context, [&](const HeaderRow& row, const Cursor& value) {
        writeLabel(writer, row.label);
        writeEscaped(context, writer, value);
        writer.append("\\par ");
    });
    const bool any = writeRichAttachmentNames(context, writer, writeLabel, [&](std::string_view name) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(name.data());
        writeEscaped(context, writer, {bytes, bytes + name.size()});
    });
    if (any) writer.append("\\par ");
    writer.append("\\par ");
    writer.flush();
}

}  // namespace

EmlResult renderRtf(EmlContainerContext& context, const EmlSection& body, EmlIOobj& output) {
    if (context.extract.bodyOnly == 0) {
        RowWriter writer(output);
        writeHeaderBlock(context, writer);
    }
    DecodedBody decoded{};
    const EmlResult result = readDecodedBody(context, body, decoded);
    if (result == EML_OK) writeRtfBody(allocatorOf(context), decoded.bytes, decoded.length, output);
    releaseDecodedBody(context, decoded);
    return result;
}

}  // namespace eml
