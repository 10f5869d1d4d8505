// KEPT: values stand in the HTML as they are, unescaped, and the header block is a complete document of its
// own, after which the message's HTML follows unchanged. What comes out is the sender's active content.
#include "container/render.h"
#include "container/render_header.h"
#include "container/row_writer.h"
#include "container/transfer_decoders.h"

namespace eml {

namespace {

constexpr std::string_view kOpening =
    "<html>\r\n"
    "<head><meta http-equiv=\"content-type\" content=\"text/html\" /></head>\r\n"
    "<body>\r\n"
    "<p><font face=\"Arial\" size=2>\r\n";
constexpr std::string_view kClosing = "</font></p>\r\n</body>\r\n</html>\r\n";
static_assert(kOpening.size() == 116 && kClosing.size() == 31);

void writeLabel(RowWriter& writer, std::string_view label) {
    writer.append("<b>");
    writer.append(label);
    writer.append("</b>");
}

void writeHeaderBlock(EmlContainerContext& context, RowWriter& writer) {
    writer.append(kOpening);
    forEachHeaderRow(context, [&](const HeaderRow& row, const Cursor& value) {
        writeLabel(writer, row.label);
        writer.append(value.pos, static_cast<uint32_t>(value.left()));
        writer.append("<br>\r\n");
    });
    (void)writeRichAttachmentNames(context, writer, writeLabel,
                                   [&](std::string_view name) { writer.append(name); });
    writer.append(kClosing);
    writer.flush();
}

}  // namespace

EmlResult renderHtml(EmlContainerContext& context, const EmlSection& body, EmlIOobj& output) {
    if (context.extract.bodyOnly == 0) {
        RowWriter writer(output);
        writeHeaderBlock(context, writer);
    }
    return writeDecodedBody(context, body, output);
}

}  // namespace eml
