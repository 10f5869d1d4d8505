// eml info: who, when and what of a message.
#include <CLI/CLI.hpp>

#include "standalone/charsets.h"
#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/tree.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kFieldNameWidth = 14;

void printRow(Console& console, std::string_view label, std::string_view value) {
    std::string name = formatted("{}:", label);
    std::string gap(name.size() < kFieldNameWidth ? kFieldNameWidth - name.size() : 1, ' ');
    console.print(console.style().label(name) + gap + visible(value) + "\n");
}

// The MIME reader knows the label, the container reader a number.
std::string charsetText(const MessageTree& tree, Reading reading) {
    if (reading == Reading::kMime) return tree.charsetLabel.empty() ? "none named" : tree.charsetLabel;
    const emlhost::Charset* charset = emlhost::findCharset(tree.charset);
    return formatted("{} (id {})", charset == nullptr ? "unknown" : charset->label, tree.charset);
}

std::string subFileText(const SubFileEntry& entry) {
    std::string size = entry.size ? humanSize(*entry.size) : "not in the file";
    while (size.ends_with(' ')) size.pop_back();
    return formatted("{}  {} ({})", dotted(entry.path), entry.name, size);
}

// Prints a message, with the usual names of its fields.
void printTree(Console& console, const MessageTree& tree, Reading reading) {
    for (const MetadataField& field : tree.metadata) {
        if (field.text) printRow(console, field.name, *field.text);
    }
    printRow(console, "Date", tree.date.empty() ? "none that can be read" : tree.date);
    if (reading != Reading::kMime) printRow(console, "Name", tree.name);  // the subject, shortened
    printRow(console, "Charset", charsetText(tree, reading));
    printRow(console, "Size", formatted("{} B", tree.bytes));
    if (!tree.protection.empty()) printRow(console, "Protection", tree.protection);
    for (const SubFileEntry& entry : tree.subFiles) {
        if (!entry.isMessage) printRow(console, "Attachment", subFileText(entry));
    }
}

class InfoRun final : public CommandRun {
  public:
    explicit InfoRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        return forEachTree(console, options, messages_, false,
                           [&](const MessageTree& tree) { printTree(console, tree, options.reading); });
    }

  private:
    MessageArguments messages_;
};

std::unique_ptr<CommandRun> declareInfo(CLI::App& app) { return std::make_unique<InfoRun>(app); }

}  // namespace

const Command kInfoCommand = {
    "info", "who, when and what: metadata, charset, date, attachments", "FILE...",
    "Fields are decoded to UTF-8. The date is the time of sending by the sender's clock, with\n"
    "the time zone that the message names, or -00:00. --json gives one line for each message.\n\n"
    "Examples:\n"
    "  eml info message.eml\n"
    "  eml --json info *.eml | jq -r .message.metadata.subject\n",
    declareInfo};

}  // namespace emltool
