#include "tool/message/content_store.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "tool/terminal/problem.h"

namespace emltool {

namespace {

constexpr size_t kFolderDigits = 2;

Problem cannotWrite(const std::string& path, const std::error_code& error) {
    return {ExitCode::kOutput, "write-failed", path, describe(error)};
}

// Not what a link leads to.
bool isFileOfSize(const std::string& path, uint64_t size) {
    struct stat found {};
    return ::lstat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode) &&
           static_cast<uint64_t>(found.st_size) == size;
}

}  // namespace

std::string ContentStore::path() const { return folder_.path().empty() ? "." : folder_.path(); }

void ContentStore::prepare() {
    folder_.prepare();
    std::error_code error;
    if (folder_.files().create(error) != nullptr) return;
    folder_.removeIfEmpty();
    throw cannotWrite(path(), error);
}

std::error_code ContentStore::makeFolder(const std::string& name) {
    const auto number = static_cast<size_t>(std::stoul(name, nullptr, 16));
    if (hasFolder_.test(number)) return {};
    const std::string path = folder_.pathOf(name);
    if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) return {errno, std::system_category()};
    hasFolder_.set(number);
    return {};
}

ContentStore::Stored ContentStore::store() {
    if (output_.error()) {
        output_.drop();
        throw cannotWrite(path(), output_.error());
    }
    Stored stored;
    stored.sha256 = output_.digest();
    const std::string folder = stored.sha256.substr(0, kFolderDigits);
    const std::string name = stored.sha256.substr(kFolderDigits);
    stored.path = folder_.pathOf(folder + "/" + name);
    if (isFileOfSize(stored.path, output_.size())) {
        output_.drop();
        return stored;
    }
    std::error_code error;
    const std::unique_ptr<emlhost::FileOutput> file = output_.takeFile(error);
    if (file == nullptr) throw cannotWrite(path(), error);
    if (error = makeFolder(folder); error) throw cannotWrite(folder_.pathOf(folder), error);
    // Another program may have written the same bytes meanwhile; what has another size is no content.
    error = file->commitInto(folder, name, emlhost::CommitPolicy::kReplace);
    if (error) throw cannotWrite(stored.path, error);
    stored.isNew = true;
    return stored;
}

int ContentStore::HeldOutput::openFile() noexcept try {
    std::error_code error;
    file_ = folder_.files().create(error);
    if (file_ == nullptr) return error.value();
    EmlIOobj* const object = file_->object();
    if (object->open(object) == 0) return file_->error() ? file_->error().value() : EIO;
    return append(std::span(held_.get(), heldSize_));
} catch (const std::bad_alloc&) {
    return ENOMEM;
}

int ContentStore::HeldOutput::append(std::span<const uint8_t> bytes) noexcept {
    EmlIOobj* const object = file_->object();
    object->write(object, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return file_->error().value();
}

int ContentStore::HeldOutput::put(uint64_t, std::span<const uint8_t> bytes) noexcept {
    hash_.update(bytes);
    if (file_ == nullptr && bytes.size() <= kMaxHeld - heldSize_) {
        if (held_ == nullptr) held_.reset(new (std::nothrow) uint8_t[kMaxHeld]);
        if (held_ == nullptr) return ENOMEM;
        std::ranges::copy(bytes, held_.get() + heldSize_);
        heldSize_ += bytes.size();
        return 0;
    }
    if (file_ == nullptr) {
        if (const int failure = openFile()) return failure;
    }
    return append(bytes);
}

int ContentStore::HeldOutput::finish() noexcept {
    if (file_ == nullptr) return 0;
    EmlIOobj* const object = file_->object();
    object->close(object);
    return file_->error().value();
}

int ContentStore::HeldOutput::restart() noexcept {
    hash_.restart();
    heldSize_ = 0;
    file_.reset();
    return 0;
}

std::unique_ptr<emlhost::FileOutput> ContentStore::HeldOutput::takeFile(std::error_code& error) {
    if (file_ == nullptr) {
        error.assign(openFile(), std::system_category());
        if (!error) error.assign(finish(), std::system_category());
        if (error) file_.reset();
    }
    return std::move(file_);
}

}  // namespace emltool
