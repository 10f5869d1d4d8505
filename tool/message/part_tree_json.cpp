#include "tool/message/part_tree_json.h"

#include "tool/message/defect_words.h"
#include "tool/message/json_fields.h"
#include "tool/message/part_words.h"

namespace emltool {

namespace {

constexpr const char* kSchema = "eml-tree/1";

void putSpan(JsonWriter& json, const char* key, const EmlMimeSpan& span) {
    json.Key(key);
    json.StartObject();
    putNumber(json, "offset", span.offset);
    putNumber(json, "length", span.length);
    json.EndObject();
}

void putFlags(JsonWriter& json, const PartEntry& entry) {
    struct Flag {
        uint32_t bit;
        const char* word;
    };
    constexpr Flag kFlags[] = {{EML_MIME_PART_MULTIPART, "multipart"},
                               {EML_MIME_PART_MESSAGE, "message"},
                               {EML_MIME_PART_ENCODED_MESSAGE, "encoded-message"},
                               {EML_MIME_PART_ROOT, "root"},
                               {EML_MIME_PART_INLINE_FILE, "inline-file"},
                               {EML_MIME_PART_DEFAULT_TYPE, "default-type"},
                               {EML_MIME_PART_FLOWED, "flowed"},
                               {EML_MIME_PART_DELSP, "delsp"}};
    json.Key("flags");
    json.StartArray();
    for (const Flag& flag : kFlags) {
        if ((entry.part.info().flags & flag.bit) != 0) json.String(flag.word);
    }
    json.EndArray();
}

void putDefects(JsonWriter& json, const PartEntry& entry) {
    json.Key("defects");
    json.StartArray();
    for (const emlreader::mime::Defect& defect : entry.defects) {
        json.StartObject();
        putField(json, "code", defect.name());
        putField(json, "text", defectText(defect.code));
        putNumber(json, "offset", defect.offset);
        putNumber(json, "count", defect.count);
        json.EndObject();
    }
    json.EndArray();
}

void putPart(JsonWriter& json, const PartEntry& entry) {
    const EmlMimePart& info = entry.part.info();
    json.StartObject();
    putNumber(json, "number", entry.part.number());
    putOptional(json, "section", entry.section);
    json.Key("parent");
    if (info.parent == EML_MIME_NONE) {
        json.Null();
    } else {
        json.Uint(info.parent);
    }
    putField(json, "type", entry.part.mediaType());
    putField(json, "name", entry.name);
    putTruth(json, "named", entry.part.isNamed());
    putNumber(json, "size", entry.size);
    putNumber(json, "stored_size", info.body.length);
    putField(json, "encoding", encodingWord(info.encoding));
    putOptional(json, "charset", entry.part.charset());
    putOptional(json, "disposition", entry.part.disposition());
    putOptional(json, "content_id", entry.part.contentId());
    if (!entry.sha256.empty()) putField(json, "sha256", entry.sha256);
    json.Key("roles");
    json.StartArray();
    for (std::string_view word : roleWords(info.roles)) putText(json, word);
    json.EndArray();
    putOptional(json, "protection", protectionWord(info.protection));
    putFlags(json, entry);
    putSpan(json, "header", info.header);
    putSpan(json, "body", info.body);
    if (info.signedSpan.length != 0) putSpan(json, "signed", info.signedSpan);
    putDefects(json, entry);
    json.EndObject();
}

void putSpans(JsonWriter& json, std::span<const EmlMimeSpanInfo> spans) {
    json.Key("spans");
    json.StartArray();
    for (const EmlMimeSpanInfo& span : spans) {
        json.StartObject();
        putNumber(json, "offset", span.span.offset);
        putNumber(json, "length", span.span.length);
        putField(json, "kind", spanWord(span.kind));
        putNumber(json, "part", span.part);
        json.EndObject();
    }
    json.EndArray();
}

void putParts(JsonWriter& json, std::span<const PartEntry> parts) {
    json.StartArray();
    for (const PartEntry& entry : parts) putPart(json, entry);
    json.EndArray();
}

}  // namespace

std::string partsJson(std::span<const PartEntry> parts) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    putParts(json, parts);
    return {buffer.GetString(), buffer.GetSize()};
}

std::string treeLine(std::string_view source, std::span<const PartEntry> parts,
                     std::span<const EmlMimeSpanInfo> spans) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putBeginning(json, kSchema, source, nullptr);
    json.Key("parts");
    putParts(json, parts);
    if (!spans.empty()) putSpans(json, spans);
    json.EndObject();
    return lineOf(buffer);
}

std::string treeLine(std::string_view source, const Problem& problem) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putBeginning(json, kSchema, source, &problem);
    json.EndObject();
    return lineOf(buffer);
}

}  // namespace emltool
