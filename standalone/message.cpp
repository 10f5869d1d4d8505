#include "standalone/message.h"

#include <memory>

namespace emlhost {

namespace {

// Frees a block that the library has handed over, also when copying it fails.
template <typename T>
class HandedOver {
  public:
    HandedOver(T* block, EmlAllocator& allocator) noexcept : block_(block), allocator_(allocator) {}
    ~HandedOver() {
        if (block_ != nullptr) allocator_.free(&allocator_, block_);
    }
    HandedOver(const HandedOver&) = delete;
    HandedOver& operator=(const HandedOver&) = delete;

    T* get() const noexcept { return block_; }

  private:
    T* block_;
    EmlAllocator& allocator_;
};

}  // namespace

OpenMessage::OpenMessage(EmlIOobj* input, Services& services, uint32_t openFlags) noexcept
    : services_(services), context_(emlInit2(input, services.record(), openFlags, 0, 0, &status_)) {
    if (context_ != nullptr) emlGetContainerInfo2(context_, &info_, services_.hostRecord());
}

OpenMessage::~OpenMessage() { emlShutdown2(context_); }

SubFile OpenMessage::describe(int32_t number) {
    EmlSubFileInfo info{};
    SubFile result;
    if (!usable()) {
        result.status = EML_INVALID_ARGUMENT;
        return result;
    }
    result.status = emlGetSubFileInfo2(context_, number, &info, services_.hostRecord());
    // Taken in any case: a call may hand over something before it fails.
    HandedOver<char> name(info.name, *services_.hostRecord()->allocator);
    HandedOver<uint32_t> children(info.children, *services_.hostRecord()->allocator);
    if (result.status != EML_OK) return result;

    if (name.get() != nullptr) result.name = name.get();
    if (children.get() != nullptr) {
        result.children.assign(children.get(), children.get() + info.childCount);
    }
    result.kind = info.kind;
    result.size = info.size;
    result.flags = info.flags;
    result.charset = info.charset;
    result.parent = info.parent;
    if ((info.date[0] | info.date[1]) != 0) result.date = dateFrom(info.date);
    return result;
}

std::vector<HeaderValue> OpenMessage::metadata() {
    std::vector<HeaderValue> values;
    EmlMetaData list{};
    if (usable()) emlGetSubFileMetadata2(context_, 0, 0, nullptr, &list, services_.hostRecord());
    EmlAllocator& allocator = *services_.hostRecord()->allocator;
    HandedOver<EmlMetaDataEntry*> entries(list.entries, allocator);
    for (int32_t i = 0; i < list.count; ++i) {
        HandedOver<EmlMetaDataEntry> entry(list.entries[i], allocator);
        if (entry.get() == nullptr) continue;
        HandedOver<char> name(entry.get()->name, allocator);
        HandedOver<char> value(entry.get()->value, allocator);
        if (name.get() == nullptr) continue;
        values.push_back({name.get(), std::nullopt});
        if (value.get() != nullptr) values.back().value.emplace(value.get(), entry.get()->valueLength);
    }
    return values;
}

Extraction OpenMessage::extract(int32_t number, EmlIOobj* output, uint32_t options,
                                uint32_t outputCharset) noexcept {
    EmlExtractInfo info{0, outputCharset};
    Extraction result;
    if (!usable()) {
        result.status = EML_INVALID_ARGUMENT;
        return result;
    }
    result.status = emlExtractSubFileToIOobj2(context_, number, output, &info, 0, options);
    result.flags = info.resultFlags;
    return result;
}

}  // namespace emlhost
