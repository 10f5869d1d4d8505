// The files of messages, written to disk for `eml extract`.
#pragma once

#include <string>
#include <vector>

#include "tool/cli/command.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/extraction.h"
#include "tool/message/tree.h"

namespace emltool {

// What the user asked for.
struct ExtractRequest {
    std::vector<std::string> numbers;
    std::string folder;  // as the user wrote it; "" is the current one, "-" standard output
    OnConflict onConflict = OnConflict::kFail;
    std::string manifest;  // "" is none, "-" standard output
    std::string store;     // "" is none; then nothing is written into `folder`
    bool resume = false;   // the manifest is continued
    bool recursive = false;
    bool onlyList = false;
    bool perMessage = false;

    bool toStandardOutput() const { return folder == "-" && !onlyList; }
    std::string outputFolder() const { return !store.empty() ? store : folder == "-" ? "" : folder; }
};

// Extracts from all messages. What is wrong with one of them is reported, and the next has its turn. Throws Problem if
// nothing can be begun.
ExitCode extractToFiles(Console& console, const GlobalOptions& options, const ExtractRequest& request,
                        const MessageArguments& messages);

// The tree with the files that `options` ask for.
MessageTree readFiles(MessageFile& file, AttachmentVisitor& visitor, const GlobalOptions& options);

// Throws Problem if the container reader cannot read the text and the files.
void refuseEncrypted(MessageFile& file, Reading reading);

// That `argument` has no sub-file of this number.
Problem noSubFile(const MessageFile& file, const std::string& argument, const std::string& number);

}  // namespace emltool
