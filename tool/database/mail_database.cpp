#include "tool/database/mail_database.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <initializer_list>

#include "tool/database/mail_schema.h"

namespace emltool {

namespace {

using Value = rapidjson::Value;

const Value* member(const Value& object, const char* name) {
    if (!object.IsObject()) return nullptr;
    const auto found = object.FindMember(name);
    return found == object.MemberEnd() || found->value.IsNull() ? nullptr : &found->value;
}

// Empty if there is no such text.
std::string_view text(const Value& object, const char* name) {
    const Value* const found = member(object, name);
    if (found == nullptr || !found->IsString()) return {};
    return {found->GetString(), found->GetStringLength()};
}

std::optional<uint64_t> number(const Value& object, const char* name) {
    const Value* const found = member(object, name);
    if (found == nullptr || !found->IsUint64() || found->GetUint64() > INT64_MAX) return std::nullopt;
    return found->GetUint64();
}

template <typename Take>
void forEach(const Value& object, const char* name, Take take) {
    const Value* const found = member(object, name);
    if (found == nullptr || !found->IsArray()) return;
    for (const Value& each : found->GetArray()) take(each);
}

std::string_view textOf(const Value& value) {
    return value.IsString() ? std::string_view(value.GetString(), value.GetStringLength())
                            : std::string_view();
}

void addPiece(std::string& list, std::string_view piece, std::string_view between) {
    if (piece.empty()) return;
    if (!list.empty()) list += between;
    list += piece;
}

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

Problem notOurs(const std::string& path) {
    return {ExitCode::kOutput, "not-database", path,
            "is no database of eml batch, so nothing is continued here; choose another file"};
}

}  // namespace

// The statements that add a row.
class MailDatabase::Writer {
  public:
    explicit Writer(Database& database)
        : database_(database),
          message_(database.prepare(
              "INSERT INTO messages (run, path, path_b64, member, mbox_index, byte_offset, byte_length, "
              "maildir_flags, status, error_code, error_text, subject, subject_base, sender, recipients, "
              "date, "
              "date_utc, time, message_id, list_id, size, sha256, encrypted, protection, charset, "
              "attachments) "
              "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, "
              "CAST(strftime('%s', ?17) AS INTEGER), ?18, ?19, ?20, ?21, ?22, ?23, ?24, ?25)")),
          address_(database.prepare("INSERT INTO addresses VALUES (?1, ?2, ?3, ?4, ?5)")),
          reply_(database.prepare("INSERT INTO replies VALUES (?1, ?2, ?3)")),
          part_(database.prepare(
              "INSERT INTO parts VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14)")),
          field_(database.prepare("INSERT INTO fields VALUES (?1, ?2, ?3, ?4)")),
          warning_(database.prepare("INSERT INTO warnings VALUES (?1, ?2, ?3)")),
          text_(database.prepare("INSERT INTO texts VALUES (?1, ?2, ?3, ?4, ?5, ?6)")),
          search_(
              database.prepare("INSERT INTO search (rowid, subject, sender, recipients, body, attachments) "
                               "VALUES (?1, ?2, ?3, ?4, ?5, ?6)")),
          other_(database.prepare("INSERT INTO other_texts VALUES (?1, ?2, ?3)")) {}

    void add(const Value& row, int64_t run);

  private:
    void addMessage(const Value& row, const Value& message, int64_t run);
    void addPeople(const Value& message);
    void addReplies(const Value& message);
    void addParts(const Value& message);
    void addFields(const Value& message);
    void addWarnings(const Value& row);
    void addTexts(const Value& message);
    void addOtherTexts(const Value& message);

