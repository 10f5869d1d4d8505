#include "support/memory_output.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace eml::test {

MemoryOutput::MemoryOutput(RecordingHost& host) : host_(host), bound_(host.ownHeap()) {
    EmlIOobj& io = object();
    std::memset(&io, kHostOwnedFill, sizeof io);
    bound_->output = this;
    io.size[0] = io.size[1] = UINT32_MAX;
    io.open = &MemoryOutput::openEntry;
    io.read = &MemoryOutput::readEntry;
    io.write = &MemoryOutput::writeEntry;
    io.seek = &MemoryOutput::seekEntry;
    io.tell = &MemoryOutput::tellEntry;
    io.close = &MemoryOutput::closeEntry;
    io.release = nullptr;
}

MemoryOutput& MemoryOutput::of(EmlIOobj* self) {
    void* const record = self;
    void* const bound = static_cast<uint8_t*>(record) - offsetof(Bound, record);
    return *static_cast<Bound*>(bound)->output;
}

void MemoryOutput::give() {
    given_ = true;
    object().release = &MemoryOutput::releaseEntry;
}

void MemoryOutput::remove(Entry entry) {
    EmlIOobj& io = object();
    switch (entry) {
        case Entry::kOutputOpen:
            io.open = nullptr;
            break;
        case Entry::kOutputWrite:
            io.write = nullptr;
            break;
        case Entry::kOutputSeek:
            io.seek = nullptr;
            break;
        case Entry::kOutputTell:
            io.tell = nullptr;
            break;
        case Entry::kOutputClose:
            io.close = nullptr;
            break;
        default:
            ADD_FAILURE() << "not an entry of an output: " << entryName(entry);
    }
}

uint64_t MemoryOutput::sizeField() const {
    return uint64_t{bound_->record.size[1]} << 32 | bound_->record.size[0];
}

void MemoryOutput::checkUse(const char* entry) {
    if (!opened_ || closed_) host_.journal().violation(std::string(entry) + " of an output that is not open");
}

int32_t MemoryOutput::openEntry(EmlIOobj* self) {
    MemoryOutput& output = of(self);
    if (output.host_.journal().note(Entry::kOutputOpen)) return 0;
    if (output.opened_) output.host_.journal().violation("an output was opened twice");
    output.opened_ = true;
    return 1;
}

int32_t MemoryOutput::readEntry(EmlIOobj* self, void* /*buffer*/, uint32_t /*count*/) {
    of(self).host_.journal().violation("an output was read");
    return 0;
}

uint32_t MemoryOutput::writeEntry(EmlIOobj* self, const void* buffer, uint32_t count) {
    MemoryOutput& output = of(self);
    output.checkUse("write");
    output.writes_.push_back(count);
    if (output.host_.journal().note(Entry::kOutputWrite)) {
        const Way way = output.host_.journal().way(Entry::kOutputWrite);
        if (way != Way::kHalf) return way == Way::kMinusOne ? UINT32_MAX : 0;
        count /= 2;
    }
    if (output.bytes_.size() < output.position_ + count) output.bytes_.resize(output.position_ + count);
    if (count != 0) std::memcpy(output.bytes_.data() + output.position_, buffer, count);
    output.position_ += count;
    return count;
}

int32_t MemoryOutput::seekEntry(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    MemoryOutput& output = of(self);
    output.checkUse("seek");
    if (output.host_.journal().note(Entry::kOutputSeek)) return 0;
    const int64_t base = origin == EML_SEEK_END ? static_cast<int64_t>(output.bytes_.size()) : 0;
    output.position_ = static_cast<size_t>(base + joinOffset(low, high));
    return 1;
}

int64_t MemoryOutput::tellEntry(EmlIOobj* self) {
    MemoryOutput& output = of(self);
    output.checkUse("tell");
    Journal& journal = output.host_.journal();
    if (journal.note(Entry::kOutputTell)) return tellBadly(journal.way(Entry::kOutputTell));
    return static_cast<int64_t>(output.position_);
}

int32_t MemoryOutput::closeEntry(EmlIOobj* self) {
    MemoryOutput& output = of(self);
    if (!output.given_) output.checkUse("close");
    output.closed_ = true;
    return output.host_.journal().note(Entry::kOutputClose) ? 0 : 1;
}

void MemoryOutput::releaseEntry(EmlIOobj* self) {
    MemoryOutput& output = of(self);
    (void)output.host_.journal().note(Entry::kOutputRelease);
    if (++output.releases_ != 1) output.host_.journal().violation("an output was released twice");
}

}  // namespace eml::test
