#include "bench/messages.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace emlbench {

MessageFile loadMessage(const std::string& path) {
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    MessageFile file{path, {}};
    if (stream) {
        file.bytes.resize(static_cast<size_t>(stream.tellg()));
        stream.seekg(0);
        stream.read(reinterpret_cast<char*>(file.bytes.data()),
                    static_cast<std::streamsize>(file.bytes.size()));
    }
    if (!stream || file.bytes.empty()) {
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
        std::exit(1);
    }
    return file;
}

const char* nameOf(Host host) {
    switch (host) {
        case Host::kMapped:
            return "mapped host";
        case Host::kPread:
            return "pread host";
        default:
            return "memory host";
    }
}

std::unique_ptr<emlhost::Input> openInput(const MessageFile& file, Host host) {
    std::error_code error;
    switch (host) {
        case Host::kMapped:
            return emlhost::MappedFileInput::open(file.path, error);
        case Host::kPread:
            return emlhost::DescriptorInput::open(file.path, error);
        default:
            return std::make_unique<emlhost::MemoryInput>(file.bytes);
    }
}

}  // namespace emlbench
