#include "tool/archive/unpack.h"

#ifdef EML_WITH_ARCHIVE

#include <archive.h>
#include <archive_entry.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <new>
#include <vector>

#include "standalone/write_all.h"
#include "tool/archive/member_stream.h"
#include "tool/loading/shared_library.h"
#include "tool/system/isolated_process.h"

namespace emltool {

namespace {

using Kind = MemberEvent::Kind;
using Failure = MemberEvent::Failure;

constexpr size_t kBlock = size_t{64} << 10;
constexpr unsigned kProcessorSeconds = 60;  // that may pass without anything read or found

struct Library {
    decltype(::archive_read_new)* create = nullptr;
    decltype(::archive_read_free)* destroy = nullptr;
    decltype(::archive_read_support_filter_gzip)* gzip = nullptr;
    decltype(::archive_read_support_filter_bzip2)* bzip2 = nullptr;
    decltype(::archive_read_support_filter_xz)* xz = nullptr;
    decltype(::archive_read_support_filter_zstd)* zstd = nullptr;
    decltype(::archive_read_support_format_tar)* tar = nullptr;
    decltype(::archive_read_support_format_zip)* zip = nullptr;
    decltype(::archive_read_support_format_raw)* raw = nullptr;
    decltype(::archive_read_support_format_empty)* empty = nullptr;
    decltype(::archive_read_set_read_callback)* setRead = nullptr;
    decltype(::archive_read_set_seek_callback)* setSeek = nullptr;
    decltype(::archive_read_set_skip_callback)* setSkip = nullptr;
    decltype(::archive_read_set_callback_data)* setData = nullptr;
    decltype(::archive_read_open1)* open = nullptr;
    decltype(::archive_read_next_header)* nextHeader = nullptr;
    decltype(::archive_read_data_block)* dataBlock = nullptr;
    decltype(::archive_format)* format = nullptr;
    decltype(::archive_format_name)* formatName = nullptr;
    decltype(::archive_filter_count)* filters = nullptr;
    decltype(::archive_filter_bytes)* filterBytes = nullptr;
    decltype(::archive_error_string)* errorText = nullptr;
    decltype(::archive_set_error)* setError = nullptr;
    decltype(::archive_entry_pathname)* path = nullptr;
    decltype(::archive_entry_pathname_utf8)* pathUtf8 = nullptr;
    decltype(::archive_entry_filetype)* type = nullptr;
    decltype(::archive_entry_hardlink)* hardLink = nullptr;
    decltype(::archive_entry_symlink)* symbolicLink = nullptr;
    decltype(::archive_entry_is_data_encrypted)* isEncrypted = nullptr;
    decltype(::archive_entry_sparse_count)* sparsePieces = nullptr;
    locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);  // names in UTF-8 stay what they are
    bool isLoaded = false;

    Library() {
        isLoaded = SharedLibrary(EML_ARCHIVE_LIBRARY)
                       .get(create, "archive_read_new")
                       .get(destroy, "archive_read_free")
                       .get(gzip, "archive_read_support_filter_gzip")
                       .get(bzip2, "archive_read_support_filter_bzip2")
                       .get(xz, "archive_read_support_filter_xz")
                       .get(zstd, "archive_read_support_filter_zstd")
                       .get(tar, "archive_read_support_format_tar")
                       .get(zip, "archive_read_support_format_zip")
                       .get(raw, "archive_read_support_format_raw")
                       .get(empty, "archive_read_support_format_empty")
                       .get(setRead, "archive_read_set_read_callback")
                       .get(setSeek, "archive_read_set_seek_callback")
                       .get(setSkip, "archive_read_set_skip_callback")
                       .get(setData, "archive_read_set_callback_data")
                       .get(open, "archive_read_open1")
                       .get(nextHeader, "archive_read_next_header")
                       .get(dataBlock, "archive_read_data_block")
                       .get(format, "archive_format")
                       .get(formatName, "archive_format_name")
                       .get(filters, "archive_filter_count")
                       .get(filterBytes, "archive_filter_bytes")
                       .get(errorText, "archive_error_string")
                       .get(setError, "archive_set_error")
                       .get(path, "archive_entry_pathname")
                       .get(pathUtf8, "archive_entry_pathname_utf8")
                       .get(type, "archive_entry_filetype")
                       .get(hardLink, "archive_entry_hardlink")
                       .get(symbolicLink, "archive_entry_symlink")
                       .get(isEncrypted, "archive_entry_is_data_encrypted")
                       .get(sparsePieces, "archive_entry_sparse_count")
                       .isComplete();
    }
};

const Library& library() {
    static const Library loaded;
    return loaded;
}

// The bytes of the archive.
class ArchiveBytes {
  public:
    ArchiveBytes(int descriptor, std::string_view beginning)
        : descriptor_(descriptor), beginning_(beginning), buffer_(kBlock) {
        struct stat found {};
        isFile_ = ::fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode);
        if (isFile_) size_ = static_cast<uint64_t>(found.st_size);
    }

