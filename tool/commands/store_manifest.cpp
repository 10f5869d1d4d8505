#include "tool/commands/store_manifest.h"

#include <array>
#include <string_view>

#include "tool/batch/row_facts.h"
#include "tool/batch/row_lines.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

constexpr std::string_view kFileBegins = R"({"schema":"eml-manifest/1","source":{"path":")";
constexpr std::string_view kMessageBegins = R"({"schema":"eml-manifest-message/1","source":{"path":")";
constexpr std::array<std::string_view, 2> kBegins = {kFileBegins, kMessageBegins};

// A file of another manifest has another path.
bool isFileRow(std::string_view line) {
    constexpr std::string_view kKey = R"("sha256":")";
    constexpr size_t kDigits = 64;
    if (!line.starts_with(kFileBegins) || !line.ends_with('}')) return false;
    // In the texts of a row, there is a backslash before each quote.
    const size_t key = line.find(kKey);
    if (key == std::string_view::npos || line.size() - key < kKey.size() + kDigits) return false;
    const std::string_view digest = line.substr(key + kKey.size(), kDigits);
    return line.find(formatted("{}/{}\"", digest.substr(0, 2), digest.substr(2))) < key;
}

bool takeMessageRow(std::string_view line, FinishedRows& finished) {
    RowFacts source;
    if (!line.starts_with(kMessageBegins) || !line.ends_with('}') || !readRowSource(line, source))
        return false;
    finished.add(source.path, source.index);
    return true;
}

}  // namespace

uint64_t readStoreRows(int descriptor, const std::string& name, FinishedRows& finished) {
    RowLines lines(descriptor, name);
    uint64_t number = 1;
    uint64_t length = 0;
    uint64_t done = 0;
    for (std::string_view line; lines.next(line); ++number) {
        length += line.size() + 1;
        if (takeMessageRow(line, finished)) {
            done = length;
        } else if (!isFileRow(line)) {
            throw noRow(name, number, "eml extract --store");
        }
    }
    if (!isTornRow(lines.rest(), kBegins)) throw noRow(name, number, "eml extract --store");
    finished.seal();
    return done;
}

StoreManifest::StoreManifest(Console& console, std::string path, bool resume) : console_(console) {
    if (path == "-") return;
    file_ = std::make_unique<RowOutput>(RowOutput::Form{std::move(path), resume, false, readStoreRows},
                                        finished_);
}

bool StoreManifest::takeDone(const MessageSource& source) {
    return finished_.take(source.path, source.index);
}

void StoreManifest::write(const std::string& rows) {
    if (file_ != nullptr) {
        file_->write(rows);
    } else {
        console_.print(rows);
    }
}

}  // namespace emltool
