// eml info: who, when and what of a message.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "standalone/charsets.h"
#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/field_list.h"
#include "tool/message/tree.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 2> kHeaderWords = {"main", "all"};
constexpr Choices kHeaderChoices{"headers", "choice", kHeaderWords};

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

// The tabs are mostly those of folded lines.
void printFields(Console& console, const std::vector<ListedField>& fields) {
    for (const ListedField& field : fields) {
        std::string text = field.text;
        std::ranges::replace(text, '\t', ' ');
        console.print(console.style().label(visible(field.name) + ":") + " " + visible(text) + "\n");
    }
}

void addFields(MessageFile& file, MessageTree& tree) {
    withMime(file, [&tree](const emlreader::mime::Message& message) { tree.headers = fieldList(message); });
    file.checkReads();
}

class InfoRun final : public CommandRun {
  public:
    explicit InfoRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        app.add_option("--headers", headers_,
                       "main (the default), or all: each field of the header, decoded, in order")
            ->type_name("WHICH");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        const bool all = kHeaderChoices.parse(headers_) == 1;
        if (all) checkAll(options);
        const auto print = [&](const MessageTree& tree) {
            if (tree.headers) {
                printFields(console, *tree.headers);
            } else {
                printTree(console, tree, options.reading);
            }
        };
        return forEachTree(console, options, messages_, false, print, all ? TreeWork(addFields) : nullptr);
    }

  private:
    static void checkAll(const GlobalOptions& options) {
        if (options.reading != Reading::kMime) {
            throw usageProblem(
                "--headers=all lists the fields as the MIME reader has them; --reader does not apply");
        }
        if (options.json && options.schema == 1) {
            throw usageProblem("--headers=all is not in version 1 of the answers; leave out --schema=1");
        }
    }

    MessageArguments messages_;
    std::string headers_ = "main";
};

std::unique_ptr<CommandRun> declareInfo(CLI::App& app) { return std::make_unique<InfoRun>(app); }

}  // namespace

const Command kInfoCommand = {
    "info",
    "who, when and what: metadata, charset, date, attachments",
    "FILE...",
    "Fields are decoded to UTF-8. The date is the time of sending by the sender's clock, with\n"
    "the time zone that the message names, or -00:00. --json gives one line for each message.\n"
    "--headers=all gives all fields instead, one line each, also those that stand there more than once; of "
    "a\n"
    "signed message, those outside of the signature. In JSON they have their bytes and their place, too.\n\n"
    "Examples:\n"
    "  eml info message.eml\n"
    "  eml info --headers=all message.eml | grep ^Received:\n"
    "  eml --json info *.eml | jq -r .message.metadata.subject\n",
    declareInfo,
    {&kHeaderChoices, 1}};

}  // namespace emltool
