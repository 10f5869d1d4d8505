#include "tool/message/manifest.h"

#include <sys/stat.h>

#include <filesystem>

#include "tool/message/json_fields.h"
#include "tool/system/pending_folder.h"
#include "tool/system/write_pieces.h"

namespace emltool {

namespace {

namespace fs = std::filesystem;

std::string folderOf(const std::string& path) { return fs::path(path).parent_path().string(); }

Problem cannotWrite(const std::string& path, const std::error_code& error) {
    return {ExitCode::kOutput, "write-failed", path, describe(error)};
}

Problem existsAlready(const std::string& path) {
    return {ExitCode::kOutput, "exists", path,
            "already exists, not overwritten; choose --on-conflict=overwrite or another file"};
}

void putPath(JsonWriter& json, std::string_view path) {
    putField(json, "path", path);
    if (!isUtf8(path)) putField(json, "path_b64", base64(path));
}

void copyInto(emlhost::Output& output, emlhost::Input& rows) {
    EmlIOobj* const from = rows.object();
    EmlIOobj* const to = output.object();
    if (from->open(from) == 0 || to->open(to) == 0) return;
    uint8_t piece[size_t{16} << 10];
    for (;;) {
        const int32_t got = from->read(from, piece, sizeof piece);
        if (got < 1) break;
        to->write(to, piece, static_cast<uint32_t>(got));
    }
    from->close(from);
    to->close(to);
}

}  // namespace

std::string manifestRow(const MessageSource& source, const SubFileEntry& entry, Reading reading) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putField(json, "schema", "eml-manifest/1");
    putSource(json, answerSource(source), 2);
    putField(json, "number", dotted(entry.path));
    if (!entry.section.empty()) putField(json, "section", entry.section);
    putField(json, "name", entry.name);
    if (!entry.type.empty()) putField(json, "type", entry.type);
    putPath(json, entry.filePath);
    putNumber(json, "size", entry.size.value_or(0));
    putField(json, "sha256", entry.sha256);
    json.Key("readings");
    json.StartArray();
    if (entry.readings.empty()) putText(json, readerWord(reading));
    for (const Reading one : entry.readings) putText(json, readerWord(one));
    json.EndArray();
    json.EndObject();
    return lineOf(buffer);
}

std::string manifestMessageRow(const MessageSource& source, uint64_t files, const Problem* problem) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putField(json, "schema", "eml-manifest-message/1");
    putSource(json, answerSource(source), 2);
    putField(json, "status", problem != nullptr ? "error" : "ok");
    if (problem != nullptr) putProblem(json, *problem);
    putNumber(json, "files", files);
    json.EndObject();
    return lineOf(buffer);
}

ManifestFile::ManifestFile(std::string path, bool replace) : path_(std::move(path)), replace_(replace) {
    struct stat found {};
    const bool isThere = ::lstat(path_.c_str(), &found) == 0;
    if (isThere && S_ISDIR(found.st_mode)) {
        throw Problem(ExitCode::kOutput, "is-a-directory", path_, "is a directory; name a file in it");
    }
    if (isThere && !replace_) throw existsAlready(path_);
    PendingFolder folder(folderOf(path_));
    std::error_code error;
    if (folder.create(error) == nullptr) throw cannotWrite(path_, error);
}

void ManifestFile::finish() {
    const std::unique_ptr<emlhost::Input> rows = rows_.takeInput(path_);
    PendingFolder folder(folderOf(path_));
    std::error_code error;
    const std::unique_ptr<emlhost::FileOutput> output = folder.create(error);
    if (output == nullptr) throw cannotWrite(path_, error);
    copyInto(*output, *rows);
    if (rows->error()) throw inputProblem(path_, rows->error());
    if (output->error()) throw cannotWrite(path_, output->error());
    using emlhost::CommitPolicy;
    error = output->commit(fs::path(path_).filename().string(),
                           replace_ ? CommitPolicy::kReplace : CommitPolicy::kKeepExisting);
    if (error == std::errc::file_exists) throw existsAlready(path_);
    if (error) throw cannotWrite(path_, error);
}

}  // namespace emltool
