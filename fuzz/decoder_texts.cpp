#include "decoder_texts.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "check.h"
#include "container/embedded_name.h"
#include "container/main_name_date.h"
#include "filter/body_text.h"
#include "filter/embedded_name.h"
#include "filter/field_value.h"
#include "filter/record_stream.h"
#include "filter/transfer_decoders.h"
#include "host.h"
#include "reference/dates.h"
#include "reference/filter_text.h"
#include "reference/filter_values.h"
#include "reference/names.h"
#include "reference/parameters.h"

namespace fuzz {
namespace {

using reference::bytesOf;

constexpr uint64_t kSteps = 1000000;

// One line without zero bytes: what a header can contain after a field's name.
std::string oneLine(std::string_view text) {
    std::string line(text.substr(0, 2000));
    for (char& byte : line)
        if (byte == '\r' || byte == '\n' || byte == '\0') byte = ' ';
    return line;
}

// What the filter makes of a header of one field.
struct NameDate {
    std::string name;
    std::optional<time_t> date;
};

NameDate nameDateOf(const std::string& header) {
    const std::string message = header + "\r\n\r\n";
    Host host(Plan{}, message, kSteps);
    NameDate result;
    {
        EmlFilterContext* const context = emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr);
        require(context != nullptr, "a header opens");
        char name[14];
        std::memset(name, 'Z', sizeof name);
        uint32_t date[2] = {0xA5A5A5A5, 0x5A5A5A5A};
        require(emlGetMainNameDate(context, name, date) == EML_OK, "a header has a name");
        result.name = name;
        if (date[0] != 0xA5A5A5A5 || date[1] != 0x5A5A5A5A)
            result.date = static_cast<time_t>(uint64_t{date[1]} << 32 | date[0]);
        emlShutdown(context);
    }
    host.requireNothingLive();
    return result;
}

void requireSameDate(const std::optional<time_t>& expected, const std::optional<time_t>& got,
                     const char* rule) {
    requireSame<std::string_view>(expected ? std::to_string(*expected) : "none",
                                  got ? std::to_string(*got) : "none", rule);
}

// A context of the filter that has no message.
class FilterContext {
  public:
    explicit FilterContext(std::string_view input, char behind = '\0')
        : host_(Plan{}, {}, kSteps), context_(std::make_unique<EmlFilterContext>()), input_(input) {
        block_ = std::make_unique<Exact>(input_ + behind);
        context_->services = &host_.services();
        context_->io = &host_.input();
        context_->request.hostRecord = host_.record();
        context_->kernels = &eml::kPlainKernels;
        context_->input.carryPos = context_->input.carry;
        context_->input.readPos = block_->begin();
        context_->input.end = block_->begin() + input_.size();
    }
    ~FilterContext() {
        context_->body.decoded.release(host_.services().allocator);
        context_->request.value.release(host_.services().allocator);
        host_.requireNothingLive();
    }
    FilterContext(const FilterContext&) = delete;
    FilterContext& operator=(const FilterContext&) = delete;

    [[nodiscard]] EmlFilterContext& get() { return *context_; }
    [[nodiscard]] Host& host() { return host_; }
    [[nodiscard]] std::string field() const {
        const eml::GrowingBuffer& buffer = context_->request.value;
        return buffer.data == nullptr ? "" : std::string(buffer.data, buffer.data + buffer.length);
    }

    // A buffer of exactly `capacity` bytes that counts as full after `limit`.
    void open(uint32_t capacity, uint32_t limit) {
        output_ = std::make_unique<uint8_t[]>(capacity);
        eml::openRecordOutput(*context_, output_.get(), capacity, static_cast<int32_t>(limit));
        context_->output.full = false;
        context_->body.textWaits = false;
    }
    [[nodiscard]] std::string written() const {
        return {reinterpret_cast<const char*>(output_.get()), eml::recordBytes(*context_)};
    }