    bool isFile() const { return isFile_; }

    // What has been read, counting no byte of a file twice.
    uint64_t read() const { return isFile_ ? std::min(read_, size_) : read_; }

    // What is at this place of the file.
    bool isAt(uint64_t offset, std::span<const char> bytes) const {
        std::vector<char> there(bytes.size());
        const ssize_t got = ::pread(descriptor_, there.data(), there.size(), static_cast<off_t>(offset));
        return got == static_cast<ssize_t>(bytes.size()) &&
               std::equal(bytes.begin(), bytes.end(), there.begin());
    }

    static la_ssize_t give(archive* archive, void* self, const void** bytes) {
        return static_cast<ArchiveBytes*>(self)->next(archive, bytes);
    }

    static la_int64_t seek(archive*, void* self, la_int64_t offset, int whence) {
        return static_cast<ArchiveBytes*>(self)->moveTo(offset, whence);
    }

    static la_int64_t skip(archive*, void* self, la_int64_t count) {
        return static_cast<ArchiveBytes*>(self)->pass(count);
    }

  private:
    la_ssize_t next(archive* archive, const void** bytes) {
        allowProcessorTime(kProcessorSeconds);
        if (!isFile_ && !beginning_.empty()) {
            *bytes = beginning_.data();
            const size_t count = beginning_.size();
            beginning_ = {};
            read_ += count;
            return static_cast<la_ssize_t>(count);
        }
        ssize_t got = -1;
        do {
            got = isFile_
                      ? ::pread(descriptor_, buffer_.data(), buffer_.size(), static_cast<off_t>(position_))
                      : ::read(descriptor_, buffer_.data(), buffer_.size());
        } while (got < 0 && (errno == EINTR || (errno == EAGAIN && waits())));
        if (got < 0) {
            library().setError(archive, errno, "%s", std::strerror(errno));
            return ARCHIVE_FATAL;
        }
        *bytes = buffer_.data();
        position_ += static_cast<uint64_t>(got);
        read_ += static_cast<uint64_t>(got);
        return got;
    }

    bool waits() const {
        struct pollfd more {
            descriptor_, POLLIN, 0
        };
        return ::poll(&more, 1, -1) > 0;
    }

    la_int64_t moveTo(la_int64_t offset, int whence) {
        if (!isFile_) return ARCHIVE_FATAL;
        const uint64_t base = whence == SEEK_CUR ? position_ : whence == SEEK_END ? size_ : 0;
        const auto wanted = static_cast<la_int64_t>(base);
        if (offset > 0 && offset > INT64_MAX - wanted) return ARCHIVE_FATAL;
        if (wanted + offset < 0) return ARCHIVE_FATAL;
        position_ = static_cast<uint64_t>(wanted + offset);
        return wanted + offset;
    }

    la_int64_t pass(la_int64_t count) {
        if (!isFile_ || count <= 0 || position_ >= size_) return 0;
        const uint64_t most = std::min(size_ - position_, static_cast<uint64_t>(count));
        position_ += most;
        return static_cast<la_int64_t>(most);
    }

    int descriptor_;
    std::string_view beginning_;
    std::vector<char> buffer_;
    bool isFile_ = false;
    uint64_t size_ = 0;
    uint64_t position_ = 0;
    uint64_t read_ = 0;
};

// Frames on their way to the pipe.
class Frames {
  public:
    explicit Frames(int descriptor) : descriptor_(descriptor) { bytes_.reserve(2 * kBlock); }

    void add(UnpackFrame frame, std::string_view text) {
        text = text.substr(0, kMaxUnpacked);
        frame.length = text.size();
        bytes_.append(reinterpret_cast<const char*>(&frame), sizeof frame).append(text);
        if (bytes_.size() >= kBlock) send();
    }

    void send() {
        const std::span<const uint8_t> all(reinterpret_cast<const uint8_t*>(bytes_.data()), bytes_.size());
        // There is nobody to hear of the failure: the reader has gone.
        if (emlhost::writeAll(descriptor_, all) != 0) ::_exit(1);
        bytes_.clear();
    }

