#include "tool/message/json_text.h"

#include <algorithm>

#include "standalone/charsets.h"
#include "tool/message/json_fields.h"
#include "tool/text/ascii.h"
#include "tool/text/base64_text.h"
#include "tool/text/format.h"
#include "tool/text/subject_base.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

void putSize(JsonWriter& json, const char* key, const std::optional<uint64_t>& size) {
    json.Key(key);
    if (size) {
        json.Uint64(*size);
    } else {
        json.Null();
    }
}

void putTexts(JsonWriter& json, const char* key, const std::vector<std::string>& texts) {
    json.Key(key);
    json.StartArray();
    for (const std::string& text : texts) putText(json, text);
    json.EndArray();
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

// Writes the parts of one answer.
class Answer {
  public:
    Answer(JsonWriter& json, const AnswerForm& form) : json_(json), form_(form) {}

    void message(const MessageTree& tree);

  private:
    bool isFirstSchema() const { return form_.schema == 1; }
    void flags(const SubFileEntry& entry);
    void mimeFields(const SubFileEntry& entry);
    void readings(const std::vector<Reading>& readings);
    void entry(const SubFileEntry& entry);
    void charset(const MessageTree& tree);
    void metadata(const std::vector<MetadataField>& fields);
    void facts(const MessageTree& tree);
    void addresses(const std::vector<MailAddress>& addresses);
    void received(const std::vector<TraceField>& steps);
    void headers(const std::vector<ListedField>& fields);
    void subFiles(const MessageTree& tree);
    void tnef(const MessageTree& tree);
    void textSpans(const std::vector<TextSpan>& spans);

    JsonWriter& json_;
    const AnswerForm& form_;
};

void Answer::flags(const SubFileEntry& entry) {
    json_.Key("flags");
    json_.StartArray();
    if (entry.isEmbeddedMessage) json_.String("embedded-message");
    if (!entry.isInFile) json_.String("not-in-file");
    if (entry.isEncrypted) json_.String("encrypted");
    if (entry.isTnef) json_.String("tnef");
    if (!isFirstSchema() && !entry.isNamed) json_.String("made-up-name");
    json_.EndArray();
}

void Answer::mimeFields(const SubFileEntry& entry) {
    if (isFirstSchema()) return;
    if (!entry.type.empty()) putField(json_, "type", entry.type);
    if (!entry.disposition.empty()) putField(json_, "disposition", entry.disposition);
    if (!entry.contentId.empty()) putField(json_, "content_id", entry.contentId);
    if (!entry.section.empty()) putField(json_, "section", entry.section);
}

void Answer::readings(const std::vector<Reading>& readings) {
    if (!form_.isUnion || isFirstSchema() || readings.empty()) return;
    json_.Key("readings");
    json_.StartArray();
    for (const Reading reading : readings) json_.String(readerWord(reading));
    json_.EndArray();
}

void Answer::entry(const SubFileEntry& entry) {
    json_.StartObject();
    json_.Key("number");
    json_.Int(entry.path.back());
    json_.Key("parent");
    json_.Int(entry.parent);
    putField(json_, "kind", entry.isMessage ? "message" : "attachment");
    putField(json_, "name", entry.name);
    if (!entry.safeName.empty()) putField(json_, "safe_name", entry.safeName);
    putSize(json_, "size", entry.size);
    if (!entry.isMessage && entry.storedSize) putSize(json_, "stored_size", entry.storedSize);
    mimeFields(entry);
    flags(entry);
    if (!entry.sha256.empty()) putField(json_, "sha256", entry.sha256);
    readings(entry.readings);
    if (entry.outcome != Outcome::kNone) {
        putField(json_, "outcome", outcomeName(entry.outcome));
        if (!entry.filePath.empty()) putField(json_, "path", entry.filePath);
    }
    if (entry.problem) putProblem(json_, *entry.problem);
    if (entry.message != nullptr && entry.message->isMessage) {
        json_.Key("message");
        message(*entry.message);
    } else if (entry.message != nullptr) {
        if (!isFirstSchema()) tnef(*entry.message);
        subFiles(*entry.message);
    }
    json_.EndObject();
}

// The keys are the names in lower case. A value with bytes that belong to no character is also given raw, in
// base64.
void Answer::metadata(const std::vector<MetadataField>& fields) {
    json_.Key("metadata");
    json_.StartObject();
    for (const MetadataField& field : fields) {
        json_.Key(lowerCase(field.name).c_str());
        if (field.text) {
            putText(json_, *field.text);
        } else {
            json_.Null();
        }
    }
    json_.EndObject();
    bool anyRaw = std::any_of(fields.begin(), fields.end(),
                              [](const MetadataField& field) { return field.raw.has_value(); });
    if (!anyRaw) return;
    json_.Key("metadata_raw");
    json_.StartObject();
    for (const MetadataField& field : fields) {
        if (field.raw) putField(json_, lowerCase(field.name).c_str(), base64(*field.raw));
    }
    json_.EndObject();
}

void Answer::facts(const MessageTree& tree) {
    if (isFirstSchema() || !tree.facts) return;
    const HeaderFacts& facts = *tree.facts;
    putOptional(json_, "date_utc", facts.dateUtc);
    putOptional(json_, "message_id", facts.thread.messageId);
    putTexts(json_, "in_reply_to", facts.thread.inReplyTo);
    putTexts(json_, "references", facts.thread.references);
    const auto subject = std::ranges::find(tree.metadata, std::string_view("Subject"), &MetadataField::name);
    json_.Key("subject_base");
    if (subject != tree.metadata.end() && subject->text) {
        putText(json_, subjectBase(*subject->text).text);
    } else {
        json_.Null();
    }
    putOptional(json_, "list_id", facts.listId);
    addresses(facts.addresses);
    received(facts.received);
}

void Answer::addresses(const std::vector<MailAddress>& addresses) {
    json_.Key("addresses");
    json_.StartArray();
    for (const MailAddress& each : addresses) {
        json_.StartObject();
        putField(json_, "field", each.field);
        putField(json_, "name", each.name);
        putField(json_, "address", each.address);
        if (!each.group.empty()) putField(json_, "group", each.group);
        json_.EndObject();
    }
    json_.EndArray();
}

// What a server did not say is left out.
void Answer::received(const std::vector<TraceField>& steps) {
    json_.Key("received");
    json_.StartArray();
    for (const TraceField& step : steps) {
        json_.StartObject();
        const std::pair<const char*, const std::string&> members[] = {
            {"from", step.from}, {"by", step.by},         {"via", step.via},     {"with", step.with},
            {"id", step.id},     {"for", step.recipient}, {"other", step.other}, {"date", step.date}};
        for (const auto& [key, value] : members) {
            if (!value.empty()) putField(json_, key, value);
        }
        json_.EndObject();
    }
    json_.EndArray();
}

// Bytes after the colon that are no UTF-8 are also given in base64.
void Answer::headers(const std::vector<ListedField>& fields) {
    json_.Key("headers");
    json_.StartArray();
    for (const ListedField& field : fields) {
        json_.StartObject();
        putField(json_, "name", field.name);
        putField(json_, "text", field.text);
        putField(json_, "raw", field.raw);
        if (!isUtf8(field.raw)) putField(json_, "raw_b64", base64(field.raw));
        json_.Key("offset");
        json_.Uint64(field.offset);
        json_.Key("length");
        json_.Uint64(field.length);
        json_.EndObject();
    }
    json_.EndArray();
}

void Answer::subFiles(const MessageTree& tree) {
    json_.Key("sub_files");
    json_.StartArray();
    for (const SubFileEntry& each : tree.subFiles) entry(each);
    json_.EndArray();
}

// What a TNEF says of its message.
void Answer::tnef(const MessageTree& tree) {
    if (tree.metadata.empty() && tree.date.empty()) return;
    json_.Key("tnef");
    json_.StartObject();
    for (const MetadataField& field : tree.metadata)
        putField(json_, lowerCase(field.name).c_str(), field.text.value_or(""));
    if (!tree.date.empty()) putField(json_, "date", tree.date);
    json_.EndObject();
}

void Answer::textSpans(const std::vector<TextSpan>& spans) {
    json_.Key("text_spans");
    json_.StartArray();
    for (const TextSpan& span : spans) {
        json_.StartObject();
        putField(json_, "kind", nameOf(span.kind));
        putNumber(json_, "first_line", span.firstLine);
        putNumber(json_, "lines", span.lines);
        json_.EndObject();
    }
    json_.EndArray();
}

// The first version of the schema always has a number and a name.
void Answer::charset(const MessageTree& tree) {
    const emlhost::Charset* known = emlhost::findCharset(tree.charset);
    std::string name = !tree.charsetLabel.empty() ? tree.charsetLabel : known != nullptr ? known->label : "";
    if (isFirstSchema() && name.empty()) name = "unknown";
    json_.Key("charset");
    json_.StartObject();
    if (isFirstSchema() || tree.charset != 0) {
        json_.Key("id");
        json_.Uint(tree.charset);
    }
    putOptional(json_, "name", name);
    json_.EndObject();
}

void Answer::message(const MessageTree& tree) {
    json_.StartObject();
    putField(json_, "name", tree.name);
    charset(tree);
    putOptional(json_, "date", tree.date);
    json_.Key("encrypted");
    json_.Bool(tree.encrypted);
    if (!isFirstSchema() && !tree.protection.empty()) putField(json_, "protection", tree.protection);
    json_.Key("size");
    json_.Uint64(tree.bytes);
    if (!tree.sha256.empty()) putField(json_, "sha256", tree.sha256);
    metadata(tree.metadata);
    facts(tree);
    if (tree.headers && !isFirstSchema()) headers(*tree.headers);
    subFiles(tree);
    if (tree.parts) {
        json_.Key("parts");
        json_.RawValue(tree.parts->data(), tree.parts->size(), rapidjson::kArrayType);
    }
    if (tree.text) putField(json_, "text", *tree.text);
    if (tree.markdown) putField(json_, "markdown", *tree.markdown);
    if (tree.html) putField(json_, "html", *tree.html);
    if (!tree.hiddenText.empty() && !isFirstSchema()) putField(json_, "hidden_text", tree.hiddenText);
    if (tree.textSpans && !isFirstSchema()) textSpans(*tree.textSpans);
    json_.EndObject();
}

void gather(const MessageTree& tree, std::vector<Warning>& warnings, const Problem*& problem) {
    warnings.insert(warnings.end(), tree.warnings.begin(), tree.warnings.end());
    for (const SubFileEntry& entry : tree.subFiles) {
        if (problem == nullptr && entry.problem) problem = &*entry.problem;
        if (entry.message != nullptr) gather(*entry.message, warnings, problem);
    }
}

}  // namespace

