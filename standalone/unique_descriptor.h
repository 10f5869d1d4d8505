// A file descriptor that is closed with its owner.
#ifndef EMLREADER_STANDALONE_UNIQUE_DESCRIPTOR_H
#define EMLREADER_STANDALONE_UNIQUE_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace emlhost {

class UniqueDescriptor {
  public:
    // Takes over `number`; -1 is no descriptor.
    explicit UniqueDescriptor(int number = -1) noexcept : number_(number) {}
    ~UniqueDescriptor() { close(); }

    UniqueDescriptor(UniqueDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
        if (this != &other) {
            close();
            number_ = std::exchange(other.number_, -1);
        }
        return *this;
    }

    bool valid() const noexcept { return number_ >= 0; }
    int get() const noexcept { return number_; }

    // Closes it now. Returns 0, or the errno that the system reports only now (a network file system may
    // report a full disk here).
    int close() noexcept {
        if (number_ < 0) return 0;
        // Never repeated: Linux has freed the number even when it answers EINTR.
        int result = ::close(std::exchange(number_, -1));
        return result == 0 || errno == EINTR ? 0 : errno;
    }

  private:
    int number_;
};

}  // namespace emlhost

#endif
