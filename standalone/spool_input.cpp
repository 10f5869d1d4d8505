// Input from what cannot seek.
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "standalone/input.h"
#include "standalone/unnamed_file.h"
#include "standalone/write_all.h"

namespace emlhost {

namespace {

// Errors of the temporary file; the numbers are those of the system.
class TemporaryFileCategory final : public std::error_category {
  public:
    const char* name() const noexcept override { return "temporary file"; }
    std::string message(int number) const override { return std::system_category().message(number); }
    std::error_condition default_error_condition(int number) const noexcept override {
        return std::system_category().default_error_condition(number);
    }
};

const std::error_category& temporaryFileCategory() {
    static const TemporaryFileCategory category;
    return category;
}

void copyAll(int from, int to, std::error_code& error) {
    constexpr size_t kPiece = size_t{64} << 10;
    auto buffer = std::make_unique_for_overwrite<uint8_t[]>(kPiece);
    for (;;) {
        ssize_t got = ::read(from, buffer.get(), kPiece);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) error.assign(errno, std::system_category());
        if (got <= 0) return;
        if (int failure = writeAll(to, {buffer.get(), static_cast<size_t>(got)})) {
            error.assign(failure, temporaryFileCategory());
            return;
        }
    }
}

}  // namespace

bool isOfTemporaryFile(const std::error_code& error) { return error.category() == temporaryFileCategory(); }

UniqueDescriptor spoolToUnnamedFile(int descriptor, std::error_code& error) {
    error.clear();
    UniqueDescriptor file = createUnnamedFile();
    if (file.valid()) {
        copyAll(descriptor, file.get(), error);
    } else {
        error.assign(errno, temporaryFileCategory());
    }
    return error ? UniqueDescriptor() : std::move(file);
}

std::unique_ptr<DescriptorInput> spoolInput(int descriptor, std::error_code& error) {
    UniqueDescriptor file = spoolToUnnamedFile(descriptor, error);
    if (error) return nullptr;
    return DescriptorInput::fromDescriptor(std::move(file), error);
}

}  // namespace emlhost