    Database& database_;
    Statement message_;
    Statement address_;
    Statement reply_;
    Statement part_;
    Statement field_;
    Statement warning_;
    Statement text_;
    Statement search_;
    Statement other_;
    int64_t id_ = 0;  // of the message that is being added
};

void MailDatabase::Writer::addMessage(const Value& row, const Value& message, int64_t run) {
    static const Value kNothing(rapidjson::kObjectType);
    const auto object = [](const Value& around, const char* name) -> const Value& {
        const Value* const found = member(around, name);
        return found == nullptr ? kNothing : *found;
    };
    const Value& source = object(row, "source");
    const Value& error = object(row, "error");
    const Value& metadata = object(message, "metadata");
    std::string flags;
    forEach(source, "maildir_flags", [&](const Value& flag) { addPiece(flags, textOf(flag), " "); });
    std::string recipients;
    for (const char* const name : {"to", "cc", "bcc"}) addPiece(recipients, text(metadata, name), ", ");
    int64_t attachments = 0;
    forEach(message, "sub_files",
            [&](const Value& file) { attachments += text(file, "kind") == "attachment" ? 1 : 0; });
    const Value* const encrypted = member(message, "encrypted");

    message_.bindNumber(1, run).bind(2, text(source, "path")).bindOptional(3, text(source, "path_b64"));
    message_.bindOptional(4, text(source, "member")).bindOptional(5, number(source, "index"));
    message_.bindOptional(6, number(source, "offset")).bindOptional(7, number(source, "length"));
    message_.bindOptional(8, flags).bind(9, text(row, "status"));
    message_.bindOptional(10, text(error, "code")).bindOptional(11, text(error, "text"));
    message_.bindOptional(12, text(metadata, "subject")).bindOptional(13, text(message, "subject_base"));
    message_.bindOptional(14, text(metadata, "from")).bindOptional(15, recipients);
    message_.bindOptional(16, text(message, "date")).bindOptional(17, text(message, "date_utc"));
    message_.bindOptional(18, text(message, "message_id")).bindOptional(19, text(message, "list_id"));
    message_.bindOptional(20, number(message, "size")).bindOptional(21, text(message, "sha256"));
    if (encrypted != nullptr && encrypted->IsBool()) message_.bindNumber(22, encrypted->GetBool() ? 1 : 0);
    message_.bindOptional(23, text(message, "protection"));
    message_.bindOptional(24, text(object(message, "charset"), "name")).bindNumber(25, attachments);
    message_.run();
    id_ = database_.lastRow();
}

void MailDatabase::Writer::addPeople(const Value& message) {
    forEach(message, "addresses", [&](const Value& each) {
        address_.bindNumber(1, id_).bind(2, text(each, "field")).bindOptional(3, text(each, "name"));
        address_.bindOptional(4, text(each, "address")).bindOptional(5, text(each, "group"));
        address_.run();
    });
}

void MailDatabase::Writer::addReplies(const Value& message) {
    for (const char* const field : {"in_reply_to", "references"}) {
        forEach(message, field, [&](const Value& each) {
            reply_.bindNumber(1, id_).bind(2, field).bind(3, textOf(each));
            reply_.run();
        });
    }
}

void MailDatabase::Writer::addParts(const Value& message) {
    forEach(message, "parts", [&](const Value& part) {
        bool isAttachment = false;
        forEach(part, "roles", [&](const Value& role) { isAttachment |= textOf(role) == "attachment"; });
        part_.bindNumber(1, id_).bindOptional(2, number(part, "number").value_or(0));
        part_.bindOptional(3, number(part, "parent")).bindOptional(4, text(part, "section"));
        part_.bindOptional(5, text(part, "type")).bindOptional(6, text(part, "name"));
        part_.bindOptional(7, text(part, "disposition")).bindOptional(8, text(part, "content_id"));
        part_.bindOptional(9, text(part, "charset")).bindOptional(10, text(part, "encoding"));
        part_.bindOptional(11, number(part, "size")).bindOptional(12, number(part, "stored_size"));
        part_.bindOptional(13, text(part, "sha256")).bindNumber(14, isAttachment ? 1 : 0);
        part_.run();
    });
}

void MailDatabase::Writer::addFields(const Value& message) {
    int64_t position = 0;
    forEach(message, "headers", [&](const Value& field) {
        field_.bindNumber(1, id_).bindNumber(2, position++).bind(3, text(field, "name"));
        field_.bindOptional(4, text(field, "text"));
        field_.run();
    });
}

void MailDatabase::Writer::addWarnings(const Value& row) {
    forEach(row, "warnings", [&](const Value& warning) {
        warning_.bindNumber(1, id_).bind(2, text(warning, "code")).bindOptional(3, text(warning, "text"));
        warning_.run();
    });
}

void MailDatabase::Writer::addTexts(const Value& message) {
    std::string sender;
    std::string recipients;
    forEach(message, "addresses", [&](const Value& each) {
        const bool sends = isOneOf(text(each, "field"), {"from", "sender", "reply-to", "resent-from"});
        std::string& people = sends ? sender : recipients;
        addPiece(people, text(each, "name"), ", ");
        addPiece(people, text(each, "address"), text(each, "name").empty() ? ", " : " ");
    });
    std::string names;
    forEach(message, "sub_files", [&](const Value& file) {
        if (text(file, "kind") == "attachment") addPiece(names, text(file, "name"), "\n");
    });
    const Value* const metadata = member(message, "metadata");
    const std::string_view subject = metadata == nullptr ? std::string_view() : text(*metadata, "subject");
    for (Statement* const statement : {&text_, &search_}) {
        statement->bindNumber(1, id_).bindOptional(2, subject).bindOptional(3, sender);
        statement->bindOptional(4, recipients).bindOptional(5, text(message, "text")).bindOptional(6, names);
        statement->run();
    }
}

void MailDatabase::Writer::addOtherTexts(const Value& message) {
    for (const char* const kind : {"hidden_text", "markdown", "html"}) {
        const std::string_view found = text(message, kind);
        if (found.empty()) continue;
        other_.bindNumber(1, id_).bind(2, kind).bind(3, found);
        other_.run();
    }
}

void MailDatabase::Writer::add(const Value& row, int64_t run) {
    const Value nothing(rapidjson::kObjectType);
    const Value* const message = member(row, "message");
    addMessage(row, message == nullptr ? nothing : *message, run);
    addWarnings(row);
    if (message == nullptr) return;
    addPeople(*message);
    addReplies(*message);
    addParts(*message);
    addFields(*message);
    addTexts(*message);
    addOtherTexts(*message);
}

// Readers are not kept waiting by a writer that goes on for hours: hence the log before the file itself. A power cut may
// cost the last commits, never the database.
MailDatabase::MailDatabase(const std::string& path, const std::string& folder)
    : database_(path, Database::Mode::kWrite) {
    const bool isNew = database_.value("PRAGMA schema_version").value_or(0) == 0;
    if (!isNew && database_.value("PRAGMA application_id") != kApplicationId) throw notOurs(path);
    if (!isNew && database_.value("PRAGMA user_version") != kSchemaVersion) throw notOurs(path);
    database_.run(
        "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA cache_size=-65536;"
        "PRAGMA temp_store=MEMORY");
    begin();
    if (isNew) database_.run(kMailSchema);
    Statement run = database_.prepare("INSERT INTO runs (folder) VALUES (?1)");
    run.bind(1, folder).run();
    run_ = database_.lastRow();
    writer_ = std::make_unique<Writer>(database_);
    commit();
}

// What was not committed goes with the connection.
MailDatabase::~MailDatabase() = default;

void MailDatabase::begin() {
    if (inTransaction_) return;
    database_.run("BEGIN IMMEDIATE");
    inTransaction_ = true;
}

void MailDatabase::commit() {
    if (!inTransaction_) return;
    database_.run("COMMIT");
    inTransaction_ = false;
}

// Not by recursion: the row tells what a hostile message holds.
void MailDatabase::add(std::string_view row) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(row.data(), row.size());
    if (document.HasParseError() || !document.IsObject())
        throw Problem(ExitCode::kInternal, "internal", database_.path(),
                      "internal error: a row that is none");
    begin();
    writer_->add(document, run_);
}

