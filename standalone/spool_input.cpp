// Input from what cannot seek.
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "standalone/input.h"
#include "standalone/unnamed_file.h"
#include "standalone/write_all.h"

namespace emlhost {

namespace {

// Returns 0 or an errno.
int copyAll(int from, int to) {
    constexpr size_t kPiece = size_t{64} << 10;
    auto buffer = std::make_unique_for_overwrite<uint8_t[]>(kPiece);
    for (;;) {
        ssize_t got = ::read(from, buffer.get(), kPiece);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno;
        if (got == 0) return 0;
        if (int failure = writeAll(to, {buffer.get(), static_cast<size_t>(got)})) return failure;
    }
}

}  // namespace

std::unique_ptr<DescriptorInput> spoolInput(int descriptor, std::error_code& error) {
    UniqueDescriptor file = createUnnamedFile();
    int failure = file.valid() ? copyAll(descriptor, file.get()) : errno;
    if (failure != 0) {
        error.assign(failure, std::system_category());
        return nullptr;
    }
    return DescriptorInput::fromDescriptor(std::move(file), error);
}

}  // namespace emlhost
