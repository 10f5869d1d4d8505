#include "container/render_header.h"

#include "container/metadata.h"
#include "host/metadata_records.h"

namespace eml {

namespace {

constexpr HeaderRow kRows[kHeaderRowCount] = {
    {kFrom, "From: ", "From: "},
    {kDate, "Sent: ", "Sent: "},
    {kTo, "To: ", "To: "},
    {kCc, "Cc: ", "Cc: "},
    {kBcc, "Bcc: ", "Bcc: "},
    {kSubject, "Subject: ", "Subject: "},
    {kPriority, "Priority: ", "Importance: "},
};

}  // namespace

const HeaderRow& headerRow(int32_t row) { return kRows[row]; }

Cursor headerRowValue(EmlContainerContext& context, const HeaderRow& row) {
    EmlMetaDataEntry* const entry = metadataEntry(context.metaData, row.index);
    Cursor value = metadataText(entry, metadataName(row.index));
    if (value.pos == nullptr) return value;
    while (!value.atEnd() && value.end[-1] == 0) --value.end;
    entry->valueLength = static_cast<uint32_t>(value.left());
    return value;
}

}  // namespace eml
