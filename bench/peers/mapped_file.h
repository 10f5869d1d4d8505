// A whole file in memory, for libraries that parse memory: mapped, so that reading it costs no copy.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>

namespace emlbench {

class MappedFile {
  public:
    explicit MappedFile(const std::string& path) {
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) return;
        struct stat status {};
        if (::fstat(descriptor, &status) == 0 && status.st_size > 0) {
            size_ = static_cast<size_t>(status.st_size);
            start_ = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, descriptor, 0);
        }
        ::close(descriptor);
    }
    ~MappedFile() {
        if (valid()) ::munmap(start_, size_);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    [[nodiscard]] bool valid() const { return start_ != MAP_FAILED; }
    [[nodiscard]] const char* begin() const { return static_cast<const char*>(start_); }
    [[nodiscard]] const char* end() const { return begin() + size_; }
    [[nodiscard]] size_t size() const { return size_; }

  private:
    void* start_ = MAP_FAILED;
    size_t size_ = 0;
};

}  // namespace emlbench
