#include "tool/archive/path_list.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace emltool {

bool PathList::next(std::string& path) {
    for (;;) {
        size_t end = buffer_.find(separator_, std::max(position_, searched_));
        if (end == std::string::npos) {
            searched_ = buffer_.size();
            if (!ended_ || position_ >= buffer_.size()) return false;
            end = buffer_.size();
        }
        path.assign(buffer_, position_, end - position_);
        position_ = std::min(end + 1, buffer_.size());
        if (!path.empty()) return true;
    }
}

int PathList::read() {
    constexpr size_t kPiece = size_t{64} << 10;
    buffer_.erase(0, position_);
    searched_ -= std::min(searched_, position_);
    position_ = 0;
    size_t before = buffer_.size();
    buffer_.resize(before + kPiece);
    ssize_t got = -1;
    do {
        got = ::read(descriptor_, buffer_.data() + before, kPiece);
    } while (got < 0 && errno == EINTR);
    int failure = got < 0 ? errno : 0;
    buffer_.resize(before + static_cast<size_t>(std::max<ssize_t>(got, 0)));
    if (got <= 0) ended_ = true;
    return failure;
}

}  // namespace emltool
