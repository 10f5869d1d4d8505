// Where the items of a batch come from.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

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
    enum class Next { kFound, kLater, kEnd };

    virtual ~ItemSource() = default;

    virtual Next next(FoundItem& found) = 0;

    // After Later: next has more when this descriptor can be read.
    virtual int descriptor() const { return -1; }
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

}  // namespace emltool
