#include "tool/message/sub_file_content.h"

#include <algorithm>

#include "standalone/owned_record.h"
#include "tool/system/write_pieces.h"

namespace emltool {

// Passes everything on to an output, and notes the bytes at its beginning.
class PartContent::Watch {
  public:
    Watch(EmlIOobj* target, PartContent& content) : record_(this), target_(target), content_(content) {
        record_.open = [](EmlIOobj* self) noexcept {
            Watch& watch = Record::ownerOf(self);
            watch.content_.beginningSize_ = 0;
            return watch.target_->open(watch.target_);
        };
        record_.write = [](EmlIOobj* self, const void* buffer, uint32_t count) noexcept {
            Watch& watch = Record::ownerOf(self);
            watch.note({static_cast<const uint8_t*>(buffer), count});
            return watch.target_->write(watch.target_, buffer, count);
        };
        record_.seek = [](EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) noexcept {
            EmlIOobj* next = Record::ownerOf(self).target_;
            return next->seek(next, low, high, origin);
        };
        record_.tell = [](EmlIOobj* self) noexcept {
            EmlIOobj* next = Record::ownerOf(self).target_;
            return next->tell(next);
        };
        record_.close = [](EmlIOobj* self) noexcept {
            EmlIOobj* next = Record::ownerOf(self).target_;
            return next->close(next);
        };
    }

    EmlIOobj* object() { return &record_; }

  private:
    using Record = emlhost::OwnedRecord<EmlIOobj, Watch>;

    void note(std::span<const uint8_t> bytes) noexcept {
        int64_t position = target_->tell(target_);
        if (position < 0 || position >= static_cast<int64_t>(kBeginning)) return;
        const auto start = static_cast<size_t>(position);
        size_t count = std::min(bytes.size(), kBeginning - start);
        std::copy_n(bytes.begin(), count, content_.beginning_.begin() + start);
        content_.beginningSize_ = std::max(content_.beginningSize_, start + count);
    }

    Record record_;
    EmlIOobj* target_;
    PartContent& content_;
};

emlhost::Extraction PartContent::extract(emlhost::Output& output) {
    Watch watch(output.object(), *this);
    extracted_ = true;
    return message_.extract(number_, watch.object());
}

std::span<const uint8_t> PartContent::beginning() {
    if (!extracted_) decodedSize(*this);
    return std::span(beginning_).first(beginningSize_);
}

emlhost::Extraction BytesContent::extract(emlhost::Output& output) {
    writeWhole(output, bytes_);
    return {};
}

}  // namespace emltool
