// eml view: the message as one safe HTML page, opened in a browser.
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "tool/archive/folder_walk.h"
#include "tool/archive/message_sources.h"
#include "tool/cli/command.h"
#include "tool/commands/message_arguments.h"
#include "tool/commands/view_site.h"
#include "tool/message/message_file.h"
#include "tool/system/document_file.h"
#include "tool/system/write_pieces.h"
#include "tool/text/format.h"
#include "tool/text/size_text.h"
#include "tool/text/visible_text.h"
#include "tool/view/page.h"

namespace emltool {

namespace {

// A message is private: nobody else may read its page.
constexpr mode_t kPageMode = 0600;

// Hands `path` to the desktop's browser. False when there is none.
bool openInBrowser(const std::string& path) {
    const char* chosen = std::getenv("BROWSER");
    const char* opener = chosen != nullptr && *chosen != '\0' ? chosen : "xdg-open";
    pid_t child = ::fork();
    if (child == 0) {
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        ::execlp(opener, opener, path.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

bool hasDisplay() {
    return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr ||
           std::getenv("BROWSER") != nullptr;
}

void put(emlhost::Output& output, std::string_view page, const std::string& name) {
    writeWhole(output, {reinterpret_cast<const uint8_t*>(page.data()), page.size()});
    if (output.error()) throw Problem(ExitCode::kOutput, "write-failed", name, describe(output.error()));
}

class ViewRun final : public CommandRun {
  public:
    explicit ViewRun(CLI::App& app) : messages_(app, MessageArguments::Count::kOne) {
        app.add_option("-o,--output", outputPath_,
                       "where to write the page, or the folder of pages; - is standard output")
            ->type_name("OUT");
        app.add_flag("--no-open", noOpen_, "only write the page and print its path");
        app.add_flag("--overwrite", overwrite_,
                     "replace OUT if it exists; in a folder, the files of the same name");
        app.add_option("--max-embed", maxEmbed_,
                       "leave out attachments and pictures above this size (default: 25M)")
            ->type_name("SIZE");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        if (options.json) throw usageProblem("view has no JSON form; see \"eml --json info\"");
        std::optional<uint64_t> maxEmbed = parseSize(maxEmbed_);
        if (!maxEmbed) {
            throw usageProblem(
                formatted("--max-embed={}: no size; it is bytes, or like 512K, 25M", maxEmbed_));
        }
        if (options.reading == Reading::kFilter) {
            throw usageProblem("view has no --reader=filter, which gives text alone; see \"eml show\"");
        }
        // A folder without a place for its pages is refused below, as by the other commands.
        const char* const folderWord = outputPath_.empty() ? nullptr : "a folder";
        const char* const many = isFolder(messages_.file()) ? folderWord : wordForMany(messages_.file());
        if (many != nullptr) return writeFolder(console, options, *maxEmbed, many);
        MessageFile file(messages_.message(), messages_.force());
        const ViewOptions viewOptions{*maxEmbed};
        const ViewPage page = options.reading == Reading::kContainer
                                  ? buildContainerPage(file, viewOptions)
                                  : buildMimePage(file.input(), file.name(), viewOptions);
        for (const Warning& warning : page.warnings) console.warn(file.name(), warning.text);
        if (outputPath_ == "-") {
            console.print(page.html);
            return ExitCode::kDone;
        }
        std::string path = outputPath_.empty() ? writeTemporary(page.html) : writeNamed(page.html);
        bool open = outputPath_.empty() && !noOpen_;
        console.print(visible(path) + "\n");
        console.flush();
        if (!open) return ExitCode::kDone;
        if (!hasDisplay() || !openInBrowser(path)) {
            console.warn("", "no browser could be started; open the page above yourself");
        }
        return ExitCode::kDone;
    }

  private:
    // What holds many messages; NULL if nothing does. What cannot be read is no mbox; opening it as a message says why.
    static const char* wordForMany(const std::string& path) {
        if (path == "-") return nullptr;
        try {
            MessageSources sources(path);
            MessageSource source;
            if (!sources.next(source) || !source.isOneOfMany) return nullptr;
            return source.member ? "an archive" : "an mbox";
        } catch (const Problem&) {
            return nullptr;
        }
    }

    ExitCode writeFolder(Console& console, const GlobalOptions& options, uint64_t maxEmbed,
                         const char* many) const {
        const std::string& path = messages_.file();
        if (outputPath_.empty() || outputPath_ == "-") {
            throw usageProblem(
                formatted("{} is {}: name a folder for its pages with -o", visible(path), many));
        }
        if (options.reading != Reading::kMime)
            throw usageProblem("--reader=container shows one message at a time");
        return writeSite(console, path, {outputPath_, maxEmbed, overwrite_, messages_.force()});
    }

    std::string writeNamed(std::string_view html) const {
        auto output = createDocument(outputPath_, kPageMode);
        put(*output, html, outputPath_);
        keepDocument(*output, outputPath_, overwrite_);
        return outputPath_;
    }

    // The browser may read it after this program has ended, so it stays.
    static std::string writeTemporary(std::string_view html) {
        const char* chosen = std::getenv("TMPDIR");
        std::string path =
            std::string(chosen != nullptr && *chosen != '\0' ? chosen : "/tmp") + "/eml-view-XXXXXX.html";
        emlhost::UniqueDescriptor descriptor(::mkstemps(path.data(), 5));
        if (descriptor.get() < 0) {
            throw Problem(ExitCode::kOutput, "cannot-write", path, describe({errno, std::system_category()}));
        }
        emlhost::DescriptorOutput output(descriptor.get());
        try {
            put(output, html, path);
        } catch (const Problem&) {
            ::unlink(path.c_str());
            throw;
        }
        return path;
    }

    MessageArguments messages_;
    std::string outputPath_;
    std::string maxEmbed_ = "25M";
    bool noOpen_ = false;
    bool overwrite_ = false;
};

std::unique_ptr<CommandRun> declareView(CLI::App& app) { return std::make_unique<ViewRun>(app); }

}  // namespace

const Command kViewCommand = {
    "view", "look at a message in a browser, safely", "FILE",
    "One page with everything in it: header, body, attachments to save, messages inside the message. "
    "Nothing\n"
    "in it runs, and nothing is loaded from the network. Without -o it is a temporary file, which only you "
    "can\n"
    "read, and is opened with $BROWSER or xdg-open; it stays until you remove it.\n\n"
    "A folder, an mbox or an archive becomes a folder with a page for each message, and index.html, the "
    "list\n"
    "of them.\n\n"
    "Examples:\n"
    "  eml view message.eml\n"
    "  eml view -o message.html message.eml\n"
    "  eml view -o pages Archive/    then open pages/index.html\n",
    declareView};

}  // namespace emltool
