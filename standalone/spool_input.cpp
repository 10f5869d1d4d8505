// Input from what cannot seek.
#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "standalone/input.h"
#include "standalone/write_all.h"

namespace emlhost {

namespace {

// A file without a name, or an invalid descriptor with errno set.
UniqueDescriptor createUnnamedFile() {
    const char* variable = std::getenv("TMPDIR");
    std::string directory = variable != nullptr && *variable != '\0' ? variable : "/tmp";
    UniqueDescriptor unnamed(::open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (unnamed.valid()) return unnamed;
    // Not every file system knows files that never had a name; elsewhere the name is taken away at once.
    std::string name = directory + "/eml-XXXXXX";
    UniqueDescriptor named(::mkostemp(name.data(), O_CLOEXEC));
    if (named.valid()) ::unlink(name.c_str());
    return named;
}

// Gives 0 or an errno.
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
