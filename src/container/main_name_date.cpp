#include "container/main_name_date.h"

#include <cstring>

#include "bytes/fixed_text.h"
#include "bytes/name_characters.h"
#include "container/metadata.h"
#include "host/metadata_records.h"

namespace eml {

namespace {

constexpr size_t kStemLength = 8;
constexpr size_t kWeekdayLength = 4;

// The value of an entry of the default list, empty when it is missing or begins with a zero byte.
Cursor valueOf(const EmlMetaData& list, int32_t index) {
    const Cursor value = metadataText(metadataEntry(list, index), metadataName(index));
    return value.peek() != 0 ? value : Cursor{};
}

}  // namespace

// KEPT: the name is cut after eight bytes, also inside a character of several bytes.
void makeMainName(Cursor subject, char (&name)[kMainNameSize]) {
    FixedText<kMainNameSize> text;
    for (; !subject.atEnd() && text.view().size() < kStemLength; subject.skip(1)) {
        const uint8_t byte = *subject.pos;
        if (isForbiddenInName(byte) || byte < 0x20) continue;
        const char character = static_cast<char>(byte);
        text.append({&character, 1});
    }
    if (text.view().empty()) text.append("zteml");
    text.append(".mail");
    std::memcpy(name, text.zeroTerminated(), text.view().size() + 1);
}

std::optional<time_t> dateOfHeader(Cursor value) {
    if (value.left() <= kWeekdayLength) return std::nullopt;
    value.skip(kWeekdayLength);
    value.skipBlanks();
    MailDate date{};
    Cursor number = value;
    const std::optional<int32_t> day = readNumber(number);
    if (!day) return std::nullopt;
    date.day = *day;
    while (!value.atEnd() && !isBlank(*value.pos)) value.skip(1);
    value.skipBlanks();
    date.month = monthAt(value);
    value.skip(3);
    value.skipBlanks();
    if (!readYearAndTime(value, date)) return std::nullopt;
    return calendarTime(date);
}

}  // namespace eml

EmlResult eml2GetMainNameDate(EmlContainerContext& context) {
    eml::makeMainName(eml::valueOf(context.metaData, eml::kSubject), context.mainName);
    const std::optional<time_t> seconds = eml::dateOfHeader(eml::valueOf(context.metaData, eml::kDate));
    if (seconds && context.services->storeDate != nullptr)
        context.services->storeDate(*seconds, context.mainDate);
    return EML_OK;
}