const char* readerWord(Reading reading) {
    switch (reading) {
        case Reading::kContainer:
            return "container";
        case Reading::kFilter:
            return "filter";
        case Reading::kMime:
            break;
    }
    return "mime";
}

std::string withVisibleControls(std::string_view json) {
    std::string result;
    result.reserve(json.size() + 1);
    size_t kept = 0;  // up to here `json` is in `result`
    for (size_t position = printableAsciiEnd(json, 0); position < json.size();
         position = printableAsciiEnd(json, position)) {
        const size_t start = position;
        char32_t character = nextCharacter(json, position);
        if (!isControl(character) && !isDirectionOverride(character)) continue;
        result.append(json, kept, start - kept);
        result += formatted("\\u{:04x}", static_cast<uint32_t>(character));
        kept = position;
    }
    return result.append(json, kept);
}

AnswerSource answerSource(const MessageSource& source) {
    return {source.path, source.index, source.hasPlace, source.offset, source.length, source.member};
}

std::string jsonLine(const AnswerForm& form, const AnswerSource& source, const MessageTree* tree,
                     const Problem* problem) {
    std::vector<Warning> warnings;
    if (tree != nullptr) gather(*tree, warnings, problem);

    constexpr size_t kUsualLength = 4096;
    rapidjson::StringBuffer buffer(nullptr, kUsualLength);
    JsonWriter json(buffer);
    json.StartObject();
    putField(json, "schema", form.schema == 1 ? "eml/1" : "eml/2");
    putSource(json, source, form.schema);
    if (form.schema != 1) putField(json, "reader", form.isUnion ? "all" : readerWord(form.reading));
    putField(json, "status", problem != nullptr ? "error" : warnings.empty() ? "ok" : "warning");
    if (problem != nullptr) putProblem(json, *problem);
    json.Key("warnings");
    json.StartArray();
    for (const Warning& warning : warnings) {
        json.StartObject();
        putField(json, "code", form.schema == 1 ? "message-structure" : warning.code);
        putField(json, "text", warning.text);
        json.EndObject();
    }
    json.EndArray();
    if (tree != nullptr) {
        json.Key("message");
        Answer(json, form).message(*tree);
    }
    json.EndObject();
    return lineOf(buffer);
}

}  // namespace emltool
