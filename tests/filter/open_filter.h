// A message that the filter has open over a memory input, with its sub-files, metadata and stream as values.
#pragma once

#include <emlreader/eml.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "filter/filter_context.h"
#include "filter/part_tables.h"
#include "support/memory_output.h"
#include "support/recording_host.h"
#include "support/sub_file.h"

namespace eml::test {

// As dumps and tables have it.
[[nodiscard]] constexpr uint32_t codeOf(TransferEncoding encoding) { return static_cast<uint32_t>(encoding); }

// An input over memory that notes its calls in a host's journal. Unlike the host's own input it may be closed
// twice, be released, and give a whole header at once.
class MemoryInput {
  public:
    MemoryInput(RecordingHost& host, std::string_view message);
    MemoryInput(const MemoryInput&) = delete;
    MemoryInput& operator=(const MemoryInput&) = delete;

    [[nodiscard]] EmlIOobj& object() { return bound_->record; }
    [[nodiscard]] uint32_t closes() const { return closes_; }
    [[nodiscard]] uint32_t releases() const { return releases_; }
    [[nodiscard]] uint32_t largestRead() const { return largestRead_; }

  private:
    struct Bound {
        MemoryInput* input;
        EmlIOobj record;  // last, so that the unreadable page comes right after it
    };

    static MemoryInput& of(EmlIOobj* self);
    static int32_t openEntry(EmlIOobj* self);
    static int32_t readEntry(EmlIOobj* self, void* buffer, uint32_t count);
    static int32_t seekEntry(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin);
    static int32_t closeEntry(EmlIOobj* self);
    static void releaseEntry(EmlIOobj* self);

    RecordingHost& host_;
    HostValue<Bound> bound_;
    std::string message_;
    size_t position_ = 0;
    uint32_t closes_ = 0;
    uint32_t releases_ = 0;
    uint32_t largestRead_ = 0;
};

struct FilterValue {
    std::string name;
    bool hasValue;
    std::string value;
    bool terminated;  // a zero byte stands after the value

    bool operator==(const FilterValue&) const = default;
};

struct FilterMetadata {
    EmlResult result;
    bool hasList;
    std::vector<FilterValue> values;

    // The value of the entry with this name; "(none)" without entry or value.
    [[nodiscard]] std::string of(std::string_view name) const;
};

struct FilterExtracted {
    EmlResult result;
    std::string bytes;
    std::vector<uint32_t> writes;
    uint64_t sizeField;
    bool opened;
    bool closed;
};

// What an output's size field holds when nothing was stored there.
inline constexpr uint64_t kNoSize = UINT64_MAX;

class OpenFilter {
  public:
    explicit OpenFilter(std::string_view message, uint32_t flags = 0, HeapMode mode = defaultHeapMode());
    ~OpenFilter() { close(); }
    OpenFilter(const OpenFilter&) = delete;
    OpenFilter& operator=(const OpenFilter&) = delete;

    void open(uint32_t flags);
    void close();

    [[nodiscard]] EmlFilterContext* context() const { return context_; }
    [[nodiscard]] EmlFilterContext& opened() const { return *context_; }
    [[nodiscard]] std::string nameAt(int64_t index) const {
        return attachmentName(*context_, context_->parts.attachments.records[index]);
    }
    [[nodiscard]] EmlResult result() const { return result_; }
    [[nodiscard]] RecordingHost& host() { return host_; }
    [[nodiscard]] MemoryInput& input() { return input_; }

    // The whole stream, begun anew, in one buffer of `capacity` bytes a call.
    [[nodiscard]] std::string stream(uint32_t capacity, uint32_t fillFlags = 0);
    [[nodiscard]] EmlResult fillResult() const { return fillResult_; }

    [[nodiscard]] SubFile describe(int32_t index, uint32_t flagsBefore = 0);
    [[nodiscard]] FilterMetadata metadata(int32_t index = 0);
    [[nodiscard]] FilterMetadata metadata(const std::vector<const char*>& names, int32_t index = 0,
                                          uint32_t kind = EML_REQUEST_BY_NAME);
    [[nodiscard]] FilterExtracted extract(int32_t index, uint32_t options = 0);

