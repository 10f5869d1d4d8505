// The name and the date of the message itself, from its header.
#include <array>
#include <cstring>
#include <optional>

#include "bytes/cursor.h"
#include "bytes/fixed_text.h"
#include "bytes/little_endian.h"
#include "bytes/mail_date.h"
#include "bytes/name_characters.h"
#include "filter/field_value.h"
#include "filter/filter_calls.h"
#include "filter/input_reader.h"
#include "filter/record_stream.h"
#include "host/host_file.h"
#include "host/host_memory.h"

namespace eml {

namespace {

constexpr uint32_t kRecordBufferSize = 4096;
constexpr int32_t kRecordLimit = 3686;
constexpr size_t kStemLength = 8;
constexpr size_t kWeekdayLength = 4;

struct NameAndDate {
    EmlFilterContext& context;
    char stem[kStemLength + 1];
    size_t stemLength;
    void* date;
    bool nameDone;
    bool dateDone;
};

// KEPT: four characters are skipped for the weekday and its comma, and the zone is ignored. The day is read as
// a number, but its digits are skipped where the blanks ended: a sign or a line end before it leaves no date.
std::optional<time_t> dateOf(Cursor value) {
    value.skipBlanks();
    value.skip(kWeekdayLength);
    value.skipBlanks();
    MailDate date{};
    Cursor number = value;
    const std::optional<int32_t> day = readNumber(number);
    if (!day) return std::nullopt;
    date.day = *day;
    skipDigits(value);
    value.skipBlanks();
    date.month = monthAt(value);
    value.skip(3);
    value.skipBlanks();
    if (!readYearAndTime(value, date)) return std::nullopt;
    return calendarTime(date);
}

void takeDate(NameAndDate& found, Cursor value) {
    const EmlHostServices& services = *found.context.services;
    const std::optional<time_t> seconds = dateOf(value);
    if (seconds && services.storeDate != nullptr) services.storeDate(*seconds, found.date);
    found.dateDone = true;
}

void addToStem(NameAndDate& found, const uint8_t* text, uint32_t length) {
    for (uint32_t i = 0; i < length && found.stemLength < kStemLength; ++i) {
        if (isForbiddenInName(text[i]) || text[i] < 32) continue;
        found.stem[found.stemLength++] = static_cast<char>(text[i]);
    }
}

// KEPT: after each text the total grows by the length of the whole stem, not by what the text has added, and
// the walk stops when it reaches eight: a subject in several texts can give fewer characters.
void takeStem(NameAndDate& found) {
    const EmlFilterContext& context = found.context;
    const uint8_t* record = context.output.start;
    size_t total = 0;
    while (total < kStemLength) {
        const uint32_t length = recordLength(record, static_cast<uint32_t>(context.output.next - record));
        if (length == 0) return;
        if (record[0] == kTagText) {
            addToStem(found, record + kTextHeaderSize, length - kTextHeaderSize);
            total += found.stemLength;
        }
        record += length;
    }
}

// The subject is written as records, of which the text is taken. Those that do not fit are left out.
void takeSubject(NameAndDate& found, Cursor& value) {
    value.skipBlanks();
    const uint8_t* position = value.pos;
    (void)outputEMLfieldbody(found.context, position, false, kCutLines);
    value.pos = position;
    takeStem(found);
    found.nameDone = true;
}

// The lines of one input buffer. True when the header has ended, or both have been found.
bool readLines(NameAndDate& found, Cursor text) {
    const EmlFilterContext& context = found.context;
    while (!text.atEnd()) {
        if (context.input.lineEndWidth != 0 && *text.pos == context.input.lineEnd[0]) return true;
        Cursor line = text;
        if (!found.dateDone && line.acceptNoCase("Date:")) {
            takeDate(found, line);
        } else if (!found.nameDone && line.acceptNoCase("Subject:")) {
            takeSubject(found, line);
            text = line;
        }
        if (found.dateDone && found.nameDone) return true;
        while (!text.atEnd() && !isLineEnd(*text.pos)) text.skip(1);
        skipLineEnd(text);
    }
    return false;
}

EmlResult readHeader(NameAndDate& found) {
    EmlFilterContext& context = found.context;
    if (!seekFile(*context.io, 0)) return EML_OBJECT_FAILED;
    int32_t count = readBuf(context, kInputSize);
    if (count < 1) return EML_OBJECT_FAILED;
    while (count > 0 && !readLines(found, {context.input.buffer, context.input.buffer + count})) {
        context.input.offset += count;
        count = readBuf(context, kInputSize);
    }
    return EML_OK;
}

// Reads the header with a record buffer of its own. The flags of a full buffer are put back: they belong to
// fills.
EmlResult findNameAndDate(NameAndDate& found) {
    EmlFilterContext& context = found.context;
    const ScopedBlock records(allocatorOf(context), kRecordBufferSize);
    if (records.bytes() == nullptr) return EML_NO_MEMORY;
    const bool full = context.output.full;
    const bool textWaits = context.body.textWaits;
    context.output.full = false;
    openRecordOutput(context, records.bytes(), kRecordBufferSize, kRecordLimit);
    const EmlResult result = readHeader(found);
    closeRecordOutput(context);
    forgetInput(context);
    context.output.full = full;
    context.body.textWaits = textWaits;
    // A fill that goes on without a restart counts from here.
    context.body.converted = context.input.offset;
    return result;
}

}  // namespace

EmlResult mainNameDate(EmlFilterContext* context, char* name, void* date) {
    if (context == nullptr || name == nullptr || context->output.start != nullptr)
        return EML_INVALID_ARGUMENT;
    resetReader(*context);
    NameAndDate found{*context, {}, 0, date, false, false};
    const EmlResult result = findNameAndDate(found);
    FixedText<kStemLength + 6> text;
    if (result == EML_OK) text.append({found.stem, found.stemLength});
    if (text.view().empty()) text.append("zteml");
    text.append(".mail");
    std::memcpy(name, text.zeroTerminated(), text.view().size() + 1);
    return result;
}

}  // namespace eml