  private:
    int descriptor_;
    std::string bytes_;
};

class Unpacking {
  public:
    Unpacking(int descriptor, std::string_view beginning, int reply)
        : bytes_(descriptor, beginning), frames_(reply), archive_(library().create()) {
        if (archive_ == nullptr) throw std::bad_alloc();
    }
    ~Unpacking() { library().destroy(archive_); }
    Unpacking(const Unpacking&) = delete;
    Unpacking& operator=(const Unpacking&) = delete;

    void run() {
        if (open() && allMembers()) say(Kind::kEnd);
        frames_.send();
    }

  private:
    bool open();
    bool allMembers();
    bool member(archive_entry* entry);
    bool content(bool isAlone);
    bool give(const char* bytes, size_t count, uint64_t offset);
    bool giveZeros(uint64_t count);
    bool isBomb();
    void placeOf(std::span<const char> bytes);
    void beginMember();
    void say(Kind kind, std::string_view text = "", Failure failure = Failure::kDamaged);
    bool fail(Failure failure = Failure::kDamaged);
    std::string reason() const;

    ArchiveBytes bytes_;
    Frames frames_;
    archive* archive_;
    std::string name_;
    bool hasName_ = false;
    bool hasBegun_ = false;             // the frame of the member has been sent
    std::optional<uint64_t> expected_;  // where its bytes should be
    std::optional<uint64_t> offset_;    // where they are
    uint64_t given_ = 0;                // of the member
    uint64_t all_ = 0;
};

// A function that would start a program says so with another answer than ARCHIVE_OK, and is left out.
bool Unpacking::open() {
    const Library& l = library();
    for (auto* const support : {l.gzip, l.bzip2, l.xz, l.zstd, l.tar, l.zip, l.raw, l.empty}) {
        archive* const trial = l.create();
        if (trial == nullptr) throw std::bad_alloc();
        const bool isBuiltIn = support(trial) == ARCHIVE_OK;
        l.destroy(trial);
        if (isBuiltIn) support(archive_);
    }
    l.setRead(archive_, ArchiveBytes::give);
    if (bytes_.isFile()) {
        l.setSeek(archive_, ArchiveBytes::seek);
        l.setSkip(archive_, ArchiveBytes::skip);
    }
    l.setData(archive_, &bytes_);
    return l.open(archive_) == ARCHIVE_OK || fail();
}

bool Unpacking::allMembers() {
    const Library& l = library();
    for (;;) {
        archive_entry* entry = nullptr;
        const int result = l.nextHeader(archive_, &entry);
        if (result == ARCHIVE_EOF) {
            // A compressed file of no bytes is a file, too.
            const int format = l.format(archive_) & ARCHIVE_FORMAT_BASE_MASK;
            if (format == ARCHIVE_FORMAT_EMPTY) {
                beginMember();
                say(Kind::kMemberEnd);
            }
            return true;
        }
        if (result != ARCHIVE_OK && result != ARCHIVE_WARN) return fail();
        allowProcessorTime(kProcessorSeconds);
        if (isBomb()) return fail(Failure::kBomb);
        if (!member(entry)) return false;
    }
}

// False if nothing can follow.
bool Unpacking::member(archive_entry* entry) {
    const Library& l = library();
    const int format = l.format(archive_) & ARCHIVE_FORMAT_BASE_MASK;
    const bool isCompressed = l.filters(archive_) > 1;
    const bool isAlone = format == ARCHIVE_FORMAT_RAW || format == ARCHIVE_FORMAT_EMPTY;
    // What has no other form than its bytes is no archive: its beginning only looked like one.
    if (format == ARCHIVE_FORMAT_RAW && !isCompressed) return fail();
    const char* name = l.path(entry);
    if (name == nullptr) name = l.pathUtf8(entry);
    name_ = name == nullptr || isAlone ? "" : name;
    hasName_ = !isAlone;
    hasBegun_ = false;
    offset_.reset();
    expected_.reset();
    given_ = 0;
    if (l.hardLink(entry) != nullptr || l.symbolicLink(entry) != nullptr) {
        say(Kind::kNoFile, name_);
        return true;
    }
    if (l.type(entry) != AE_IFREG && !isAlone) return true;
    if (l.isEncrypted(entry) > 0) {
        beginMember();
        say(Kind::kMemberFailed, "", Failure::kEncrypted);
        return true;
    }
    const std::string_view formatName = l.formatName(archive_);
    const bool isStored = format == ARCHIVE_FORMAT_TAR ||
                          (format == ARCHIVE_FORMAT_ZIP && formatName.ends_with("(uncompressed)"));
    if (isStored && !isCompressed && l.sparsePieces(entry) == 0)
        expected_ = static_cast<uint64_t>(l.filterBytes(archive_, 0));
    return content(isAlone);
}

