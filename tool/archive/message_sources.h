// The messages that an argument of a command names.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tool/archive/archive_messages.h"
#include "tool/archive/folder_walk.h"
#include "tool/archive/mbox.h"
#include "tool/archive/message_source.h"

namespace emltool {

// "letter.eml" is one message, "box.mbox" all that it holds, "box.mbox#17" the 17th of them, and "-" what
// standard input delivers. A file that is really called "box.mbox#17" comes before that place in "box.mbox".
// "mail.sqlite#17" is the message with this number in a database that a batch has made: from where it was found then.
// What begins with "From " is an mbox, also if it comes from a pipe, which is spooled; an archive is all messages in it.
class MessageSources {
  public:
    enum class Folders { kRefuse, kRead };

    explicit MessageSources(std::string argument, Folders folders = Folders::kRefuse)
        : argument_(std::move(argument)), path_(argument_), folders_(folders) {}

    // For an argument that is open already.
    MessageSources(std::string argument, SharedFile file)
        : argument_(std::move(argument)), path_(argument_), file_(std::move(file)) {}

    // False after the last one. Throws Problem; failure() then tells where, and next may be called again, since
    // the rest of a folder can be read.
    bool next(MessageSource& source);

    // The place that the last Problem is about.
    MessageSource failure() const;

    // What a folder holds that was not read, and why, since this was last asked.
    std::vector<FolderWalk::Entry> takeLeftOut() { return std::exchange(leftOut_, {}); }

  private:
    void begin();
    void openArgument();
    bool nextOfFolder(MessageSource& source);
    bool nextOfMany(MessageSource& source);
    bool nextInFile(MessageSource& source);
    void openStoredMessage();
    bool isMany() const { return scan_ != nullptr || archive_ != nullptr; }
    std::string_view beginning(std::span<char> room) const;
    MessageSource numbered();
    MessageSource whole() const;

    std::string argument_;
    std::string path_;  // the argument without a number
    Folders folders_ = Folders::kRefuse;
    SharedFile file_;
    std::optional<uint64_t> number_;  // the message that the argument names, from 1 on
    std::unique_ptr<FolderWalk> walk_;
    std::unique_ptr<MessageSources> inFolder_;  // the file of the folder that is being read
    std::vector<FolderWalk::Entry> leftOut_;
    std::unique_ptr<MessageSources> stored_;  // the place that a database names
    bool isStored_ = false;                   // this is such a place
    std::unique_ptr<MboxScan> scan_;
    std::unique_ptr<ArchiveMessages> archive_;
    std::optional<MessageSource> ahead_;   // the message after the one that was returned
    std::optional<Problem> problem_;       // what happened when it was looked for
    std::optional<MessageSource> failed_;  // the message in the archive that the last problem is about
    bool begun_ = false;
    bool ended_ = false;
};

// The one message that the argument names. `command` is what takes no more than one. Throws Problem.
MessageSource onlySource(MessageSources& sources, const std::string& argument, const std::string& command);

// All of standard input, in a temporary file unless it is a regular one. Throws Problem.
SharedFile readStandardInput();

}  // namespace emltool
