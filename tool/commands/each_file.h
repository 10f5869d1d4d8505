// The files that a command was given, one after the other.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tool/cli/command.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/json_text.h"
#include "tool/message/tree.h"
#include "tool/terminal/console.h"
#include "tool/terminal/problem.h"

namespace emltool {

using MessageWork = std::function<void(const MessageSource& source)>;
using TreeWork = std::function<void(MessageFile& file, MessageTree& tree)>;
using MessageFailure = std::function<void(const MessageSource& source, const Problem& problem)>;

// Does the work for each message of each file. A Problem is reported, after `onProblem`, if there is one, has seen
// it. The next message has its turn all the same, unless standard output is what failed. Returns the exit code of
// it all.
ExitCode forEachFile(Console& console, const MessageArguments& messages, const MessageWork& work,
                     const MessageFailure& onProblem = nullptr);

// The headings of several messages: "name:", with an empty line before all but the first.
class FileHeadings {
  public:
    FileHeadings(Console& console, size_t fileCount) : console_(console), areShown_(fileCount > 1) {}

    // False, and nothing is printed, when there is only one message.
    bool print(const MessageSource& source);

  private:
    Console& console_;
    bool areShown_;
    bool isFirst_ = true;
};

// Reads each message with the sizes of its attachments, and with `recursive` the messages inside it, warns, and
// prints it: in JSON if the options ask for that, otherwise by `print`, after its heading.
// `complete` adds to a tree what only this command asks for.
ExitCode forEachTree(Console& console, const GlobalOptions& options, const MessageArguments& messages,
                     bool recursive, const std::function<void(const MessageTree& tree)>& print,
                     const TreeWork& complete = nullptr);

// What --schema and --reader say about answers in JSON.
AnswerForm answerForm(const GlobalOptions& options);

// Warns about what was guessed or left out in a message and in the messages inside it.
void printWarnings(Console& console, const std::string& file, const MessageTree& tree);

}  // namespace emltool
