// eml list: the message and its sub-files.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/tree.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

const char* kindOf(const SubFileEntry& entry) {
    if (entry.isMessage || entry.isEmbeddedMessage) return "message";
    if (entry.isTnef) return "tnef";
    return "attachment";
}

// What a person should know about an entry beyond its columns.
std::string notesOf(const SubFileEntry& entry, bool verbose) {
    std::vector<std::string> notes;
    if (entry.isEncrypted || (entry.message != nullptr && entry.message->encrypted)) {
        notes.emplace_back("encrypted");
    }
    if (entry.isTnef && entry.message != nullptr && !entry.message->name.empty())
        notes.push_back(formatted("subject: {}", visible(entry.message->name)));
    if (!entry.isInFile) notes.emplace_back("not in the file");
    if (!entry.isNamed) notes.emplace_back("no name in the message");
    if (verbose && !entry.type.empty()) notes.push_back(visible(entry.type));
    if (verbose && entry.storedSize.value_or(0) > 0)
        notes.push_back(formatted("stored in {} B", *entry.storedSize));
    if (verbose && entry.name != entry.writtenName) {
        notes.push_back(formatted("written {}", visible(entry.writtenName)));
    }
    return joined(notes, "; ");
}

struct Row {
    std::string number;
    std::string size;
    const SubFileEntry* entry;
};

std::string sizeText(const std::optional<uint64_t>& size, bool exact) {
    if (!size) return "-   ";
    return exact ? formatted("{} B ", *size) : humanSize(*size);
}

void gatherRows(const MessageTree& tree, bool exact, std::vector<Row>& rows) {
    for (const SubFileEntry& entry : tree.subFiles) {
        // The message inside an embedded message is the embedded message itself.
        bool repeated = entry.isMessage && entry.path.size() > 1;
        if (!repeated) rows.push_back({dotted(entry.path), sizeText(entry.size, exact), &entry});
        if (entry.message != nullptr) gatherRows(*entry.message, exact, rows);
    }
}

std::vector<Row> rowsOf(const MessageTree& tree, bool exact) {
    std::vector<Row> rows;
    gatherRows(tree, exact, rows);
    return rows;
}

// Sizes are aligned at their units, and so is the heading.
void printRows(Console& console, const std::vector<Row>& rows) {
    size_t numberWidth = 4;
    size_t sizeWidth = 9;
    for (const Row& row : rows) {
        numberWidth = std::max(numberWidth, row.number.size());
        sizeWidth = std::max(sizeWidth, row.size.size());
    }
    const Style& style = console.style();
    std::string heading =
        formatted("{:>{}} {:>{}}  {:<10}  {}", "#", numberWidth, "SIZE", sizeWidth, "KIND", "NAME");
    console.print(style.label(heading) + "\n");
    for (const Row& row : rows) {
        const SubFileEntry& entry = *row.entry;
        std::string name = visible(entry.name);
        bool nameless = name.empty();
        if (nameless) name = entry.isMessage ? "(message)" : "(no name)";
        std::string notes = notesOf(entry, console.verbose());
        if (!notes.empty()) notes = "  " + style.note("(" + notes + ")");
        console.print(formatted("{} {:>{}}  {:<10}  {}{}\n",
                                style.number(formatted("{:>{}}", row.number, numberWidth)), row.size,
                                sizeWidth, kindOf(entry), nameless ? style.note(name) : name, notes));
    }
}

class ListRun final : public CommandRun {
  public:
    explicit ListRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        app.add_flag("-r,--recursive", recursive_,
                     "also open embedded messages, signed parts and winmail.dat, at most 32 deep");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        return forEachTree(console, options, messages_, recursive_, [&](const MessageTree& tree) {
            printRows(console, rowsOf(tree, console.verbose()));
        });
    }

  private:
    MessageArguments messages_;
    bool recursive_ = false;
};

std::unique_ptr<CommandRun> declareList(CLI::App& app) { return std::make_unique<ListRun>(app); }

}  // namespace

const Command kListCommand = {
    "list", "list a message and its sub-files", "FILE...",
    "The size of an attachment is that of its decoded content; the size of the message is that of its\n"
    "text, decoded. Numbers name sub-files for \"eml extract -n\": 3.1 is sub-file 1 of the\n"
    "message that is sub-file 3. -v shows exact sizes, the stored size, and names as they are written.\n\n"
    "Examples:\n"
    "  eml list message.eml\n"
    "  eml list -r *.eml\n"
    "  eml list box.mbox\n"
    "  eml --json list -r message.eml | jq '.message.sub_files[].name'\n",
    declareList};

}  // namespace emltool
