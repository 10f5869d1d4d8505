#include "standalone/unnamed_file.h"

#include <fcntl.h>

#include <cstdlib>

namespace emlhost {

std::string temporaryFolder() {
    const char* variable = std::getenv("TMPDIR");
    return variable != nullptr && *variable != '\0' ? variable : "/tmp";
}

UniqueDescriptor createUnnamedFile() {
    const std::string directory = temporaryFolder();
    UniqueDescriptor unnamed(::open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (unnamed.valid()) return unnamed;
    // Not every file system has files that never had a name; elsewhere the name is removed at once.
    std::string name = directory + "/eml-XXXXXX";
    UniqueDescriptor named(::mkostemp(name.data(), O_CLOEXEC));
    if (named.valid()) ::unlink(name.c_str());
    return named;
}

}  // namespace emlhost
