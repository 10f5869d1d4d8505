// Pieces of answers in JSON that several commands have.
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <optional>
#include <string>
#include <string_view>

#include "tool/message/json_text.h"
#include "tool/terminal/problem.h"
#include "tool/text/base64_text.h"
#include "tool/text/utf8.h"

namespace emltool {

// The writer with a faster way for strings that need no escapes, as most do.
class JsonWriter : public rapidjson::Writer<rapidjson::StringBuffer> {
  public:
    using Writer::Writer;

    // The names are ours, and need no escapes.
    bool Key(std::string_view name) { return plainString(name); }

    // A string of which nothing is escaped.
    bool plainString(std::string_view text) {
        Prefix(rapidjson::kStringType);
        char* const out = os_->Push(text.size() + 2);
        out[0] = '"';
        text.copy(out + 1, text.size());
        out[text.size() + 1] = '"';
        return EndValue(true);
    }
};

inline void putText(JsonWriter& json, std::string_view text) {
    const bool isPlain = printableAsciiEnd(text, 0) == text.size() &&
                         text.find('"') == std::string_view::npos &&
                         text.find('\\') == std::string_view::npos;
    if (isPlain) {
        json.plainString(text);
        return;
    }
    std::string valid;
    if (!isUtf8(text)) {
        valid = withoutInvalidBytes(text);
        text = valid;
    }
    json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

inline void putField(JsonWriter& json, const char* key, std::string_view text) {
    json.Key(key);
    putText(json, text);
}

// Nothing is null.
inline void putOptional(JsonWriter& json, const char* key, std::string_view text) {
    json.Key(key);
    if (text.empty()) {
        json.Null();
    } else {
        putText(json, text);
    }
}

inline void putNumber(JsonWriter& json, const char* key, uint64_t number) {
    json.Key(key);
    json.Uint64(number);
}

inline void putTruth(JsonWriter& json, const char* key, bool truth) {
    json.Key(key);
    json.Bool(truth);
}

inline void putProblem(JsonWriter& json, const Problem& problem) {
    json.Key("error");
    json.StartObject();
    putField(json, "code", problem.code);
    putField(json, "text", problem.text);
    json.Key("exit");
    json.Int(static_cast<int>(problem.exit));
    json.EndObject();
}

// Puts the member "source". `schema` is the version of the answers: 2 has more.
void putSource(JsonWriter& json, const AnswerSource& source, int schema);

// The beginning that all lines have, up to the warnings. Of a command whose answers show all that is odd, there is
// none. `problem` is NULL unless the message could not be read.
inline void putBeginning(JsonWriter& json, const char* schema, std::string_view source,
                         const Problem* problem) {
    putField(json, "schema", schema);
    putSource(json, {source}, 1);
    putField(json, "status", problem != nullptr ? "error" : "ok");
    if (problem != nullptr) putProblem(json, *problem);
    json.Key("warnings");
    json.StartArray();
    json.EndArray();
}

// The line, which cannot control a terminal.
inline std::string lineOf(const rapidjson::StringBuffer& buffer) {
    return withVisibleControls({buffer.GetString(), buffer.GetSize()}) + "\n";
}

}  // namespace emltool
