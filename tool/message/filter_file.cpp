#include "tool/message/filter_file.h"

#include <vector>

#include "tool/terminal/problem.h"
#include "tool/text/format.h"

namespace emltool {

FilterFile::FilterFile(const MessageSource& source, bool force, bool withFields)
    : FilterFile(std::make_shared<MessageFile>(source, force), withFields) {}

FilterFile::FilterFile(MessageFile& file, bool withFields)
    : FilterFile(std::shared_ptr<MessageFile>(std::shared_ptr<MessageFile>(), &file), withFields) {}

FilterFile::FilterFile(std::shared_ptr<MessageFile> file, bool withFields)
    : file_(std::move(file)),
      filter_(file_->input(), file_->services()),
      encrypted_((file_->message().describe(0).flags & EML_SUB_FILE_ENCRYPTED) != 0) {
    file_->checkReads();
    if (filter_.status() == EML_NO_MEMORY) throw outOfMemory(name());
    if (!filter_.usable()) {
        throw Problem(ExitCode::kNoMessage, "no-text", name(),
                      formatted("cannot be read as text (result {} of the reader)", filter_.status()));
    }
    filter_.restart(withFields);
}

void FilterFile::read(const std::function<bool(const emlhost::TextRecord&)>& take, size_t capacity) {
    std::vector<uint8_t> buffer(capacity);
    while (!filter_.finished()) {
        emlhost::RecordWalker walker(filter_.fill(buffer));
        emlhost::TextRecord record{};
        while (walker.next(record)) {
            if (!take(record)) return;
        }
        if (!walker.complete()) {
            throw Problem(ExitCode::kInternal, "internal", name(), "internal error: broken record stream");
        }
    }
    file_->checkReads();
    if (filter_.status() == EML_NO_MEMORY) throw outOfMemory(name());
    if (filter_.status() != EML_OK) {
        throw Problem(ExitCode::kInput, "cannot-read", name(),
                      formatted("the text breaks off (result {} of the reader)", filter_.status()));
    }
    if (filter_.progress() < 100) {
        throw usageProblem(formatted("--capacity={}: too small for the next record", capacity));
    }
}

}  // namespace emltool
