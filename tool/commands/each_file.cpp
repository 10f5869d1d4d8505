#include "tool/commands/each_file.h"

#include "tool/message/json_text.h"
#include "tool/message/size_visitor.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

ExitCode forEachFile(Console& console, const MessageArguments& messages, const MessageWork& work,
                     const MessageFailure& onProblem) {
    Tally tally;
    const auto attempt = [&](const auto& step, const auto& place) {
        try {
            return step();
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            if (onProblem) onProblem(place(), problem);
            console.report(problem);
            tally.failed(problem.exit);
            return true;
        }
    };
    for (const std::string& file : messages.files()) {
        MessageSources sources = messages.messagesOf(file);
        const auto step = [&] {
            MessageSource source;
            const bool isThere = sources.next(source);
            for (const FolderWalk::Entry& entry : sources.takeLeftOut())
                console.warn(entry.path, formatted("left out: {}", entry.leftOut));
            if (!isThere) return false;
            return attempt(
                [&] {
                    work(source);
                    tally.succeeded();
                    return true;
                },
                [&] { return source; });
        };
        while (attempt(step, [&] { return sources.failure(); })) continue;
    }
    return tally.exitCode();
}

bool FileHeadings::print(const MessageSource& source) {
    if (!areShown_ && !source.isOneOfMany) return false;
    if (!isFirst_) console_.print("\n");
    console_.print(console_.style().label(visible(source.name()) + ":") + "\n");
    isFirst_ = false;
    return true;
}

void printWarnings(Console& console, const std::string& file, const MessageTree& tree) {
    for (const Warning& warning : tree.warnings) console.warn(file, warning.text);
    for (const SubFileEntry& entry : tree.subFiles) {
        if (entry.message != nullptr) printWarnings(console, file, *entry.message);
    }
}

AnswerForm answerForm(const GlobalOptions& options) {
    return {options.schema, options.reading, options.allReadings};
}

ExitCode forEachTree(Console& console, const GlobalOptions& options, const MessageArguments& messages,
                     bool recursive, const std::function<void(const MessageTree& tree)>& print,
                     const TreeWork& complete) {
    FileHeadings headings(console, messages.files().size());
    auto work = [&](const MessageSource& source) {
        MessageFile file(source, messages.force());
        SizeVisitor visitor(recursive);
        MessageTree tree = readTree(file, visitor, options.reading);
        if (complete) complete(file, tree);
        printWarnings(console, file.name(), tree);
        if (options.json) {
            console.print(jsonLine(answerForm(options), answerSource(source), &tree, nullptr));
        } else {
            headings.print(source);
            print(tree);
        }
    };
    return forEachFile(console, messages, work, [&](const MessageSource& source, const Problem& problem) {
        if (options.json) {
            console.print(jsonLine(answerForm(options), answerSource(source), nullptr, &problem));
        }
    });
}

}  // namespace emltool
