#include "tool/archive/message_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "standalone/unnamed_file.h"
#include "tool/archive/file_bytes.h"
#include "tool/archive/from_quoting.h"
#include "tool/system/spooled_file.h"
#include "tool/system/temporary_files.h"
#include "tool/text/format.h"
#include "tool/text/suggestion.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kBlock = size_t{256} << 10;

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

std::unique_ptr<emlhost::Input> openStored(const std::string& path, const StoredRange& range) {
    return openStored(path, openFile(path), range);
}

std::unique_ptr<emlhost::Input> openStored(const std::string& name, const emlhost::UniqueDescriptor& file,
                                           const StoredRange& range) {
    SpooledFile message;
    std::string text;
    FromUnquoter unquoter(text);
    uint64_t offset = range.offset;
    uint64_t length = range.length;
    std::vector<char> block(static_cast<size_t>(std::min<uint64_t>(length, kBlock)));
    while (length > 0) {
        auto wanted = static_cast<size_t>(std::min<uint64_t>(length, block.size()));
        size_t got = readSome(name, file.get(), offset, {block.data(), wanted});
        if (got == 0) break;  // the file has become shorter meanwhile
        if (range.isQuoted) {
            unquoter.take({block.data(), got});
            message.append(text);
            text.clear();
        } else {
            message.append({block.data(), got});
        }
        offset += got;
        length -= got;
    }
    unquoter.finish();
    message.append(text);
    return message.takeInput(name);
}

std::unique_ptr<emlhost::Input> openSource(const MessageSource& source) {
    if (source.stored) {
        return source.file != nullptr ? openStored(source.name(), *source.file, *source.stored)
                                      : openStored(source.path, *source.stored);
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
