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

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "From someone@example.org Thu Jan  1 00:00:00 1970", or "From - " and perhaps a date.
bool isPostmark(std::string_view line) {
    if (!beginsMbox(line)) return false;
    line.remove_prefix(kFrom.size());
    if (line.starts_with('-') && (line.size() == 1 || line[1] == ' ' || line[1] == '\r' || line[1] == '\n'))
        return true;
    for (size_t i = 2; i + 2 < line.size(); ++i) {
        if (line[i] == ':' && isDigit(line[i - 2]) && isDigit(line[i - 1]) && isDigit(line[i + 1]) &&
            isDigit(line[i + 2])) {
            return true;
        }
    }
    return false;
}

// "Name:" at the beginning of a line.
bool isHeaderField(std::string_view line) {
    const size_t end = line.find(':');
    return end != std::string_view::npos && end > 0 &&
           std::all_of(line.begin(), line.begin() + static_cast<ptrdiff_t>(end),
                       [](char c) { return c > ' ' && c < '\x7F'; });
}

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
    constexpr size_t kHead = 128;
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
            postmark_.reset();
            return true;
        }
        if (postmark_ && isHeaderField(head_)) {
            range = {index_++, start_, *postmark_ - start_};
            start_ = lineStart_;
            postmark_.reset();
            return true;
        }
        postmark_.reset();
        if (isPostmark(head_)) postmark_ = lineStart_;
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

std::unique_ptr<emlhost::Input> openMboxMessage(const std::string& name,
                                                const emlhost::UniqueDescriptor& file, uint64_t offset,
                                                uint64_t length) {
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