  private:
    struct NotOpened {};
    friend class UnopenedFilter;
    OpenFilter(NotOpened, std::string_view message, HeapMode mode);
    [[nodiscard]] FilterMetadata takeMetadata(EmlResult result, EmlMetaData& list);

    RecordingHost host_;
    MemoryInput input_;
    EmlResult result_ = UINT32_MAX;
    EmlResult fillResult_ = UINT32_MAX;
    EmlFilterContext* context_ = nullptr;
};

// The same, for a test that wants to disturb the host before it opens the message.
class UnopenedFilter : public OpenFilter {
  public:
    explicit UnopenedFilter(std::string_view message, HeapMode mode = defaultHeapMode())
        : OpenFilter(NotOpened{}, message, mode) {}
};

inline MemoryInput::MemoryInput(RecordingHost& host, std::string_view message)
    : host_(host), bound_(host.ownHeap()), message_(message) {
    EmlIOobj& io = object();
    std::memset(&io, kHostOwnedFill, sizeof io);
    bound_->input = this;
    io.open = &MemoryInput::openEntry;
    io.read = &MemoryInput::readEntry;
    io.write = nullptr;
    io.seek = &MemoryInput::seekEntry;
    io.tell = nullptr;
    io.close = &MemoryInput::closeEntry;
    io.release = &MemoryInput::releaseEntry;
}

inline MemoryInput& MemoryInput::of(EmlIOobj* self) {
    void* const record = self;
    void* const bound = static_cast<uint8_t*>(record) - offsetof(Bound, record);
    return *static_cast<Bound*>(bound)->input;
}

inline int32_t MemoryInput::openEntry(EmlIOobj* self) {
    return of(self).host_.journal().note(Entry::kInputOpen) ? 0 : 1;
}

inline int32_t MemoryInput::readEntry(EmlIOobj* self, void* buffer, uint32_t count) {
    MemoryInput& input = of(self);
    input.largestRead_ = std::max(input.largestRead_, count);
    if (input.host_.journal().note(Entry::kInputRead)) return 0;
    if (count == 0 || input.host_.heap().roomAt(buffer) < count) {
        input.host_.journal().violation("a read of nothing, or of more than there is room for");
        return 0;
    }
    std::memset(buffer, kFreshByte, count);
    const size_t left = input.message_.size() - std::min(input.position_, input.message_.size());
    const size_t delivered = std::min<size_t>(count, left);
    if (delivered != 0) std::memcpy(buffer, input.message_.data() + input.position_, delivered);
    input.position_ += delivered;
    return static_cast<int32_t>(delivered);
}

inline int32_t MemoryInput::seekEntry(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    MemoryInput& input = of(self);
    if (input.host_.journal().note(Entry::kInputSeek)) return 0;
    const int64_t target = joinOffset(low, high);
    if (origin != EML_SEEK_START || target < 0) {
        input.host_.journal().violation("a seek from elsewhere, or before the start");
        return 0;
    }
    input.position_ = static_cast<size_t>(target);
    return 1;
}

inline int32_t MemoryInput::closeEntry(EmlIOobj* self) {
    MemoryInput& input = of(self);
    ++input.closes_;
    return input.host_.journal().note(Entry::kInputClose) ? 0 : 1;
}

inline void MemoryInput::releaseEntry(EmlIOobj* self) {
    MemoryInput& input = of(self);
    ++input.releases_;
    (void)input.host_.journal().note(Entry::kOutputRelease);
}

inline std::string FilterMetadata::of(std::string_view name) const {
    for (const FilterValue& value : values)
        if (value.name == name) return value.hasValue ? value.value : "(none)";
    return "(none)";
}

inline OpenFilter::OpenFilter(std::string_view message, uint32_t flags, HeapMode mode)
    : host_({}, {.heapMode = mode}), input_(host_, message) {
    open(flags);
}

inline OpenFilter::OpenFilter(NotOpened, std::string_view message, HeapMode mode)
    : host_({}, {.heapMode = mode}), input_(host_, message) {}

inline void OpenFilter::open(uint32_t flags) {
    context_ = emlInitEx(&input_.object(), &host_.services(), flags, 0, 0, &result_);
}

inline void OpenFilter::close() {
    emlShutdown(context_);
    context_ = nullptr;
}

inline std::string OpenFilter::stream(uint32_t capacity, uint32_t fillFlags) {
    std::string stream;
    const HostBlock buffer(host_.ownHeap(), capacity);
    uint32_t progress = 0;
    uint32_t number = (context_->flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
    for (uint32_t calls = 0; progress < 100 && calls < 100000; ++calls) {
        uint32_t size = UINT32_MAX;
        const uint32_t flags = fillFlags | (calls == 0 ? EML_FILL_RESTART : 0);
        fillResult_ = emlFillBufferEx(context_, number, buffer.data(), &size, &progress, capacity, flags);
        if (size > capacity) host_.journal().violation("a fill says that it wrote more than its capacity");
        stream.append(buffer.chars(), std::min(size, capacity));
        if (fillResult_ != EML_OK) break;
    }
    return stream;
}

inline SubFile OpenFilter::describe(int32_t index, uint32_t flagsBefore) {
    return describeSubFile(host_, flagsBefore, [&](EmlSubFileInfo* info) {
        return emlGetSubFileInfoEx(context_, index, info, &host_.record());
    });
}

inline FilterMetadata OpenFilter::takeMetadata(EmlResult result, EmlMetaData& list) {
    FilterMetadata metadata{result, list.entries != nullptr, {}};
    for (int32_t i = 0; i < list.count && list.entries != nullptr; ++i) {
        EmlMetaDataEntry* const entry = list.entries[i];
        if (entry == nullptr) continue;
        if (entry->type != EML_TYPE_TEXT || entry->reserved != 0) {
            host_.journal().violation("a metadata entry with another type, or a reserved word that is set");
        }
        FilterValue value{entry->name != nullptr ? entry->name : "(null)", entry->hasValue == 1, {}, false};
        if (entry->value != nullptr) {
            value.value.assign(entry->value, entry->valueLength);
            value.terminated = entry->value[entry->valueLength] == '\0';
            host_.recordHeap().give(entry->value);
        }
        metadata.values.push_back(value);
        if (entry->name != nullptr) host_.recordHeap().give(entry->name);
        host_.recordHeap().give(entry);
    }
    if (list.entries != nullptr) host_.recordHeap().give(list.entries);
    return metadata;
}

inline FilterMetadata OpenFilter::metadata(int32_t index) {
    EmlMetaData list{};
    const EmlResult result = emlGetSubFileMetadata(context_, index, 0, nullptr, &list, &host_.record());
    return takeMetadata(result, list);
}

inline FilterMetadata OpenFilter::metadata(const std::vector<const char*>& names, int32_t index,
                                           uint32_t kind) {
    std::vector<EmlMetaDataRequest> requests;
    for (const char* name : names) requests.push_back({kind, name});
    std::vector<EmlMetaDataRequest*> pointers;
    for (EmlMetaDataRequest& request : requests) pointers.push_back(&request);
    EmlMetaData list{};
    const EmlResult result = emlGetSubFileMetadata(context_, index, static_cast<int32_t>(names.size()),
                                                   pointers.data(), &list, &host_.record());
    return takeMetadata(result, list);
}

inline FilterExtracted OpenFilter::extract(int32_t index, uint32_t options) {
    MemoryOutput output(host_);
    FilterExtracted content{};
    content.result = emlExtractSubFileToIOobjEx(context_, index, &output.object(), 0, 0, options);
    content.bytes = output.bytes();
    content.writes = output.writes();
    content.sizeField = output.sizeField();
    content.opened = output.opened();
    content.closed = output.closed();
    return content;
}

}  // namespace eml::test
