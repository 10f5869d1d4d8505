#include "tool/system/spooled_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "standalone/unnamed_file.h"
#include "standalone/write_all.h"
#include "tool/system/temporary_files.h"
#include "tool/system/write_pieces.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

// An input that owns its bytes.
class HeldInput final : public emlhost::Input {
  public:
    explicit HeldInput(std::vector<uint8_t> bytes) : Input(bytes.size()), bytes_(std::move(bytes)) {
        keepAtHand(0, bytes_);
    }

  private:
    std::vector<uint8_t> bytes_;
};

Problem spoolProblem(const std::string& subject, const std::error_code& error) {
    if (error == std::errc::not_enough_memory) return outOfMemory(subject);
    return temporaryFileProblem(error);
}

}  // namespace

void SpooledFile::append(std::string_view text) {
    writePieces(*this, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

int SpooledFile::moveToFile() {
    file_ = emlhost::createUnnamedFile();
    if (!file_.valid()) return errno;
    const int failure = emlhost::writeAll(file_.get(), held_);
    held_ = {};
    return failure;
}

int SpooledFile::drain(uint64_t position, std::span<const uint8_t> bytes) noexcept try {
    if (!file_.valid() && position + bytes.size() > kMaxInMemory) {
        if (int failure = moveToFile()) return failure;
    }
    if (file_.valid()) return emlhost::writeAllAt(file_.get(), position, bytes);
    const auto start = static_cast<size_t>(position);
    held_.resize(std::max(held_.size(), start + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), held_.begin() + static_cast<ptrdiff_t>(start));
    return 0;
} catch (const std::bad_alloc&) {
    return ENOMEM;
}

int SpooledFile::restart() noexcept {
    held_.clear();
    file_ = emlhost::UniqueDescriptor();
    return BufferedOutput::restart();
}

std::unique_ptr<emlhost::Input> SpooledFile::takeInput(const std::string& subject) {
    if (!error()) fail(finish());
    if (error()) throw spoolProblem(subject, error());
    if (!file_.valid()) return std::make_unique<HeldInput>(std::move(held_));
    std::error_code error;
    std::unique_ptr<emlhost::Input> input = emlhost::DescriptorInput::fromDescriptor(std::move(file_), error);
    if (input == nullptr) throw spoolProblem(subject, error);
    return input;
}

}  // namespace emltool
