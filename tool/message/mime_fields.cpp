#include "tool/message/mime_fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>

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

std::vector<MetadataField> readMetadata(const Part& root) {
    std::vector<MetadataField> fields;
    for (const FieldRow& row : kFields) {
        MetadataField field{row.name, valueOf(root, row), std::nullopt};
        if (field.text && field.text->find(kReplacement) != std::string::npos) {
            if (auto written = root.field(row.fields[0])) field.raw = withoutBlanks(written->raw());
        }
        fields.push_back(std::move(field));
    }
    return fields;
}

std::string dateOf(const Part& root) {
    const auto field = root.field("Date");
    const auto date = field ? field->date() : std::nullopt;
    if (!date) return "";
    const int64_t zone = date->zone.count();
    const auto seconds = static_cast<time_t>(date->time.time_since_epoch().count() + zone * 60);
    std::tm local{};
    if (::gmtime_r(&seconds, &local) == nullptr) return "";
    const int64_t year = int64_t{local.tm_year} + 1900;
    const int64_t distance = zone < 0 ? -zone : zone;
    if (year < 0 || year > 9999) return "";
    const std::string clock = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", year, local.tm_mon + 1,
                                          local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    // RFC 3339 has no "+99:99".
    if ((date->flags & EML_MIME_DATE_NO_ZONE) != 0 || distance >= 24 * 60) return clock + "-00:00";
    return clock + fmt::format("{}{:02}:{:02}", zone < 0 ? '-' : '+', distance / 60, distance % 60);
}

// The parts of a multipart count from 1. The parts of a message that is a part itself are numbered as if they were
// that part's, and a message without parts has one, number 1.
std::vector<std::string> sectionsOf(const emlreader::mime::Message& message) {
    const uint32_t count = message.partCount();
    std::vector<std::string> sections(count);
    std::vector<uint32_t> children(count);  // of each part, so far
    for (const Part& part : message.parts()) {
        const uint32_t number = part.number();
        const bool hasPlace = number != 0 && !message.part(part.info().parent).isMessage();
        std::string section = number == 0 ? "" : sections[part.info().parent];
        const bool isAlone = !hasPlace && part.info().firstChild == EML_MIME_NONE;
        if (hasPlace || isAlone) {
            const uint32_t place = hasPlace ? ++children[part.info().parent] : 1;
            section += fmt::format("{}{}", section.empty() ? "" : ".", place);
        }
        sections[number] = std::move(section);
    }
    return sections;
}

std::string protectionText(uint32_t protection) {
    switch (protection) {
        case EML_MIME_SMIME_SIGNED:
        case EML_MIME_SMIME_OPAQUE:
            return "signed (S/MIME), not verified";
        case EML_MIME_PGP_SIGNED:
        case EML_MIME_PGP_INLINE_SIGNED:
            return "signed (OpenPGP), not verified";
        case EML_MIME_SIGNED_OTHER:
            return "signed, not verified";
        case EML_MIME_SMIME_ENVELOPED:
        case EML_MIME_SMIME_OTHER:
            return "encrypted (S/MIME)";
        case EML_MIME_PGP_ENCRYPTED:
        case EML_MIME_PGP_INLINE_ENCRYPTED:
            return "encrypted (OpenPGP)";
        case EML_MIME_ENCRYPTED_OTHER:
            return "encrypted";
        case EML_MIME_SMIME_COMPRESSED:
            return "compressed (S/MIME)";
        case EML_MIME_SMIME_CERTS:
            return "certificates (S/MIME)";
        default:
            return "";
    }
}

bool isEncryption(uint32_t protection) {
    return protection == EML_MIME_SMIME_ENVELOPED || protection == EML_MIME_SMIME_OTHER ||
           protection == EML_MIME_PGP_ENCRYPTED || protection == EML_MIME_PGP_INLINE_ENCRYPTED ||
           protection == EML_MIME_ENCRYPTED_OTHER;
}

}  // namespace emltool
