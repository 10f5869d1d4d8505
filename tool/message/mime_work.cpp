#include "tool/message/mime_work.h"

#include <fmt/format.h>

#include "tool/terminal/problem.h"

namespace emltool {

void withMime(MessageFile& file, const MimeWork& work) {
    try {
        const emlreader::mime::Message message(file.input());
        work(message);
    } catch (const std::system_error& error) {
        file.checkReads();
        throw Problem(ExitCode::kInput, "cannot-read", file.name(), describe(error.code()));
    } catch (const emlreader::Error& error) {
        if (error.code() == EML_NO_MEMORY) throw outOfMemory(file.name());
        throw Problem(ExitCode::kInput, "cannot-open", file.name(),
                      fmt::format("cannot be read: {}", error.what()));
    }
}

}  // namespace emltool
