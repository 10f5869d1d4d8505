#include "tool/archive/message_sources.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>

#include "standalone/unnamed_file.h"
#include "tool/text/format.h"
#include "tool/text/suggestion.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

// "box.mbox#17"
struct Place {
    std::string path;
    uint64_t number = 0;
};

std::optional<Place> placeIn(const std::string& argument) {
    const size_t mark = argument.rfind('#');
    if (mark == std::string::npos || mark == 0) return std::nullopt;
    const char* from = argument.data() + mark + 1;
    const char* to = argument.data() + argument.size();
    Place place{argument.substr(0, mark), 0};
    const auto [end, failure] = std::from_chars(from, to, place.number);
    if (from == to || end != to || failure != std::errc()) return std::nullopt;
    return place;
}

std::error_code lastError() { return {errno, std::system_category()}; }

// A descriptor that may be read at any place, again and again.
SharedFile asRegularFile(emlhost::UniqueDescriptor file, std::error_code& error) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        error = lastError();
    } else if (S_ISDIR(status.st_mode)) {
        error.assign(EISDIR, std::system_category());
    } else if (!S_ISREG(status.st_mode)) {
        file = emlhost::spoolToUnnamedFile(file.get(), error);
    }
    return error ? nullptr : std::make_shared<emlhost::UniqueDescriptor>(std::move(file));
}

SharedFile openPath(const std::string& path, std::error_code& error) {
    emlhost::UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (file.valid()) return asRegularFile(std::move(file), error);
    error = lastError();
    return nullptr;
}

bool isMissing(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

bool isMbox(const SharedFile& file) {
    char beginning[8];
    ssize_t got = -1;
    do {
        got = ::pread(file->get(), beginning, sizeof beginning, 0);
    } while (got < 0 && errno == EINTR);
    return got > 0 && beginsMbox({beginning, static_cast<size_t>(got)});
}

std::string didYouMean(const std::string& near) {
    return near.empty() ? "" : formatted("; did you mean {}?", near);
}

Problem noSuchMessage(const std::string& path, std::string text) {
    return {ExitCode::kNoSubFile, "no-such-message", path, std::move(text)};
}

std::string plural(uint64_t count) { return formatted("{} message{}", count, count == 1 ? "" : "s"); }

}  // namespace

SharedFile readStandardInput() {
    std::error_code error;
    emlhost::UniqueDescriptor file(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!file.valid()) error = lastError();
    struct stat status {};
    // What another program has already read of a file is not read again, so the rest is copied.
    const bool isBegun = file.valid() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                         ::lseek(file.get(), 0, SEEK_CUR) != 0;
    SharedFile shared;
    if (isBegun) {
        file = emlhost::spoolToUnnamedFile(file.get(), error);
        if (!error) shared = std::make_shared<emlhost::UniqueDescriptor>(std::move(file));
    } else if (!error) {
        shared = asRegularFile(std::move(file), error);
    }
    if (error) throw inputProblem("standard input", error);
    return shared;
}

void MessageSources::openArgument() {
    if (argument_ == "-") {
        file_ = readStandardInput();
        return;
    }
    std::error_code error;
    file_ = openPath(argument_, error);
    std::optional<Place> place;
    if (isMissing(error)) place = placeIn(argument_);
    if (place) {
        std::error_code second;
        file_ = openPath(place->path, second);
        if (!isMissing(second)) {
            path_ = place->path;
            number_ = place->number;
            error = second;
        }
    }
    if (!error) return;
    std::string near;
    if (isMissing(error)) near = closestFile(place ? place->path : argument_);
    if (place && !near.empty()) near += formatted("#{}", place->number);
    throw inputProblem(path_, error, didYouMean(near));
}

void MessageSources::begin() {
    begun_ = true;
    if (folders_ == Folders::kRead && isFolder(argument_)) {
        walk_ = std::make_unique<FolderWalk>(argument_, "");
        return;
    }
    ended_ = true;  // if there is a problem
    if (file_ == nullptr) openArgument();
    if (isMbox(file_)) {
        scan_ = std::make_unique<MboxScan>(path_, file_);
    } else if (number_) {
        throw noSuchMessage(
            path_, formatted("does not begin with \"From \", so it is no mbox with a message {}", *number_));
    }
    ended_ = false;
}

MessageSource MessageSources::found(const MboxRange& range) const {
    MessageSource source;
    source.path = path_;
    source.index = range.index;
    source.offset = range.offset;
    source.length = range.length;
    source.file = file_;
    return source;
}

// The message that the argument names.
MessageSource MessageSources::numbered() {
    MboxRange range;
    uint64_t count = 0;
    while (scan_->next(range)) {
        if (++count != *number_) continue;
        MessageSource source = found(range);
        source.hasNumber = true;
        return source;
    }
    const char* hint = *number_ == 0 ? "; they count from 1" : "";
    throw noSuchMessage(path_, formatted("has {}, there is no {}{}", plural(count), *number_, hint));
}

// Looks one message ahead, since the only message of a file needs no number.
bool MessageSources::nextOfMbox(MessageSource& source) {
    MboxRange range;
    if (!ahead_) {
        if (!scan_->next(range)) return false;
        ahead_ = range;
    }
    source = found(*ahead_);
    ahead_.reset();
    if (scan_->next(range)) ahead_ = range;
    source.isOneOfMany = source.hasNumber = ahead_.has_value() || *source.index > 0;
    return true;
}

bool MessageSources::nextOfFolder(MessageSource& source) {
    for (;;) {
        if (inFolder_ != nullptr && inFolder_->next(source)) {
            source.isOneOfMany = true;
            return true;
        }
        inFolder_.reset();
        FolderWalk::Entry entry;
        if (!walk_->next(entry)) return false;
        if (entry.leftOut != nullptr) {
            leftOut_.push_back(std::move(entry));
            continue;
        }
        path_ = entry.path;
        if (entry.problem) throw Problem(*entry.problem);
        inFolder_ = std::make_unique<MessageSources>(entry.path);
    }
}

bool MessageSources::next(MessageSource& source) {
    if (!begun_) begin();
    if (walk_ != nullptr) return nextOfFolder(source);
    if (ended_) return false;
    ended_ = true;  // unless there may be more
    if (scan_ != nullptr && !number_) {
        ended_ = !nextOfMbox(source);
        return !ended_;
    }
    if (number_) {
        source = numbered();
    } else {
        source = MessageSource{};
        source.path = path_;
        source.file = file_;
    }
    return true;
}

MessageSource MessageSources::failure() const {
    if (inFolder_ != nullptr) return inFolder_->failure();
    MessageSource source;
    source.path = path_;
    if (scan_ != nullptr) source.index = number_ && *number_ > 0 ? *number_ - 1 : scan_->index();
    return source;
}

MessageSource onlySource(MessageSources& sources, const std::string& argument, const std::string& command) {
    MessageSource first;
    MessageSource other;
    if (!sources.next(first)) return first;
    uint64_t count = 1;
    while (sources.next(other)) ++count;
    if (count == 1) return first;
    const std::string path = argument == "-" ? "/dev/stdin" : shellWord(argument);
    throw Problem(ExitCode::kUsage, "several-messages", argument == "-" ? "standard input" : argument,
                  formatted("is an mbox of {0}, and {1} takes one; name it: {2}#1 to {2}#{3}", plural(count),
                            command, path, count));
}

}  // namespace emltool
