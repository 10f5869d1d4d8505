// Metadata lists as values: asked for, copied, checked against the contract, and freed.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "support/opened_message.h"

namespace eml::test {

inline const std::string kNoValue = "(no value)";
inline const std::string kNoName = "(no name)";

struct ListEntry {
    bool present = false;
    uint32_t hasValue = 0;
    uint32_t type = 0;
    std::string name = kNoName;
    std::string value = kNoValue;
};

struct MetadataList {
    EmlResult result = 0;
    bool filled = false;  // the record was written
    int32_t count = 0;
    std::vector<ListEntry> entries;

    [[nodiscard]] const std::string& value(size_t index) const { return entries.at(index).value; }
};

struct Request {
    uint32_t kind;
    const char* name;
};

// `zeros` are the zero bytes that must follow every value.
inline ListEntry copyEntry(const EmlMetaDataEntry* entry, TrackedHeap& heap, uint32_t zeros) {
    if (entry == nullptr) return {};
    EXPECT_EQ(entry->reserved, 0u);
    ListEntry copy{true, entry->hasValue, entry->type, kNoName, kNoValue};
    if (entry->name != nullptr) copy.name = entry->name;
    if (entry->value == nullptr) {
        EXPECT_EQ(entry->valueLength, 0u);
        return copy;
    }
    copy.value.assign(entry->value, entry->valueLength);
    const size_t room = heap.roomAt(entry->value);
    EXPECT_GE(room, uint64_t{entry->valueLength} + zeros);
    for (uint32_t i = 0; i < zeros && room >= uint64_t{entry->valueLength} + zeros; ++i)
        EXPECT_EQ(entry->value[entry->valueLength + i], 0) << copy.name;
    return copy;
}

inline void giveBack(TrackedHeap& heap, void* block) {
    if (block != nullptr) heap.give(block);
}

// Frees a list as a host does.
inline void freeList(TrackedHeap& heap, EmlMetaData& list) {
    for (int32_t i = 0; list.entries != nullptr && i < list.count; ++i) {
        EmlMetaDataEntry* const entry = list.entries[i];
        if (entry == nullptr) continue;
        giveBack(heap, entry->name);
        giveBack(heap, entry->value);
        giveBack(heap, entry);
    }
    giveBack(heap, list.entries);
}

inline MetadataList fetch(RecordingHost& host, EmlContainerContext* context, int32_t index, int32_t count,
                          EmlMetaDataRequest** requests) {
    EmlMetaData list;
    std::memset(&list, 0xA5, sizeof list);
    EmlMetaData untouched = list;
    MetadataList copy;
    copy.result = emlGetSubFileMetadata2(context, index, count, requests, &list, &host.record());
    copy.filled = std::memcmp(&list, &untouched, sizeof list) != 0;
    EXPECT_EQ(std::memcmp(list.hostOwned, untouched.hostOwned, sizeof list.hostOwned), 0)
        << "the host's own fields";
    if (!copy.filled) return copy;
    copy.count = list.count;
    for (int32_t i = 0; list.entries != nullptr && i < list.count; ++i)
        copy.entries.push_back(copyEntry(list.entries[i], host.recordHeap(), requests == nullptr ? 2 : 1));
    freeList(host.recordHeap(), list);
    return copy;
}

inline MetadataList defaultList(RecordingHost& host, OpenedMessage& opened, int32_t index = 0) {
    return fetch(host, opened.context(), index, 0, nullptr);
}

inline MetadataList requested(RecordingHost& host, OpenedMessage& opened, const std::vector<Request>& names,
                              int32_t index = 0) {
    std::vector<EmlMetaDataRequest> requests;
    for (const Request& name : names) requests.push_back({name.kind, name.name});
    std::vector<EmlMetaDataRequest*> pointers;
    for (EmlMetaDataRequest& request : requests) pointers.push_back(&request);
    return fetch(host, opened.context(), index, static_cast<int32_t>(pointers.size()), pointers.data());
}

// The values of the default list of a message, in order.
inline std::vector<std::string> defaultValues(const std::string& message) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    std::vector<std::string> values;
    for (const ListEntry& entry : defaultList(host, opened).entries) values.push_back(entry.value);
    return values;
}

// The value of one field, asked for by name.
inline std::string requestedValue(const std::string& message, const char* name) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    const MetadataList list = requested(host, opened, {{1, name}});
    return list.entries.size() == 1 ? list.value(0) : "(no list)";
}

}  // namespace eml::test
