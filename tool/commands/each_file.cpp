#include "tool/commands/each_file.h"

#include "tool/message/json_text.h"
#include "tool/message/size_visitor.h"
#include "tool/text/visible_text.h"

namespace emltool {

ExitCode forEachFile(Console& console, const std::vector<std::string>& paths, const FileWork& work,
                     const FileFailure& onProblem) {
    Tally tally;
    for (const std::string& path : paths) {
        try {
            work(path);
            tally.succeeded();
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            if (onProblem) onProblem(path, problem);
            console.report(problem);
            tally.failed(problem.exit);
        }
    }
    return tally.exitCode();
}

bool FileHeadings::print(const std::string& name) {
    if (!areShown_) return false;
    if (!isFirst_) console_.print("\n");
    console_.print(console_.style().label(visible(name) + ":") + "\n");
    isFirst_ = false;
    return true;
}

void printWarnings(Console& console, const std::string& file, const MessageTree& tree) {
    for (const Warning& warning : tree.warnings) console.warn(file, warning.text);
    for (const SubFileEntry& entry : tree.subFiles) {
        if (entry.message != nullptr) printWarnings(console, file, *entry.message);
    }
}

AnswerForm answerForm(const GlobalOptions& options) { return {options.schema, options.reading}; }

ExitCode forEachTree(Console& console, const GlobalOptions& options, const MessageArguments& messages,
                     bool recursive, const std::function<void(const MessageTree& tree)>& print) {
    FileHeadings headings(console, messages.files().size());
    auto work = [&](const std::string& path) {
        MessageFile file(path, messages.force());
        SizeVisitor visitor(recursive);
        const MessageTree tree = readTree(file, visitor, options.reading);
        printWarnings(console, file.name(), tree);
        if (options.json) {
            console.print(jsonLine(answerForm(options), path, &tree, nullptr));
        } else {
            headings.print(file.name());
            print(tree);
        }
    };
    return forEachFile(console, messages.files(), work, [&](const std::string& path, const Problem& problem) {
        if (options.json) console.print(jsonLine(answerForm(options), path, nullptr, &problem));
    });
}

}  // namespace emltool
