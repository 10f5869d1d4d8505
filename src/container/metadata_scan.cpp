#include "container/metadata_scan.h"

#include <string_view>

#include "bytes/unreachable.h"
#include "container/container_calls.h"
#include "container/encoded_words.h"
#include "container/line_reader.h"
#include "host/metadata_records.h"

namespace {

using eml::Cursor;

struct HeaderScan {
    EmlContainerContext& context;
    EmlAllocator& allocator;  // of the list
    EmlMetaData& list;
    bool priorityAliases;
};

// The next line of the header; 0 after the last. The end of the header is checked before the read.
int32_t nextHeaderLine(EmlContainerContext& context) {
    if (context.position >= context.headerStart + context.bodyOffset) return 0;
    const int32_t read = eml::getLine(context);
    return read != 0 && eml::isEmptyLine(context) ? 0 : read;
}

// Moves past the field name and its colon when the line begins with them.
bool acceptField(Cursor& line, std::string_view name) {
    if (!line.startsWithNoCase(name) || line.peek(name.size()) != ':') return false;
    line.skip(name.size() + 1);
    return true;
}

// Whether the line belongs to an entry; the first letter alone rules out most lines. Moves the line on to the
// value.
bool acceptEntry(HeaderScan& scan, Cursor& line, const EmlMetaDataEntry& entry) {
    const uint8_t letter = eml::toLower(line.peek());
    const bool nameFits =
        letter == eml::toLower(static_cast<uint8_t>(entry.name[0])) || entry.name[0] == '\0';
    const bool aliasFits = scan.priorityAliases && (letter == 'x' || letter == 'i');
    if (!nameFits && !aliasFits) return false;
    const std::string_view name = entry.name;
    const bool isPriority = name == "Priority";
    const bool accepted = acceptField(line, name) ||
                          (isPriority && scan.priorityAliases &&
                           (acceptField(line, "X-MSMail-Priority") || acceptField(line, "Importance")));
    if (accepted && isPriority) scan.priorityAliases = false;
    return accepted;
}

// The first entry that the line belongs to, or NULL.
EmlMetaDataEntry* matchEntry(HeaderScan& scan, Cursor& line) {
    for (int32_t i = 0; i < scan.list.count; ++i) {
        EmlMetaDataEntry* const entry = eml::metadataEntry(scan.list, i);
        if (EML_NEVER(entry == nullptr)) continue;  // a scan begins with every entry made
        if (entry->name != nullptr && acceptEntry(scan, line, *entry)) return entry;
    }
    return nullptr;
}

EmlResult appendValueText(EmlContainerContext& context, Cursor text) {
    const uint8_t* const begin = text.pos;
    while (!text.atEnd() && !eml::isLineEnd(*text.pos)) text.skip(1);
    return emlDecodeMetaText(context, begin, static_cast<uint32_t>(text.pos - begin));
}

// Collects a value from the rest of the line in the buffer and from its continuation lines. `read` is the
// kind of that line and becomes the kind of the line that is in the buffer afterwards.
EmlResult gatherValue(EmlContainerContext& context, Cursor line, int32_t& read) {
    constexpr uint8_t kBlank = ' ';
    context.decoded.length = 0;
    line.skipBlanks();
    EmlResult result = appendValueText(context, line);
    while (result == EML_OK) {
        const bool wholeLine = read == 1;
        read = nextHeaderLine(context);
        if (read == 0) break;
        Cursor text = eml::lineText(context);
        if (wholeLine) {
            if (!eml::isBlank(text.peek())) break;
            text.skipBlanks();
            result = context.decoded.append(eml::allocatorOf(context), &kBlank, 1);
            if (result != EML_OK) break;
        }
        result = appendValueText(context, text);
    }
    return result;
}

// A field with an empty value leaves its entry unchanged.
EmlResult storeGathered(HeaderScan& scan, EmlMetaDataEntry& entry) {
    const eml::GrowingBuffer& gathered = scan.context.decoded;
    if (gathered.length == 0) return EML_OK;
    return eml::storeMetadataValue(entry, scan.allocator, gathered.data, gathered.length);
}

EmlResult scanFields(HeaderScan& scan) {
    EmlContainerContext& context = scan.context;
    context.position = context.headerStart;
    bool lineBegins = true;
    int32_t read = nextHeaderLine(context);
    while (read != 0) {
        Cursor line = eml::lineText(context);
        EmlMetaDataEntry* const entry =
            lineBegins && !eml::isBlank(line.peek()) ? matchEntry(scan, line) : nullptr;
        if (entry == nullptr) {
            lineBegins = read == 1;
            read = nextHeaderLine(context);
            continue;
        }
        if (EmlResult result = gatherValue(context, line, read); result != EML_OK) return result;
        if (EmlResult result = storeGathered(scan, *entry); result != EML_OK) return result;
        lineBegins = true;
    }
    return EML_OK;
}

}  // namespace

EmlResult eml2GetMetaData(EmlContainerContext& context, EmlAllocator& allocator, EmlMetaData& list,
                          uint32_t defaultList) {
    HeaderScan scan{context, allocator, list, defaultList == 1};
    context.decoded.length = 0;
    EmlResult result = context.decoded.reserve(eml::allocatorOf(context), eml::kGrowthUnit);
    if (result == EML_OK) result = scanFields(scan);
    context.decoded.release(eml::allocatorOf(context));
    return result;
}
