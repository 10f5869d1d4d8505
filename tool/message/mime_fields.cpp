#include "tool/message/mime_fields.h"

#include <algorithm>
#include <array>

#include "tool/message/field_list.h"
#include "tool/message/header_facts.h"
#include "tool/message/header_in_utf8.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

using emlreader::mime::Field;
using emlreader::mime::Part;

struct FieldRow {
    const char* name;                        // as the tool calls it
    bool isList;                             // all fields of a name count
    std::array<std::string_view, 3> fields;  // the first that is there counts
};

constexpr std::array<FieldRow, 7> kFields = {{
    {"From", true, {"From"}},
    {"Sent", false, {"Date"}},
    {"To", true, {"To"}},
    {"Cc", true, {"Cc"}},
    {"Bcc", true, {"Bcc"}},
    {"Subject", false, {"Subject"}},
    {"Priority", false, {"X-Priority", "Priority", "Importance"}},
}};
constexpr size_t kSent = 1;
constexpr size_t kSubject = 5;

using Value = std::optional<std::string>;

void add(const Field& field, bool isList, Value& value) {
    if (value && !isList) return;
    const std::string text = field.text();
    if (!value) {
        value = text;
        return;
    }
    if (!value->empty() && !text.empty()) *value += ", ";
    *value += text;
}

void takeDate(const Field& field, HeaderFacts& facts) {
    const auto date = field.date();
    facts.date = date ? dateText(*date) : std::string();
    facts.dateUtc = date ? utcDateText(*date) : std::string();
}

// The values of a header, which is walked once: it may be long, and each search for a name would be such a walk.
class HeaderValues {
  public:
    explicit HeaderValues(const Part& root) {
        for (const Field& field : root.fields()) {
            if (field.name().empty()) continue;  // what is no field
            addHeaderFact(field, facts_);
            for (size_t row = 0; row < kFields.size(); ++row) {
                for (size_t name = 0; name < kFields[row].fields.size(); ++name) {
                    if (!equalNoCase(field.name(), kFields[row].fields[name])) continue;
                    if (row == kSent && !values_[row][name]) takeDate(field, facts_);
                    add(field, kFields[row].isList, values_[row][name]);
                }
            }
        }
    }

    Value of(size_t row) const {
        for (const Value& value : values_[row]) {
            if (value) return value;
        }
        return std::nullopt;
    }

    HeaderFacts takeFacts() {
        finishHeaderFacts(facts_);
        return std::move(facts_);
    }

  private:
    std::array<std::array<Value, 3>, kFields.size()> values_;
    HeaderFacts facts_;
};

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::string withoutBlanks(std::string_view raw) {
    const size_t first = std::min(raw.find_first_not_of(" \t\r\n"), raw.size());
    return std::string(raw.substr(first));
}

}  // namespace

MessageHead readHead(const emlreader::mime::Message& message, uint32_t root) {
    const HeaderInUtf8 header(message, root);
    const Part original = message.part(root);
    HeaderValues values(header.part());
    MessageHead head;
    for (size_t row = 0; row < kFields.size(); ++row) {
        MetadataField field{kFields[row].name, values.of(row), std::nullopt};
        if (field.text && field.text->find(kReplacement) != std::string::npos) {
            if (auto written = original.field(std::string(kFields[row].fields[0])))
                field.raw = withoutBlanks(written->raw());
        }
        head.fields.push_back(std::move(field));
    }
    head.subject = head.fields[kSubject].text.value_or("");
    head.facts = values.takeFacts();
    if (header.isConverted()) {
        const auto date = original.field("Date");
        if (date) takeDate(*date, head.facts);
    }
    return head;
}

std::vector<MetadataField> readMetadata(const emlreader::mime::Message& message, uint32_t root) {
    return readHead(message, root).fields;
}

std::string dateOf(const Part& root) {
    const auto field = root.field("Date");
    const auto date = field ? field->date() : std::nullopt;
    return date ? dateText(*date) : std::string();
}

bool isEncryption(uint32_t protection) {
    return protection == EML_MIME_SMIME_ENVELOPED || protection == EML_MIME_SMIME_OTHER ||
           protection == EML_MIME_PGP_ENCRYPTED || protection == EML_MIME_ENCRYPTED_OTHER;
}

}  // namespace emltool
