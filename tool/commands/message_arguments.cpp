#include "tool/commands/message_arguments.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "tool/terminal/problem.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

// Programs without a terminal often have /dev/null, or nothing at all, as their standard input.
bool mayHoldMessage(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && !S_ISCHR(status.st_mode);
}

bool isEmpty(const SharedFile& file) {
    struct stat status {};
    return ::fstat(file->get(), &status) == 0 && status.st_size == 0;
}

}  // namespace

MessageArguments::MessageArguments(CLI::App& app, Count count) : command_(app.get_name()), count_(count) {
    const char* text =
        count == Count::kOne
            ? "the message; - is standard input, box.mbox#17 the 17th message of an mbox or archive"
            : "messages; - is standard input, box.mbox#17 the 17th message of an mbox or archive";
    app.add_option("FILE", files_, text)->type_name("");
}

void MessageArguments::declareForce(CLI::App& app) {
    app.add_flag("--force", force_, "read the file even if it does not look like a message");
}

void MessageArguments::readStandardInputUnasked() {
    if (!mayHoldMessage(STDIN_FILENO)) return;
    SharedFile input = readStandardInput();
    if (isEmpty(input)) return;
    standardInput_ = std::move(input);
    files_.emplace_back("-");
}

void MessageArguments::check() {
    if (files_.empty()) readStandardInputUnasked();
    if (files_.empty()) {
        throw usageProblem(formatted("{0}: no FILE given; see \"eml {0} --help\"", command_));
    }
    if (count_ == Count::kOne && files_.size() > 1) {
        throw usageProblem(formatted("{} takes one FILE; {} is one too many", command_, files_[1]));
    }
}

MessageSources MessageArguments::messagesOf(const std::string& file, MessageSources::Folders folders) const {
    return standardInput_ != nullptr ? MessageSources(file, standardInput_) : MessageSources(file, folders);
}

MessageSource MessageArguments::message() const {
    MessageSources sources = messagesOf(file());
    return onlySource(sources, file(), command_);
}

}  // namespace emltool
