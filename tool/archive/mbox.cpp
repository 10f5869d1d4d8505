#include "tool/archive/mbox.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>

#include "tool/archive/from_quoting.h"
#include "tool/system/spooled_file.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

constexpr std::string_view kFrom = "From ";
constexpr size_t kBlock = size_t{256} << 10;

[[noreturn]] void failToRead(const std::string& path, int failure) {
    throw inputProblem(path, {failure, std::system_category()});
}

emlhost::UniqueDescriptor openFile(const std::string& path) {
    emlhost::UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file.valid()) failToRead(path, errno);
    return file;
}

size_t readSome(const std::string& path, int file, uint64_t position, std::span<char> room) {
    for (;;) {
        ssize_t got = ::pread(file, room.data(), room.size(), static_cast<off_t>(position));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failToRead(path, errno);
        return static_cast<size_t>(got);
    }
}

}  // namespace

bool beginsMbox(std::string_view beginning) { return beginning.starts_with(kFrom); }

MboxScan::MboxScan(const std::string& path)
    : MboxScan(path, std::make_shared<emlhost::UniqueDescriptor>(openFile(path))) {}

MboxScan::MboxScan(std::string path, SharedFile file)
    : path_(std::move(path)), file_(std::move(file)), buffer_(kBlock) {}

bool MboxScan::refill() {
    filled_ = readSome(path_, file_->get(), lineEnd_, buffer_);
    at_ = 0;
    return filled_ != 0;
}

// Moves to the next line; false at the end.
bool MboxScan::nextLine() {
    constexpr size_t kHead = kFrom.size() + 1;
    lineStart_ = lineEnd_;
    head_.clear();
    for (;;) {
        if (at_ == filled_ && !refill()) return lineEnd_ > lineStart_;
        const char* from = buffer_.data() + at_;
        const auto* end = static_cast<const char*>(std::memchr(from, '\n', filled_ - at_));
        size_t piece = end != nullptr ? static_cast<size_t>(end - from) + 1 : filled_ - at_;
        head_.append(from, std::min(piece, kHead - head_.size()));
        at_ += piece;
        lineEnd_ += piece;
        if (end != nullptr) return true;
    }
}

bool MboxScan::next(MboxRange& range) {
    if (ended_) return false;
    if (!begun_) {
        nextLine();
        start_ = lineEnd_;
        begun_ = true;
    }
    bool afterEmpty = false;
    uint64_t emptyLine = 0;
    while (nextLine()) {
        if (afterEmpty && beginsMbox(head_)) {
            range = {index_++, start_, emptyLine - start_};
            start_ = lineEnd_;
            return true;
        }
        afterEmpty = lineIsEmpty();
        if (afterEmpty) emptyLine = lineStart_;
    }
    ended_ = true;
    range = {index_++, start_, (afterEmpty ? emptyLine : lineEnd_) - start_};
    return true;
}

std::unique_ptr<emlhost::Input> openMboxMessage(const std::string& path, uint64_t offset, uint64_t length) {
    return openMboxMessage(path, openFile(path), offset, length);
}

std::unique_ptr<emlhost::Input> openMboxMessage(const std::string& name, const emlhost::UniqueDescriptor& file,
                                                uint64_t offset, uint64_t length) {
    SpooledFile message;
    std::string text;
    FromUnquoter unquoter(text);
    std::vector<char> block(static_cast<size_t>(std::min<uint64_t>(length, kBlock)));
    while (length > 0) {
        auto wanted = static_cast<size_t>(std::min<uint64_t>(length, block.size()));
        size_t got = readSome(name, file.get(), offset, {block.data(), wanted});
        if (got == 0) break;  // the file has become shorter meanwhile
        unquoter.take({block.data(), got});
        message.append(text);
        text.clear();
        offset += got;
        length -= got;
    }
    unquoter.finish();
    message.append(text);
    return message.takeInput(name);
}

}  // namespace emltool