  private:
    Host host_;
    std::unique_ptr<EmlFilterContext> context_;
    std::string input_;
    std::unique_ptr<Exact> block_;
    std::unique_ptr<uint8_t[]> output_;
};

void holdValueRecords(std::string_view text, const reference::FilterValue& expected) {
    FilterContext filter(text);
    const auto room = static_cast<uint32_t>(64 * text.size() + 4096);
    filter.open(room, room);
    const uint8_t* const begin = filter.get().input.readPos;
    const uint8_t* position = begin;
    require(outputEMLfieldbody(filter.get(), position, false, eml::kWholeLines) == EML_OK, "a value is read");
    std::string records;
    for (const std::string& record : expected.records) records += record;
    requireSame<std::string_view>(records, filter.written(), "a field's value as records");
    requireSame<int64_t>(static_cast<int64_t>(expected.end), position - begin, "the end of a value");
}

void holdValueGathered(std::string_view text, const reference::FilterValue& expected) {
    FilterContext filter(text);
    char name[] = "X";
    EmlMetaDataEntry entry{};
    EmlMetaDataEntry* entries[] = {&entry};
    EmlMetaData list{{}, 1, entries};
    entry.name = name;
    filter.get().request.list = &list;
    // The call that asks for values has made the buffer.
    require(filter.get().request.value.reserve(filter.host().services().allocator, 4096) == EML_OK,
            "a buffer");
    const uint8_t* position = filter.get().input.readPos;
    require(outputEMLfieldbody(filter.get(), position, true, 0) == EML_OK, "a value is gathered");
    require(entry.hasValue == 1 && entry.value != nullptr, "a gathered value is handed over");
    requireSame<std::string_view>(expected.gathered, std::string_view(entry.value, entry.valueLength),
                                  "a field's value as metadata");
    filter.host().recordHeap().give(entry.value);
}

// One buffer after the other, of a size that the text chooses.
void holdStream(std::string_view text) {
    const uint32_t capacity = text.empty() ? 100 : 16 + static_cast<uint8_t>(text[0]);
    const uint32_t limit = capacity * 9 / 10;
    FilterContext filter(text);
    std::string rest(text);
    for (;;) {
        filter.open(capacity, limit);
        const uint8_t* const before = filter.get().input.readPos;
        require(processEMLplainbody(filter.get(), false), "text is converted");
        reference::Buffer model{capacity, limit, {}, false};
        (void)reference::convert(rest, model);
        requireSame<std::string_view>(model.bytes, filter.written(), "body text as records");
        require(filter.get().output.full == model.full, "a buffer is full where the model's is");
        const bool moved = filter.get().input.readPos != before;
        require(static_cast<size_t>(filter.get().input.end - filter.get().input.readPos) == rest.size(),
                "what is left is what the model leaves");
        if (!model.full || !moved) return;
    }
}

// The texts among the records of a value.
std::vector<std::string> textsOf(const reference::FilterValue& value) {
    std::string records;
    for (const std::string& record : value.records) records += record;
    std::vector<std::string> texts;
    while (!records.empty()) {
        size_t length = 0;
        for (size_t i = 4; i >= 1; --i) length = length << 8 | static_cast<uint8_t>(records[i]);
        if (records[0] == '\0') texts.push_back(records.substr(9, length - 9));
        records.erase(0, length);
    }
    return texts;
}

using Step = EmlResult (*)(EmlFilterContext&, bool);

void holdDecodedField(std::string_view text, Step step, const std::string& decoded, const char* rule) {
    FilterContext filter(text, '?');
    require(step(filter.get(), true) == EML_OK, "a field's text is decoded");
    requireSame<std::string_view>(reference::fieldText(decoded), filter.field(), rule);
}

}  // namespace

void holdDates(std::string_view text) {
    const Exact block(text);
    requireSameDate(reference::dateOfValue(text), eml::dateOfHeader({block.begin(), block.end()}),
                    "a date, container");
    const std::string line = oneLine(text);
    requireSameDate(reference::dateBehindField(line + "\r\n\r\n"), nameDateOf("Date:" + line).date,
                    "a date, filter");
}

void holdNames(std::string_view text) {
    if (text.empty() || text[0] != '\0') {
        const Exact block(text);
        char name[kMainNameSize];
        eml::makeMainName({block.begin(), block.end()}, name);
        requireSame<std::string_view>(reference::mainNameOfSubject(text), name, "a main name, container");
    }
    const Exact line(text.substr(0, text.find('\0')));
    char embedded[eml::kEmbeddedNameSize];
    eml::makeEmbeddedName({line.begin(), line.end()}, 7, embedded);
    requireSame<std::string_view>(reference::embeddedName(text.substr(0, text.find('\0')), 7), embedded,
                                  "the name of an embedded message, container");
    const std::string rest = "Subject:" + std::string(text);
    for (const std::string_view buffer : {text, std::string_view(rest)}) {
        const Exact block(buffer);
        char name[eml::kFileNameSize];
        eml::makeSubjectName({block.begin(), block.end()}, 7, name);
        // A name ends at its first zero byte.
        requireSame<std::string_view>(reference::nameOfEmbedded(buffer, 7).c_str(), name,
                                      "the name of an embedded message, filter");
    }
    const std::string subject = oneLine(text);
    const std::string value = subject.substr(std::min(subject.find_first_not_of(" \t"), subject.size()));
    requireSame<std::string_view>(
        reference::mainNameOfTexts(textsOf(reference::filterValue(value + "\r\n\r\n"))),
        nameDateOf("Subject:" + subject).name, "a main name, filter");
}

void holdFieldValues(std::string_view text) {
    const reference::FilterValue expected = reference::filterValue(text);
    holdValueRecords(text, expected);
    holdValueGathered(text, expected);
}

void holdBodyText(std::string_view text) {
    holdStream(text);
    for (const char behind : {'\0', 'x'}) {
        FilterContext filter(text, behind);
        require(processEMLplainbody(filter.get(), true), "a field's text is gathered");
        requireSame<std::string_view>(reference::fieldText(text, behind == '\0'), filter.field(),
                                      "a field's text");
    }
    holdDecodedField(text, &processEMLqpbody, reference::filterQuotedPrintable(text),
                     "a field's text in quoted-printable");
    holdDecodedField(text, &processEMLbase64body, reference::filterBase64(text), "a field's text in base64");
}

}  // namespace fuzz
