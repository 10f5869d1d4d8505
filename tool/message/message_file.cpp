#include "tool/message/message_file.h"

#include <emlreader/mime.hpp>
#include <string_view>

#include "tool/terminal/problem.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

// "Name:", the name being printable ASCII; blanks before the colon are tolerated.
bool isHeaderField(std::string_view line) {
    size_t end = 0;
    while (end < line.size() && line[end] > ' ' && line[end] < '\x7F' && line[end] != ':') ++end;
    size_t colon = line.find_first_not_of(" \t", end);
    return end > 0 && colon != std::string_view::npos && line[colon] == ':';
}

// What the MIME reader throws becomes a Problem of the file `name`.
void withProblemsOf(const std::string& name, const std::function<void()>& work) {
    try {
        work();
    } catch (const emlreader::Error& error) {
        if (error.code() == EML_NO_MEMORY) throw outOfMemory(name);
        throw Problem(ExitCode::kInput, "cannot-read", name,
                      formatted("cannot be read (result {} of the reader)", error.code()));
    } catch (const std::system_error& error) {
        throw inputProblem(name, error.code());
    }
}

}  // namespace

bool hasHeaderField(std::string_view beginning) {
    while (!beginning.empty()) {
        size_t end = beginning.find_first_of("\r\n");
        std::string_view line = beginning.substr(0, end);
        if (line.empty()) return false;
        if (isHeaderField(line)) return true;
        if (end == std::string_view::npos) return false;
        bool both = beginning.substr(end, 2) == "\r\n";
        beginning.remove_prefix(end + (both ? 2 : 1));
    }
    return false;
}

bool looksLikeMessage(emlhost::Input& input) {
    constexpr size_t kExamined = size_t{64} << 10;
    std::string beginning;
    EmlIOobj* object = input.object();
    if (object->open(object) == 0) return false;
    char piece[4096];
    while (beginning.size() < kExamined) {
        int32_t got = object->read(object, piece, sizeof piece);
        if (got < 1) break;
        beginning.append(piece, static_cast<size_t>(got));
    }
    object->close(object);
    return hasHeaderField(beginning);
}

std::unique_ptr<emlhost::Input> openMessageInput(const std::string& path) {
    std::error_code error;
    std::unique_ptr<emlhost::Input> input = emlhost::openInput(path, error);
    if (input == nullptr) throw inputProblem(path, error);
    return input;
}

MessageFile::MessageFile(const MessageSource& source, bool force)
    : MessageFile(openSource(source), source.name(), force) {}

MessageFile::MessageFile(std::unique_ptr<emlhost::Input> input, std::string name, bool force)
    : name_(std::move(name)), input_(std::move(input)) {
    if (input_->size() == 0) throw Problem(ExitCode::kNoMessage, "empty", name_, "the file is empty");
    if (!force && !looksLikeMessage(*input_)) {
        checkReads();
        throw Problem(ExitCode::kNoMessage, "no-message", name_,
                      "not an e-mail message (no header field found); --force reads it anyway");
    }
    checkReads();
}

MessageFile::~MessageFile() = default;

emlhost::OpenMessage& MessageFile::message() {
    if (message_ != nullptr) return *message_;
    message_ = std::make_unique<emlhost::OpenMessage>(*input_, services_, kOpenFlags);
    checkReads();
    if (message_->status() == EML_NO_MEMORY) throw outOfMemory(name_);
    if (!message_->usable()) {
        throw Problem(ExitCode::kInput, "cannot-open", name_,
                      formatted("cannot be opened (result {} of the reader)", message_->status()));
    }
    return *message_;
}

const emlreader::mime::Message& MessageFile::mime() {
    if (mime_ == nullptr) {
        withProblemsOf(name_, [&] { mime_ = std::make_unique<emlreader::mime::Message>(*input_); });
    }
    return *mime_;
}

void withMime(MessageFile& file, const std::function<void(const emlreader::mime::Message& message)>& work) {
    withProblemsOf(file.name(), [&] { work(file.mime()); });
}

void MessageFile::checkReads() const {
    if (input_->error()) throw inputProblem(name_, input_->error());
}

}  // namespace emltool