void MailDatabase::forEachPlace(const TakePlace& take) {
    Statement rows = database_.prepare("SELECT path, path_b64, mbox_index FROM messages ORDER BY id");
    while (rows.step()) take(storedPlace(rows, 0));
}

bool MailDatabase::forEachThreadFacts(const TakeFacts& take) {
    Statement rows = database_.prepare(
        "SELECT id, path, path_b64, mbox_index, message_id, subject FROM messages "
        "WHERE size IS NOT NULL ORDER BY id");
    Statement ids = database_.prepare("SELECT message, field, message_id FROM replies ORDER BY rowid");
    bool anyId = ids.step();
    while (rows.step()) {
        const int64_t id = rows.number(0);
        ThreadFacts facts{storedPlace(rows, 1), rows.text(4), {}, {}, rows.text(5)};
        for (; anyId && ids.number(0) <= id; anyId = ids.step()) {
            if (ids.number(0) < id) continue;
            (ids.text(1) == "references" ? facts.references : facts.inReplyTo).push_back(ids.text(2));
        }
        if (!take(id, facts)) return false;
    }
    return true;
}

void MailDatabase::setThread(int64_t id, std::string_view thread) {
    begin();
    if (!setThread_) setThread_ = database_.prepare("UPDATE messages SET thread = ?2 WHERE id = ?1");
    setThread_->bindNumber(1, id).bind(2, thread).run();
}

void MailDatabase::finish() {
    commit();
    writer_.reset();
    setThread_.reset();
    try {
        database_.run("PRAGMA journal_mode=DELETE");
    } catch (const Problem& problem) {
        if (problem.code != "in-use") throw;  // somebody is reading it, who then does it at the end
    }
}

}  // namespace emltool
