// eml tree: the part tree of a message.
#include <CLI/CLI.hpp>

#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/part_tree.h"
#include "tool/message/part_tree_json.h"
#include "tool/message/part_tree_text.h"

namespace emltool {

namespace {

class TreeRun final : public CommandRun {
  public:
    explicit TreeRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        app.add_flag("--spans", spans_, "also list what each byte of the file belongs to");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        if (options.reading != Reading::kMime) {
            throw usageProblem(
                "tree shows the parts of the MIME reader; the others have none, see \"eml compare\"");
        }
        FileHeadings headings(console, messages_.files().size());
        auto work = [&](const MessageSource& source) {
            MessageFile file(source, messages_.force());
            withMime(file, [&](const emlreader::mime::Message& message) {
                show(console, options, source, file, message, headings);
            });
        };
        return forEachFile(console, messages_, work,
                           [&](const MessageSource& source, const Problem& problem) {
                               if (options.json) console.print(treeLine(source.path, problem));
                           });
    }

  private:
    void show(Console& console, const GlobalOptions& options, const MessageSource& source, MessageFile& file,
              const emlreader::mime::Message& message, FileHeadings& headings) const {
        const std::vector<PartEntry> parts = readParts(message);
        const std::vector<EmlMimeSpanInfo> spans = spans_ ? message.spans() : std::vector<EmlMimeSpanInfo>();
        file.checkReads();
        if (options.json) {
            console.print(treeLine(source.path, parts, spans));
            return;
        }
        headings.print(source);
        printParts(console, parts);
        if (!spans_) return;
        console.print("\n");
        printSpans(console, spans, parts);
    }

    MessageArguments messages_;
    bool spans_ = false;
};

std::unique_ptr<CommandRun> declareTree(CLI::App& app) { return std::make_unique<TreeRun>(app); }

}  // namespace

const Command kTreeCommand = {
    "tree", "show the parts of a message: type, size, encoding, role, defects", "FILE...",
    "SECTION is the number of a part as mail servers count (IMAP); # counts all parts in the order of the\n"
    "file. The size is that of the decoded content. What is wrong with a part stands below it, after \"!\";\n"
    "docs/mime-defects.md explains the names. -v shows exact sizes, and where each part is in the file.\n\n"
    "Examples:\n"
    "  eml tree message.eml\n"
    "  eml tree --spans message.eml\n"
    "  eml --json tree *.eml | jq -r '.parts[] | select(.roles == [\"attachment\"]) | .name'\n",
    declareTree};

}  // namespace emltool
