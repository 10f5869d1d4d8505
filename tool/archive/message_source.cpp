#include "tool/archive/message_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "standalone/unnamed_file.h"
#include "tool/archive/mbox.h"
#include "tool/system/temporary_files.h"
#include "tool/text/format.h"
#include "tool/text/suggestion.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

std::string wordsFor(const std::string& path) { return path == "-" ? "standard input" : path; }

std::unique_ptr<emlhost::Input> openWhole(const MessageSource& source, std::error_code& error) {
    if (source.file != nullptr) {
        emlhost::UniqueDescriptor own(::fcntl(source.file->get(), F_DUPFD_CLOEXEC, 0));
        if (own.valid()) return emlhost::DescriptorInput::fromDescriptor(std::move(own), error);
        error.assign(errno, std::system_category());
        return nullptr;
    }
    if (source.path == "-") return emlhost::spoolInput(STDIN_FILENO, error);
    return emlhost::openInput(source.path, error);
}

}  // namespace

std::string MessageSource::name() const {
    std::string text = wordsFor(path);
    return hasNumber && index ? formatted("{}#{}", text, *index + 1) : text;
}

std::unique_ptr<emlhost::Input> openSource(const MessageSource& source) {
    if (source.index) {
        return source.file != nullptr
                   ? openMboxMessage(source.name(), *source.file, source.offset, source.length)
                   : openMboxMessage(source.path, source.offset, source.length);
    }
    std::error_code error;
    std::unique_ptr<emlhost::Input> input = openWhole(source, error);
    if (input == nullptr) throw inputProblem(wordsFor(source.path), error);
    return input;
}

Problem inputProblem(const std::string& path, const std::error_code& error, const std::string& hint) {
    if (emlhost::isOfTemporaryFile(error)) return temporaryFileProblem(error);
    if (error == std::errc::no_such_file_or_directory) {
        return {ExitCode::kInput, "no-such-file", path, "no such file" + hint};
    }
    if (error == std::errc::is_a_directory) {
        std::string_view folder = path;
        if (folder.ends_with('/')) folder.remove_suffix(1);
        return {ExitCode::kInput, "is-a-directory", path,
                formatted("is a directory; a folder is for \"eml batch {0}\", \"eml view -o DIR {0}\" or "
                          "\"eml extract -o DIR {0}\"",
                          shellWord(folder))};
    }
    if (error == std::errc::not_enough_memory) return outOfMemory(path);
    return {ExitCode::kInput, "cannot-read", path, describe(error)};
}

}  // namespace emltool