// A warning is about the member as a whole: its sum is wrong, or its length.
bool Unpacking::content(bool isAlone) {
    bool isDamaged = false;
    for (;;) {
        const void* block = nullptr;
        size_t count = 0;
        la_int64_t offset = 0;
        const int result = library().dataBlock(archive_, &block, &count, &offset);
        if (result == ARCHIVE_EOF) break;
        if (result == ARCHIVE_FATAL || (isAlone && result != ARCHIVE_OK)) {
            beginMember();
            return fail();
        }
        isDamaged = result != ARCHIVE_OK;
        if (isDamaged) break;
        if (!give(static_cast<const char*>(block), count,
                  static_cast<uint64_t>(std::max<la_int64_t>(offset, 0))))
            return false;
    }
    beginMember();
    if (isDamaged) {
        say(Kind::kMemberFailed, reason());
    } else {
        say(Kind::kMemberEnd);
    }
    return true;
}

// A file may have holes, which count as zeros.
bool Unpacking::give(const char* bytes, size_t count, uint64_t offset) {
    if (offset > given_ && !giveZeros(offset - given_)) return false;
    if (given_ == 0 && count > 0) placeOf({bytes, count});
    while (count > 0) {
        const size_t part = std::min(count, kBlock);
        beginMember();
        say(Kind::kBytes, {bytes, part});
        bytes += part;
        count -= part;
        given_ += part;
        all_ += part;
        if (isBomb()) return fail(Failure::kBomb);
    }
    return true;
}

bool Unpacking::giveZeros(uint64_t count) {
    const std::string zeros(static_cast<size_t>(std::min<uint64_t>(count, kBlock)), '\0');
    while (count > 0) {
        const auto part = static_cast<size_t>(std::min<uint64_t>(count, zeros.size()));
        beginMember();
        say(Kind::kBytes, {zeros.data(), part});
        count -= part;
        given_ += part;
        all_ += part;
        if (isBomb()) return fail(Failure::kBomb);
    }
    return true;
}

bool Unpacking::isBomb() {
    const auto unpacked = static_cast<uint64_t>(std::max<la_int64_t>(library().filterBytes(archive_, 0), 0));
    const uint64_t out = std::max(all_, unpacked);
    return out > kSafeUnpacked && out / kMaxUnpackedRatio > bytes_.read();
}

// In a file the bytes must really be there. Of a pipe only the library knows.
void Unpacking::placeOf(std::span<const char> bytes) {
    constexpr size_t kCompared = 4096;
    if (!expected_) return;
    if (!bytes_.isFile() || bytes_.isAt(*expected_, bytes.first(std::min(bytes.size(), kCompared))))
        offset_ = expected_;
}

void Unpacking::beginMember() {
    if (!hasBegun_) say(Kind::kMember, name_);
    hasBegun_ = true;
}

void Unpacking::say(Kind kind, std::string_view text, Failure failure) {
    UnpackFrame frame;
    frame.kind = static_cast<uint8_t>(kind);
    frame.failure = static_cast<uint8_t>(failure);
    frame.read = bytes_.read();
    frame.hasOffset = offset_ ? 1 : 0;
    frame.offset = offset_.value_or(0);
    frame.hasName = hasName_ ? 1 : 0;
    frames_.add(frame, text);
}

bool Unpacking::fail(Failure failure) {
    say(Kind::kFailed, failure == Failure::kDamaged ? reason() : "", failure);
    return false;
}

std::string Unpacking::reason() const {
    const char* const text = library().errorText(archive_);
    return text != nullptr ? text : "";
}

}  // namespace

std::string archiveLack() {
    return library().isLoaded ? "" : "run without " EML_ARCHIVE_LIBRARY ", which cannot be loaded";
}

bool unpackArchive(int descriptor, std::string_view beginning, int reply) {
    if (library().utf8 != nullptr) ::uselocale(library().utf8);
    Unpacking(descriptor, beginning, reply).run();
    return true;
}

}  // namespace emltool

#else

namespace emltool {

std::string archiveLack() { return "built without libarchive"; }

bool unpackArchive(int, std::string_view, int) { return false; }

}  // namespace emltool

#endif
