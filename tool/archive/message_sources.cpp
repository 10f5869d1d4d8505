#include "tool/archive/message_sources.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

#include "standalone/unnamed_file.h"
#include "tool/archive/archive_kind.h"
#include "tool/archive/emlx.h"
#include "tool/archive/mail_lines.h"
#include "tool/database/mail_search.h"
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

std::string didYouMean(const std::string& near) {
    return near.empty() ? "" : formatted("; did you mean {}?", near);
}

std::string wordsFor(const std::string& path) { return path == "-" ? "standard input" : path; }

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

// One that names another database could name itself.
void MessageSources::openStoredMessage() {
    if (isStored_)
        throw Problem(ExitCode::kInput, "not-message", path_,
                      "is a database itself, where a message should be");
    if (argument_ == "-" || !number_) {
        throw Problem(
            ExitCode::kUsage, "several-messages", wordsFor(path_),
            formatted("is a database; name a message of it as \"eml search\" prints them: {0}#1", path_));
    }
    MailSearch database(path_);
    const auto id = static_cast<int64_t>(std::min<uint64_t>(*number_, INT64_MAX));
    const std::optional<FoundPlace> place = database.place(id);
    if (!place) {
        throw noSuchMessage(path_, formatted("has {}, there is no {}",
                                             plural(static_cast<uint64_t>(database.size())), *number_));
    }
    const bool isAbsolute = place->path.starts_with('/') || place->folder.empty();
    const std::string path = isAbsolute ? place->path : place->folder + '/' + place->path;
    stored_ =
        std::make_unique<MessageSources>(place->index ? formatted("{}#{}", path, *place->index + 1) : path);
    stored_->isStored_ = true;
}

void MessageSources::begin() {
    begun_ = true;
    if (folders_ == Folders::kRead && isFolder(argument_)) {
        walk_ = std::make_unique<FolderWalk>(argument_, "");
        return;
    }
    ended_ = true;  // if there is a problem
    if (file_ == nullptr) openArgument();
    std::array<char, kArchiveBeginning> room{};
    const std::string_view first = beginning(room);
    if (beginsDatabase(first)) {
        openStoredMessage();
    } else if (beginsMbox(first)) {
        scan_ = std::make_unique<MboxScan>(path_, file_);
    } else if (beginsArchive(first)) {
        archive_ = std::make_unique<ArchiveMessages>(wordsFor(path_), file_);
    } else if (number_) {
        throw noSuchMessage(
            path_, formatted("does not begin with \"From \", so it is no mbox with a message {}", *number_));
    }
    ended_ = false;
}

// What cannot be read now has no beginning, which is a problem of whoever reads it.
std::string_view MessageSources::beginning(std::span<char> room) const {
    ssize_t got = -1;
    do {
        got = ::pread(file_->get(), room.data(), room.size(), 0);
    } while (got < 0 && errno == EINTR);
    return {room.data(), static_cast<size_t>(std::max<ssize_t>(got, 0))};
}

// The next message of an mbox or an archive. Throws the problem of one that cannot be read.
bool MessageSources::nextInFile(MessageSource& source) {
    source = MessageSource{};
    if (scan_ != nullptr) {
        MboxRange range;
        if (!scan_->next(range)) return false;
        source.index = range.index;
        source.hasPlace = true;
        source.offset = range.offset;
        source.length = range.length;
        source.stored = StoredRange{range.offset, range.length, range.isQuoted};
        source.file = file_;
    } else {
        ArchiveMessage message;
        while (archive_->next(message) && message.leftOut != nullptr) {
            leftOut_.push_back({formatted("{}: {}", path_, message.source.member.value_or("")), std::nullopt,
                                message.leftOut});
            message = ArchiveMessage{};
        }
        if (!message.source.index) return false;
        source = std::move(message.source);
        source.path = path_;
        if (message.problem) {
            failed_ = source;
            throw Problem(*message.problem);
        }
    }
    source.path = path_;
    return true;
}

// The message that the argument names.
MessageSource MessageSources::numbered() {
    MessageSource source;
    uint64_t count = 0;
    for (;;) {
        ++count;
        try {
            if (!nextInFile(source)) break;
        } catch (const Problem&) {
            // Those of other members do not matter.
            if (archive_ == nullptr || count == *number_) throw;
            continue;
        }
        if (count != *number_) continue;
        source.hasNumber = true;
        leftOut_.clear();
        return source;
    }
    const char* hint = *number_ == 0 ? "; they count from 1" : "";
    throw noSuchMessage(path_, formatted("has {}, there is no {}{}", plural(count - 1), *number_, hint));
}

// Looks one message ahead, since the only message of a file needs no number.
bool MessageSources::nextOfMany(MessageSource& source) {
    if (problem_) {
        const Problem problem = *std::exchange(problem_, std::nullopt);
        throw Problem(problem);
    }
    failed_.reset();
    if (!ahead_) {
        MessageSource first;
        if (!nextInFile(first)) return false;
        ahead_ = std::move(first);
    }
    source = std::move(*ahead_);
    ahead_.reset();
    try {
        MessageSource other;
        if (nextInFile(other)) ahead_ = std::move(other);
    } catch (const Problem& problem) {
        problem_ = problem;
    }
    source.isOneOfMany = source.hasNumber = ahead_.has_value() || problem_.has_value() || *source.index > 0;
    return true;
}

// The message in a file of its own.
MessageSource MessageSources::whole() const {
    MessageSource source;
    source.path = path_;
    source.file = file_;
    struct stat status {};
    std::array<char, kEmlxBeginning> room{};
    if (::fstat(file_->get(), &status) != 0) return source;
    const auto bytesAt = [&](uint64_t position, std::span<char> bytes) {
        const ssize_t got = ::pread(file_->get(), bytes.data(), bytes.size(), static_cast<off_t>(position));
        return static_cast<size_t>(std::max<ssize_t>(got, 0));
    };
    const auto emlx = findEmlx(beginning(room), static_cast<uint64_t>(status.st_size), path_, bytesAt);
    if (!emlx) return source;
    source.hasPlace = true;
    source.offset = emlx->offset;
    source.length = emlx->length;
    source.stored = StoredRange{emlx->offset, emlx->length, false};
    return source;
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
    if (stored_ != nullptr) return stored_->next(source);
    if (ended_) return false;
    if (isMany() && !number_) {
        ended_ = true;
        try {
            ended_ = !nextOfMany(source);
        } catch (const Problem&) {
            // After a message that cannot be read, an archive may have others.
            ended_ = !failed_;
            throw;
        }
        return !ended_;
    }
    ended_ = true;
    source = number_ ? numbered() : whole();
    return true;
}

MessageSource MessageSources::failure() const {
    if (inFolder_ != nullptr) return inFolder_->failure();
    if (stored_ != nullptr) return stored_->failure();
    MessageSource source;
    source.path = path_;
    if (failed_) {
        source = *failed_;
        source.hasNumber = true;
    } else if (isMany()) {
        const uint64_t index = scan_ != nullptr ? scan_->index() : archive_->index();
        source.index = number_ && *number_ > 0 ? *number_ - 1 : index;
    }
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
                  formatted("is an {4} of {0}, and {1} takes one; name it: {2}#1 to {2}#{3}", plural(count),
                            command, path, count, first.member ? "archive" : "mbox"));
}

}  // namespace emltool
