// eml info: who, when and what of a message.
#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "standalone/charsets.h"
#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/message/json_text.h"
#include "tool/message/size_visitor.h"
#include "tool/message/tree.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kLabelWidth = 14;

void printRow(Console& console, std::string_view label, std::string_view value) {
    std::string name = fmt::format("{}:", label);
    std::string gap(name.size() < kLabelWidth ? kLabelWidth - name.size() : 1, ' ');
    console.print(console.style().label(name) + gap + visible(value) + "\n");
}

std::string charsetText(uint32_t id) {
    const emlhost::Charset* charset = emlhost::findCharset(id);
    return fmt::format("{} (id {})", charset == nullptr ? "unknown" : charset->label, id);
}

std::string subFileText(const SubFileEntry& entry) {
    std::string size = entry.size ? humanSize(*entry.size) : "not in the file";
    while (size.ends_with(' ')) size.pop_back();
    return fmt::format("{}  {} ({})", dotted(entry.path), entry.name, size);
}

// A message without a name of its own: its fields by the names that people know.
void printTree(Console& console, const MessageTree& tree) {
    for (const MetadataField& field : tree.metadata) {
        if (field.text) printRow(console, field.name, *field.text);
    }
    printRow(console, "Date", tree.date.empty() ? "none that can be read" : tree.date);
    printRow(console, "Name", tree.name);
    printRow(console, "Charset", charsetText(tree.charset));
    printRow(console, "Size", fmt::format("{} B", tree.bytes));
    if (tree.encrypted) printRow(console, "Encrypted", "yes (S/MIME)");
    for (const SubFileEntry& entry : tree.subFiles) {
        if (entry.info.kind != EML_KIND_MESSAGE) printRow(console, "Attachment", subFileText(entry));
    }
}

class InfoRun final : public CommandRun {
  public:
    explicit InfoRun(CLI::App& app) {
        app.add_option("FILE", files_, "messages; - is standard input")->type_name("");
        app.add_flag("--force", force_, "read the file even if it does not look like a message");
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        if (files_.empty()) throw usageProblem("info: no FILE given; see \"eml info --help\"");
        bool first = true;
        return forEachFile(
            console, files_, [&](const std::string& path) { show(console, options, path, first); },
            [&](const std::string& path, const Problem& problem) {
                if (options.json) console.print(jsonLine(path, nullptr, &problem));
            });
    }

  private:
    void show(Console& console, const GlobalOptions& options, const std::string& path, bool& first) const {
        MessageFile file(path, force_);
        SizeVisitor visitor(false);
        MessageTree tree = readTree(file, visitor);
        for (const std::string& warning : tree.warnings) console.warn(file.name(), warning);
        if (options.json) {
            console.print(jsonLine(path, &tree, nullptr));
            return;
        }
        if (files_.size() > 1) {
            console.print((first ? "" : "\n") + console.style().label(visible(file.name()) + ":") + "\n");
        }
        first = false;
        printTree(console, tree);
    }

    std::vector<std::string> files_;
    bool force_ = false;
};

std::unique_ptr<CommandRun> declare(CLI::App& app) { return std::make_unique<InfoRun>(app); }

}  // namespace

const Command kInfoCommand = {
    "info", "who, when and what: metadata, charset, date, attachments", "FILE...",
    "Fields are decoded to UTF-8. The date is the one that the message was sent on, by its own clock, with\n"
    "the zone that it names, or -00:00. --json gives one line for each message.\n\n"
    "Examples:\n"
    "  eml info message.eml\n"
    "  eml --json info *.eml | jq -r .message.metadata.subject\n",
    declare};

}  // namespace emltool
