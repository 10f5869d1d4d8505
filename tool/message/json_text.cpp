#include "tool/message/json_text.h"

#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>

#include "standalone/charsets.h"
#include "tool/text/ascii.h"
#include "tool/text/base64_text.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void putText(Writer& json, std::string_view text) {
    std::string valid = withoutInvalidBytes(text);
    json.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
}

void putField(Writer& json, const char* key, std::string_view text) {
    json.Key(key);
    putText(json, text);
}

void putSize(Writer& json, const char* key, const std::optional<uint64_t>& size) {
    json.Key(key);
    if (size) {
        json.Uint64(*size);
    } else {
        json.Null();
    }
}

void putProblem(Writer& json, const Problem& problem) {
    json.Key("error");
    json.StartObject();
    putField(json, "code", problem.code);
    putField(json, "text", problem.text);
    json.Key("exit");
    json.Int(static_cast<int>(problem.exit));
    json.EndObject();
}

const char* outcomeName(Outcome outcome) {
    switch (outcome) {
        case Outcome::kPlanned:
            return "planned";
        case Outcome::kWritten:
            return "written";
        case Outcome::kSkipped:
            return "skipped";
        case Outcome::kFailed:
            return "failed";
        case Outcome::kNone:
            break;
    }
    return "none";
}

void putMessage(Writer& json, const MessageTree& tree);
void putSubFiles(Writer& json, const MessageTree& tree);

void putFlags(Writer& json, const SubFileEntry& entry) {
    uint32_t flags = entry.info.flags;
    json.Key("flags");
    json.StartArray();
    if ((flags & EML_SUB_FILE_MESSAGE) != 0) json.String("embedded-message");
    if ((flags & EML_SUB_FILE_NOT_IN_FILE) != 0) json.String("not-in-file");
    if ((flags & EML_SUB_FILE_ENCRYPTED) != 0) json.String("encrypted");
    if (entry.isTnef) json.String("tnef");
    json.EndArray();
}

void putEntry(Writer& json, const SubFileEntry& entry) {
    bool isMessage = entry.info.kind == EML_KIND_MESSAGE;
    json.StartObject();
    json.Key("number");
    json.Int(entry.path.back());
    json.Key("parent");
    json.Int(entry.info.parent);
    putField(json, "kind", isMessage ? "message" : "attachment");
    putField(json, "name", entry.name);
    if (!entry.safeName.empty()) putField(json, "safe_name", entry.safeName);
    putSize(json, "size", entry.size);
    if (!isMessage && entry.info.size >= 0) {
        putSize(json, "stored_size", static_cast<uint64_t>(entry.info.size));
    }
    putFlags(json, entry);
    if (!entry.sha256.empty()) putField(json, "sha256", entry.sha256);
    if (entry.outcome != Outcome::kNone) {
        putField(json, "outcome", outcomeName(entry.outcome));
        if (!entry.filePath.empty()) putField(json, "path", entry.filePath);
    }
    if (entry.problem) putProblem(json, *entry.problem);
    if (entry.message != nullptr && entry.message->isMessage) {
        json.Key("message");
        putMessage(json, *entry.message);
    } else if (entry.message != nullptr) {
        putSubFiles(json, *entry.message);
    }
    json.EndObject();
}

// The keys are the names in lower case. A value with bytes that belong to no character is also given raw, in
// base64.
void putMetadata(Writer& json, const std::vector<MetadataField>& fields) {
    json.Key("metadata");
    json.StartObject();
    for (const MetadataField& field : fields) {
        json.Key(lowerCase(field.name).c_str());
        if (field.text) {
            putText(json, *field.text);
        } else {
            json.Null();
        }
    }
    json.EndObject();
    bool anyRaw = std::any_of(fields.begin(), fields.end(),
                              [](const MetadataField& field) { return field.raw.has_value(); });
    if (!anyRaw) return;
    json.Key("metadata_raw");
    json.StartObject();
    for (const MetadataField& field : fields) {
        if (field.raw) putField(json, lowerCase(field.name).c_str(), base64(*field.raw));
    }
    json.EndObject();
}

void putSubFiles(Writer& json, const MessageTree& tree) {
    json.Key("sub_files");
    json.StartArray();
    for (const SubFileEntry& entry : tree.subFiles) putEntry(json, entry);
    json.EndArray();
}

void putMessage(Writer& json, const MessageTree& tree) {
    json.StartObject();
    putField(json, "name", tree.name);
    const emlhost::Charset* charset = emlhost::findCharset(tree.charset);
    json.Key("charset");
    json.StartObject();
    json.Key("id");
    json.Uint(tree.charset);
    putField(json, "name", charset == nullptr ? "unknown" : charset->label);
    json.EndObject();
    json.Key("date");
    if (tree.date.empty()) {
        json.Null();
    } else {
        putText(json, tree.date);
    }
    json.Key("encrypted");
    json.Bool(tree.encrypted);
    json.Key("size");
    json.Uint64(tree.bytes);
    if (!tree.sha256.empty()) putField(json, "sha256", tree.sha256);
    putMetadata(json, tree.metadata);
    putSubFiles(json, tree);
    if (tree.text) putField(json, "text", *tree.text);
    json.EndObject();
}

void gather(const MessageTree& tree, std::vector<std::string>& warnings, const Problem*& problem) {
    warnings.insert(warnings.end(), tree.warnings.begin(), tree.warnings.end());
    for (const SubFileEntry& entry : tree.subFiles) {
        if (problem == nullptr && entry.problem) problem = &*entry.problem;
        if (entry.message != nullptr) gather(*entry.message, warnings, problem);
    }
}

}  // namespace

std::string withVisibleControls(std::string_view json) {
    std::string result;
    result.reserve(json.size() + 1);
    for (size_t position = 0; position < json.size();) {
        size_t start = position;
        char32_t character = nextCharacter(json, position);
        if (isControl(character) || isDirectionOverride(character)) {
            result += fmt::format("\\u{:04x}", static_cast<uint32_t>(character));
        } else {
            result.append(json, start, position - start);
        }
    }
    return result;
}

std::string jsonLine(std::string_view source, const MessageTree* tree, const Problem* problem,
                     std::optional<uint64_t> index) {
    std::vector<std::string> warnings;
    if (tree != nullptr) gather(*tree, warnings, problem);

    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    json.StartObject();
    putField(json, "schema", "eml/1");
    json.Key("source");
    json.StartObject();
    putField(json, "path", source);
    if (!isUtf8(source)) putField(json, "path_b64", base64(source));
    if (index) {
        json.Key("index");
        json.Uint64(*index);
    }
    json.EndObject();
    putField(json, "status", problem != nullptr ? "error" : warnings.empty() ? "ok" : "warning");
    if (problem != nullptr) putProblem(json, *problem);
    json.Key("warnings");
    json.StartArray();
    for (const std::string& warning : warnings) {
        json.StartObject();
        putField(json, "code", "message-structure");
        putField(json, "text", warning);
        json.EndObject();
    }
    json.EndArray();
    if (tree != nullptr) {
        json.Key("message");
        putMessage(json, *tree);
    }
    json.EndObject();
    return withVisibleControls({buffer.GetString(), buffer.GetSize()}) + "\n";
}

}  // namespace emltool
