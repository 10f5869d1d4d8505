// Where the items of a batch come from.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tool/archive/archive_messages.h"
#include "tool/archive/folder_walk.h"
#include "tool/archive/mbox.h"
#include "tool/archive/path_list.h"
#include "tool/batch/row.h"

namespace emltool {

class ItemSource;

// One thing that a source returns: an item to read, or one that cannot be read, or another source in its
// place.
struct FoundItem {
    BatchItem item;
    bool named = false;  // by the user; not found in a folder or an mbox
    std::optional<Problem> problem;
    const char* leftOut = nullptr;  // why this is not read
    std::unique_ptr<ItemSource> source;
};

class ItemSource {
  public:
    enum class Next {
        kFound,
        kMore,   // has worked for a while, and found nothing yet
        kLater,  // waits for the descriptor, or for messages that are being read; nothing else should be begun
        kAway,   // waits for another program; other sources may go on
        kEnd
    };

    virtual ~ItemSource() = default;

    virtual Next next(FoundItem& found) = 0;

    // After kLater and kAway: next has more when this descriptor can be read.
    virtual int descriptor() const { return -1; }

    // So long has been waited for it, and so many milliseconds more may be; -1 is any number.
    virtual void waited(std::chrono::nanoseconds) {}
    virtual int patience() const { return -1; }

    // Whether it has begun something that takes much room. Another such should not be begun before its end.
    virtual bool isBusy() const { return false; }
};

// The paths of the command line; "-" stands for the paths that standard input names.
class ArgumentSource final : public ItemSource {
  public:
    ArgumentSource(std::vector<std::string> paths, char separator)
        : paths_(std::move(paths)), separator_(separator) {}

    Next next(FoundItem& found) override;

  private:
    std::vector<std::string> paths_;
    char separator_;
    size_t next_ = 0;
};

// The paths that standard input names.
class ListSource final : public ItemSource {
  public:
    explicit ListSource(char separator);

    Next next(FoundItem& found) override;
    int descriptor() const override { return list_.descriptor(); }

  private:
    PathList list_;
};

// The files in a folder.
class FolderSource final : public ItemSource {
  public:
    FolderSource(const std::string& folder, const std::string& pattern) : walk_(folder, pattern) {}

    Next next(FoundItem& found) override;

  private:
    FolderWalk walk_;
};

// The messages of an mbox.
class MboxSource final : public ItemSource {
  public:
    explicit MboxSource(std::string path) : path_(std::move(path)) {}

    Next next(FoundItem& found) override;

  private:
    std::string path_;
    std::unique_ptr<MboxScan> scan_;
    bool failed_ = false;
};

// The messages of an archive, or those that a pipe delivers.
class ArchiveSource final : public ItemSource {
  public:
    enum class From { kFile, kPipe };

    // `timeout` is for waiting for one message; 0 is none.
    ArchiveSource(std::string path, From from, std::chrono::nanoseconds timeout)
        : path_(std::move(path)), from_(from), timeout_(timeout) {}

    Next next(FoundItem& found) override;
    int descriptor() const override;
    void waited(std::chrono::nanoseconds time) override { waited_ += time; }
    int patience() const override;
    bool isBusy() const override { return messages_ != nullptr; }

  private:
    Next begin();
    Next step(FoundItem& found);

    std::string path_;
    From from_;
    std::chrono::nanoseconds timeout_;
    std::chrono::nanoseconds waited_{};
    emlhost::UniqueDescriptor pipe_;  // while its beginning is read
    std::string beginning_;
    std::unique_ptr<ArchiveMessages> messages_;
    bool mustWait_ = false;  // for messages that are being read
    bool hasFailed_ = false;
};

// Whether the path names a pipe, or something else of which each byte can be read once.
bool isPipe(const std::string& path);

}  // namespace emltool
