// The header block of a rendered message: its rows, walked in one place for all three forms.
#pragma once

#include "bytes/cursor.h"
#include "container/container_context.h"
#include "container/row_writer.h"

namespace eml {

// KEPT: the wide label of the priority row differs from the narrow one.
struct HeaderRow {
    int32_t index;       // in the default list
    char label[16];      // 8-bit forms
    char wideLabel[16];  // 16-bit text form, widened when it is written
};

inline constexpr int32_t kHeaderRowCount = 7;

[[nodiscard]] const HeaderRow& headerRow(int32_t row);

inline constexpr std::string_view kAttachmentsLabel = "Attachments: ";

// KEPT: between attachment names the HTML and RTF forms write three characters, the text form two.
inline constexpr std::string_view kRichSeparator = "; F";
inline constexpr std::string_view kTextSeparator = "; ";

// The value of a row; empty when the row is not written. Trailing zero bytes are removed from the list
// itself, for good.
[[nodiscard]] Cursor headerRowValue(EmlContainerContext& context, const HeaderRow& row);

// Calls write(row, value) for every row that is written, in order.
template <class Write>
void forEachHeaderRow(EmlContainerContext& context, Write write) {
    for (int32_t i = 0; i < kHeaderRowCount; ++i) {
        const HeaderRow& row = headerRow(i);
        const Cursor value = headerRowValue(context, row);
        if (!value.atEnd()) write(row, value);
    }
}

// Calls write(name) for the name of every attachment, in the order of the list.
template <class Write>
void forEachAttachmentName(const EmlContainerContext& context, Write write) {
    for (const EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        const EmlSection& section = node->section;
        if (section.isAttachment && section.fileName != nullptr) write(std::string_view(section.fileName));
    }
}

// The attachments of the HTML and RTF forms: writeLabel(writer, label) before the first name, the separator
// before each other. False when there is no name.
template <class WriteLabel, class WriteName>
bool writeRichAttachmentNames(const EmlContainerContext& context, RowWriter& writer, WriteLabel writeLabel,
                              WriteName writeName) {
    bool any = false;
    forEachAttachmentName(context, [&](std::string_view name) {
        if (any) {
            writer.append(kRichSeparator);
        } else {
            writeLabel(writer, kAttachmentsLabel);
        }
        any = true;
        writeName(name);
    });
    return any;
}

}  // namespace eml
