// eml records: the stream of text records, record by record.
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <CLI/CLI.hpp>

#include "standalone/charsets.h"
#include "tool/cli/command.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/filter_file.h"
#include "tool/message/json_text.h"
#include "tool/text/format.h"
#include "tool/text/size_text.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

using emlhost::RecordTag;
using emlhost::TextRecord;

const char* nameOf(RecordTag tag) {
    switch (tag) {
        case RecordTag::kText:
            return "text";
        case RecordTag::kIndents:
            return "indents";
        case RecordTag::kTabStops:
            return "tab-stops";
        case RecordTag::kTab:
            return "tab";
        case RecordTag::kAttribute:
            return "attribute";
        case RecordTag::kLone:
            return "lone";
        case RecordTag::kLineBreak:
            return "line-break";
        case RecordTag::kOpening:
            return "opening";
        case RecordTag::kPage:
            return "page";
        case RecordTag::kCharset:
            return "charset";
    }
    return "unknown";
}

std::string charsetName(uint32_t id) {
    const emlhost::Charset* charset = emlhost::findCharset(id);
    return charset == nullptr ? "unknown" : charset->label;
}

std::string hex(std::span<const uint8_t> bytes) {
    std::string text;
    for (uint8_t byte : bytes) text += formatted("{}{:02x}", text.empty() ? "" : " ", byte);
    return text;
}

// What a record means, for a person.
std::string meaning(const TextRecord& record) {
    switch (record.tag) {
        case RecordTag::kText:
            return "\"" + visible(record.text()) + "\"";
        case RecordTag::kAttribute:
            return formatted("{:#x} ({})", record.word(), record.word() == 1 ? "bold off" : "bold on");
        case RecordTag::kCharset:
            return formatted("{} ({})", record.word(), charsetName(record.word()));
        default:
            return hex(record.payload);
    }
}

std::string jsonOf(const TextRecord& record) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> json(buffer);
    json.StartObject();
    json.Key("tag");
    json.Uint(static_cast<unsigned>(record.tag));
    json.Key("name");
    json.String(nameOf(record.tag));
    json.Key("length");
    json.Uint64(record.length);
    bool readable = record.tag == RecordTag::kText && isUtf8(record.text());
    std::string payload = readable ? std::string(record.text()) : hex(record.payload);
    json.Key(readable ? "text" : "payload");
    json.String(payload.data(), static_cast<rapidjson::SizeType>(payload.size()));
    json.EndObject();
    return withVisibleControls({buffer.GetString(), buffer.GetSize()}) + "\n";
}

class RecordsRun final : public CommandRun {
  public:
    explicit RecordsRun(CLI::App& app) : messages_(app, MessageArguments::Count::kOne) {
        app.add_option("--capacity", capacity_, "size of the buffer in bytes (default: 65536)")
            ->type_name("N");
        app.add_flag("--body-only", bodyOnly_, "leave out header fields");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        constexpr uint32_t kMaxCapacity = uint32_t{1} << 30;
        std::optional<uint32_t> capacity = parseNumber(capacity_);
        if (!capacity || *capacity < 1 || *capacity > kMaxCapacity) {
            throw usageProblem(formatted("--capacity={}: it is 1 to {}", capacity_, kMaxCapacity));
        }
        FilterFile file(messages_.message(), messages_.force(), !bodyOnly_);
        if (file.isEncrypted()) console.warn(file.name(), "encrypted (S/MIME): the body is no text");
        file.read(
            [&](const TextRecord& record) {
                console.print(options.json
                                  ? jsonOf(record)
                                  : formatted("{:3} {:>6}  {:<10}  {}\n", static_cast<unsigned>(record.tag),
                                              record.length, nameOf(record.tag), meaning(record)));
                return true;
            },
            *capacity);
        return ExitCode::kDone;
    }

  private:
    MessageArguments messages_;
    std::string capacity_ = "65536";
    bool bodyOnly_ = false;
};

std::unique_ptr<CommandRun> declareRecords(CLI::App& app) { return std::make_unique<RecordsRun>(app); }

}  // namespace

const Command kRecordsCommand = {
    "records", "show the stream of text records that a host engine gets", "FILE",
    "One line each: tag, length in bytes, kind, payload. Text is shown in the bytes of its charset.\n\n"
    "Examples:\n"
    "  eml records message.eml\n"
    "  eml --json records --capacity=256 message.eml\n",
    declareRecords};

}  // namespace emltool
