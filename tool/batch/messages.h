// The messages of a folder or an mbox, for commands that read them one after the other in one process.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "standalone/input.h"
#include "tool/batch/row.h"
#include "tool/terminal/problem.h"

namespace emltool {

// What a path leads to.
enum class Holding { kMessage, kFolder, kMbox };

// A file is an mbox if it begins like one and has two messages or more. What cannot be read counts as a message.
Holding holdingOf(const std::string& path);

struct MessageVisitor {
    std::function<void(const BatchItem& item, emlhost::Input& input)> message;
    std::function<void(const BatchItem& item, const Problem& problem)>
        problem;  // it, or a folder, cannot be read
    std::function<void(const std::string& path, const char* why)> leftOut;
};

// Visits the messages in the folder or mbox `path`; an mbox in a folder is opened, too. What does not look like a
// message is a problem. Passes on what the visitor throws, but for a Problem, which goes to visitor.problem.
void visitMessages(const std::string& path, const MessageVisitor& visitor);

}  // namespace emltool
