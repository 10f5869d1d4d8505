// A folder that attachments are written into.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tool/archive/message_source.h"
#include "tool/system/pending_folder.h"
#include "tool/text/safe_name.h"

namespace emltool {

// The name of a folder for the files of one message: its number among all that are read, its file, and its place
// in an mbox. "0017-letter", "0003-box-3".
std::string messageFolderName(const MessageSource& source, size_t number);

class OutputFolder {
  public:
    // "" is the current one.
    explicit OutputFolder(std::string path);

    const std::string& path() const { return path_; }

    // The names that this run has used in it.
    NameSet& names() { return names_; }

    std::string pathOf(const std::string& name) const;

    // For writing into it, after prepare().
    PendingFolder& files();

    // Whether something that was there before this run may have this name: not if this run has made the folder.
    bool has(const std::string& name);

    // Creates it if it is missing. Throws Problem.
    void prepare();

    // Removes what prepare() created, as far as nothing is in there.
    void removeIfEmpty();

  private:
    std::string path_;
    NameSet names_;
    std::vector<std::string> created_;  // from the outside to the inside
    std::unique_ptr<PendingFolder> files_;
    bool isReady_ = false;
    bool isNew_ = false;  // was not there before
};

}  // namespace emltool
