// eml list: the message and its sub-files.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/message/json_text.h"
#include "tool/message/size_visitor.h"
#include "tool/message/tree.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

const char* kindOf(const SubFileEntry& entry) {
    if (entry.info.kind == EML_KIND_MESSAGE || entry.isEmbeddedMessage()) return "message";
    if (entry.isTnef) return "tnef";
    return "attachment";
}

// What a person should know about an entry beyond its columns.
std::string notesOf(const SubFileEntry& entry, bool verbose) {
    std::vector<std::string> notes;
    bool encrypted = (entry.info.flags & EML_SUB_FILE_ENCRYPTED) != 0;
    if (encrypted || (entry.message != nullptr && entry.message->encrypted)) notes.emplace_back("encrypted");
    if (!entry.isInFile()) notes.emplace_back("not in the file");
    if (verbose && entry.info.size > 0) notes.push_back(fmt::format("stored in {} B", entry.info.size));
    if (verbose && entry.name != entry.info.name) {
        notes.push_back(fmt::format("written {}", visible(entry.info.name)));
    }
    return fmt::format("{}", fmt::join(notes, "; "));
}

struct Row {
    std::string number;
    std::string size;
    const SubFileEntry* entry;
};

std::string sizeText(const std::optional<uint64_t>& size, bool exact) {
    if (!size) return "-   ";
    return exact ? fmt::format("{} B ", *size) : humanSize(*size);
}

void gatherRows(const MessageTree& tree, bool exact, std::vector<Row>& rows) {
    for (const SubFileEntry& entry : tree.subFiles) {
        // The message inside an embedded message is the embedded message.
        bool repeated = entry.info.kind == EML_KIND_MESSAGE && entry.path.size() > 1;
        if (!repeated) rows.push_back({dotted(entry.path), sizeText(entry.size, exact), &entry});
        if (entry.message != nullptr) gatherRows(*entry.message, exact, rows);
    }
}

// Sizes stand below each other at their units, so the heading does as well.
void printRows(Console& console, const std::vector<Row>& rows) {
    size_t numberWidth = 4;
    size_t sizeWidth = 9;
    for (const Row& row : rows) {
        numberWidth = std::max(numberWidth, row.number.size());
        sizeWidth = std::max(sizeWidth, row.size.size());
    }
    const Style& style = console.style();
    std::string heading =
        fmt::format("{:>{}} {:>{}}  {:<10}  {}", "#", numberWidth, "SIZE", sizeWidth, "KIND", "NAME");
    console.print(style.label(heading) + "\n");
    for (const Row& row : rows) {
        const SubFileEntry& entry = *row.entry;
        std::string name = visible(entry.name);
        bool nameless = name.empty();
        if (nameless) name = entry.info.kind == EML_KIND_MESSAGE ? "(message)" : "(no name)";
        std::string notes = notesOf(entry, console.verbose());
        if (!notes.empty()) notes = "  " + style.note("(" + notes + ")");
        console.print(fmt::format("{} {:>{}}  {:<10}  {}{}\n",
                                  style.number(fmt::format("{:>{}}", row.number, numberWidth)), row.size,
                                  sizeWidth, kindOf(entry), nameless ? style.note(name) : name, notes));
    }
}

void printWarnings(Console& console, const std::string& file, const MessageTree& tree) {
    for (const std::string& warning : tree.warnings) console.warn(file, warning);
    for (const SubFileEntry& entry : tree.subFiles) {
        if (entry.message != nullptr) printWarnings(console, file, *entry.message);
    }
}

class ListRun final : public CommandRun {
  public:
    explicit ListRun(CLI::App& app) {
        app.add_option("FILE", files_, "messages; - is standard input")->type_name("");
        app.add_flag("-r,--recursive", recursive_,
                     "open embedded messages and winmail.dat too, 32 deep at most");
        app.add_flag("--force", force_, "read the file even if it does not look like a message");
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        if (files_.empty()) throw usageProblem("list: no FILE given; see \"eml list --help\"");
        bool first = true;
        return forEachFile(
            console, files_, [&](const std::string& path) { list(console, options, path, first); },
            [&](const std::string& path, const Problem& problem) {
                if (options.json) console.print(jsonLine(path, nullptr, &problem));
            });
    }

  private:
    void list(Console& console, const GlobalOptions& options, const std::string& path, bool& first) const {
        MessageFile file(path, force_);
        SizeVisitor visitor(recursive_);
        MessageTree tree = readTree(file, visitor);
        printWarnings(console, file.name(), tree);
        if (options.json) {
            console.print(jsonLine(path, &tree, nullptr));
            return;
        }
        if (files_.size() > 1) {
            console.print((first ? "" : "\n") + console.style().label(visible(file.name()) + ":") + "\n");
        }
        first = false;
        std::vector<Row> rows;
        gatherRows(tree, console.verbose(), rows);
        printRows(console, rows);
    }

    std::vector<std::string> files_;
    bool recursive_ = false;
    bool force_ = false;
};

std::unique_ptr<CommandRun> declare(CLI::App& app) { return std::make_unique<ListRun>(app); }

}  // namespace

const Command kListCommand = {
    "list", "show a message and its sub-files", "FILE...",
    "The size of an attachment is that of its content, decoded; the size of the message is that of its\n"
    "plain text as it is stored. Numbers name sub-files for \"eml extract -n\": 3.1 is sub-file 1 of the\n"
    "message that is sub-file 3. -v shows exact sizes, the stored size, and names as they are written.\n\n"
    "Examples:\n"
    "  eml list message.eml\n"
    "  eml list -r *.eml\n"
    "  eml --json list -r message.eml | jq '.message.sub_files[].name'\n",
    declare};

}  // namespace emltool
