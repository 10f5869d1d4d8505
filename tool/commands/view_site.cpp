#include "tool/commands/view_site.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "tool/archive/message_sources.h"
#include "tool/message/message_file.h"
#include "tool/system/document_file.h"
#include "tool/system/write_pieces.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"
#include "tool/view/page.h"
#include "tool/view/site.h"

namespace emltool {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kPageMode = 0600;
constexpr mode_t kFolderMode = 0700;
constexpr const char* kIndex = "index.html";

void prepareFolder(const std::string& folder, bool overwrite) {
    if (::mkdir(folder.c_str(), kFolderMode) == 0) return;
    const int failure = errno;
    std::error_code error;
    if (failure != EEXIST || !fs::is_directory(folder, error)) {
        throw Problem(ExitCode::kOutput, "cannot-write", folder, describe({failure, std::system_category()}));
    }
    const bool isEmpty = fs::is_empty(folder, error);
    if (error) throw Problem(ExitCode::kOutput, "cannot-write", folder, describe(error));
    if (isEmpty || overwrite) return;
    throw Problem(ExitCode::kOutput, "exists", folder,
                  "there are files in it already, not overwritten; choose --overwrite");
}

class SiteWriter {
  public:
    SiteWriter(Console& console, const SiteOptions& options)
        : console_(console), options_(options), own_(fs::weakly_canonical(options.folder).string() + '/') {}

    void add(const MessageSource& source) {
        if (isOwn(source.path)) return;
        MessageFile message(source, options_.force);
        const std::string& name = message.name();
        ViewPage page = buildMimePage(message.input(), name, {options_.maxEmbed}, {kIndex});
        for (const Warning& warning : page.warnings) console_.warn(name, warning.text);
        const std::string file = pageName(++pages_);
        write(file, page.html);
        rows_.push_back({file, name, std::move(page.summary), ""});
        tally_.succeeded();
    }

    void addProblem(const MessageSource& source, const Problem& problem) {
        if (isOwn(source.path)) return;
        if (problem.exit == ExitCode::kNoMessage) {
            console_.warn(source.name(), "left out: " + problem.text);
            return;
        }
        console_.report(problem);
        tally_.failed(problem.exit);
        rows_.push_back({"", source.name(), {}, problem.text});
    }

    void leaveOut(const std::string& path, const char* why) {
        if (!isOwn(path)) console_.warn(path, formatted("left out: {}", why));
    }

    ExitCode finish(const std::string& title) {
        if (rows_.empty())
            throw Problem(ExitCode::kNoMessage, "no-message", title, "there is no message in it");
        write(kIndex, buildIndex(title, std::move(rows_)));
        return tally_.exitCode();
    }

  private:
    // The pages may lie in the folder that is read.
    bool isOwn(const std::string& path) const {
        std::error_code error;
        return fs::weakly_canonical(path, error).string().starts_with(own_);
    }

    void write(const std::string& file, std::string_view html) const {
        const std::string path = (fs::path(options_.folder) / file).string();
        auto output = createDocument(path, kPageMode);
        writeWhole(*output, {reinterpret_cast<const uint8_t*>(html.data()), html.size()});
        if (output->error())
            throw Problem(ExitCode::kOutput, "write-failed", path, describe(output->error()));
        keepDocument(*output, path, options_.overwrite);
    }

    Console& console_;
    const SiteOptions& options_;
    std::string own_;
    std::vector<SiteRow> rows_;
    size_t pages_ = 0;
    Tally tally_;
};

std::string titleOf(const std::string& path) {
    std::error_code error;
    fs::path whole = fs::weakly_canonical(path, error);
    if (whole.filename().empty()) whole = whole.parent_path();
    return whole.filename().empty() ? path : whole.filename().string();
}

// False after the last message. A message that cannot be read is a row of the list; a page that cannot be written ends
// it all.
bool addNext(MessageSources& sources, SiteWriter& writer) {
    MessageSource source;
    try {
        const bool isThere = sources.next(source);
        for (const FolderWalk::Entry& entry : sources.takeLeftOut())
            writer.leaveOut(entry.path, entry.leftOut);
        if (isThere) writer.add(source);
        return isThere;
    } catch (const Problem& problem) {
        if (problem.exit == ExitCode::kOutput) throw;
        writer.addProblem(source.path.empty() ? sources.failure() : source, problem);
        return true;
    }
}

}  // namespace

ExitCode writeSite(Console& console, const std::string& path, const SiteOptions& options) {
    prepareFolder(options.folder, options.overwrite);
    SiteWriter writer(console, options);
    MessageSources sources(path, MessageSources::Folders::kRead);
    while (addNext(sources, writer)) {
    }
    const ExitCode result = writer.finish(titleOf(path));
    console.print(visible((fs::path(options.folder) / kIndex).string()) + "\n");
    return result;
}

}  // namespace emltool
