#include "tool/batch/messages.h"

#include <sys/stat.h>

#include "tool/archive/folder_walk.h"
#include "tool/archive/mbox.h"
#include "tool/batch/sources.h"
#include "tool/message/message_file.h"

namespace emltool {

namespace {

bool isRegularFile(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

bool beginsLikeMbox(emlhost::Input& input) {
    char beginning[8];
    EmlIOobj* object = input.object();
    if (object->open(object) == 0) return false;
    const int32_t got = object->read(object, beginning, sizeof beginning);
    object->close(object);
    return got > 0 && beginsMbox({beginning, static_cast<size_t>(got)});
}

class Visit {
  public:
    explicit Visit(const MessageVisitor& visitor) : visitor_(visitor) {}

    void folder(const std::string& path) {
        FolderSource source(path, "");
        for (FoundItem found; source.next(found) == ItemSource::Next::kFound; found = {}) {
            if (found.leftOut != nullptr) {
                visitor_.leftOut(found.item.path, found.leftOut);
            } else {
                take(found, true);
            }
        }
    }

    void mbox(const std::string& path) {
        MboxSource source(path);
        for (FoundItem found; source.next(found) == ItemSource::Next::kFound; found = {}) take(found, false);
    }

  private:
    void take(const FoundItem& found, bool mayBeMbox) {
        const BatchItem& item = found.item;
        try {
            if (found.problem) throw Problem(*found.problem);
            const std::unique_ptr<emlhost::Input> input =
                item.index ? openMboxMessage(item.path, item.offset, item.length)
                           : openMessageInput(item.path);
            if (mayBeMbox && isRegularFile(item.path) && beginsLikeMbox(*input)) return mbox(item.path);
            if (input->size() == 0)
                throw Problem(ExitCode::kNoMessage, "empty", item.path, "the file is empty");
            if (!looksLikeMessage(*input)) {
                throw Problem(ExitCode::kNoMessage, "no-message", item.path,
                              "not an e-mail message (no header field found)");
            }
            visitor_.message(item, *input);
        } catch (const Problem& problem) {
            visitor_.problem(item, problem);
        }
    }

    const MessageVisitor& visitor_;
};

}  // namespace

Holding holdingOf(const std::string& path) {
    if (isFolder(path)) return Holding::kFolder;
    if (!isRegularFile(path)) return Holding::kMessage;
    try {
        const std::unique_ptr<emlhost::Input> input = openMessageInput(path);
        if (!beginsLikeMbox(*input)) return Holding::kMessage;
        MboxScan scan(path);
        MboxRange range;
        return scan.next(range) && scan.next(range) ? Holding::kMbox : Holding::kMessage;
    } catch (const Problem&) {
        return Holding::kMessage;
    }
}

void visitMessages(const std::string& path, const MessageVisitor& visitor) {
    Visit visit(visitor);
    if (isFolder(path)) {
        visit.folder(path);
    } else {
        visit.mbox(path);
    }
}

}  // namespace emltool
