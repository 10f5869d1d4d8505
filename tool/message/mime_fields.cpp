#include "tool/message/mime_fields.h"

#include <algorithm>
#include <array>

#include "tool/message/field_list.h"
#include "tool/message/header_in_utf8.h"

namespace emltool {

namespace {

using emlreader::mime::Part;

struct FieldRow {
    const char* name;                   // as the tool calls it
    std::array<const char*, 3> fields;  // the first that is there counts
    bool isList;                        // all fields of the name count
};

constexpr FieldRow kFields[] = {
    {"From", {"From", nullptr, nullptr}, true},
    {"Sent", {"Date", nullptr, nullptr}, false},
    {"To", {"To", nullptr, nullptr}, true},
    {"Cc", {"Cc", nullptr, nullptr}, true},
    {"Bcc", {"Bcc", nullptr, nullptr}, true},
    {"Subject", {"Subject", nullptr, nullptr}, false},
    {"Priority", {"X-Priority", "Priority", "Importance"}, false},
};

std::optional<std::string> valueOf(const Part& root, const FieldRow& row) {
    std::optional<std::string> value;
    for (const char* name : row.fields) {
        if (name == nullptr || value) break;
        for (auto field = root.field(name); field; field = root.field(name, field->index() + 1)) {
            std::string text = field->text();
            if (value && !value->empty() && !text.empty()) *value += ", ";
            value = value.value_or("") + text;
            if (!row.isList) break;
        }
    }
    return value;
}

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::string withoutBlanks(std::string_view raw) {
    const size_t first = std::min(raw.find_first_not_of(" \t\r\n"), raw.size());
    return std::string(raw.substr(first));
}

}  // namespace

std::vector<MetadataField> readMetadata(const emlreader::mime::Message& message, uint32_t root) {
    const HeaderInUtf8 header(message, root);
    const Part original = message.part(root);
    std::vector<MetadataField> fields;
    for (const FieldRow& row : kFields) {
        MetadataField field{row.name, valueOf(header.part(), row), std::nullopt};
        if (field.text && field.text->find(kReplacement) != std::string::npos) {
            if (auto written = original.field(row.fields[0])) field.raw = withoutBlanks(written->raw());
        }
        fields.push_back(std::move(field));
    }
    return fields;
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
