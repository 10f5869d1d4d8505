// Asks either reader for metadata, and records all that it hands over.
#pragma once

#include <emlreader/eml.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "check.h"
#include "host.h"

namespace fuzz {

// Takes an entry from the library: it goes into the transcript, and its blocks back to the heap.
inline void takeEntry(Host& host, EmlMetaDataEntry* entry) {
    if (entry == nullptr) return;
    Transcript& transcript = host.transcript();
    transcript.add(entry->hasValue);
    transcript.add(entry->reserved);
    transcript.add(entry->type);
    if (entry->name != nullptr) transcript.add(std::string_view(entry->name));
    if (entry->value != nullptr) {
        transcript.add(std::string_view(entry->value, entry->valueLength));
        require(entry->value[entry->valueLength] == '\0', "a zero byte follows a value");
    }
    host.recordHeap().give(entry->name);
    host.recordHeap().give(entry->value);
    host.recordHeap().give(entry);
}

// By names: some that are common, the beginning of the message, which is the name of a field, and a request of
// a kind that is not served. Without them the reader's own list. `ask` makes the call: it is given how many
// requests there are, the requests, NULL for none, and where the answer goes.
template <class Ask>
void askForMetadata(Host& host, std::string_view message, bool byName, Ask ask) {
    const std::string first(message.substr(0, std::min(message.find(':'), size_t{40})));
    std::vector<EmlMetaDataRequest> requests;
    if (byName) {
        for (const char* name : {"From", "Subject", "Sent", "Received", "content-type", "", "Priority", "X",
                                 "Date", "Message-ID", first.c_str()}) {
            requests.push_back({EML_REQUEST_BY_NAME, name});
        }
        requests.push_back({2, "From"});
    }
    std::vector<EmlMetaDataRequest*> pointers;
    for (EmlMetaDataRequest& request : requests) pointers.push_back(&request);
    EmlMetaData list{};
    host.transcript().add(
        ask(static_cast<int32_t>(requests.size()), byName ? pointers.data() : nullptr, &list));
    if (list.entries == nullptr) return;
    for (int32_t i = 0; i < list.count; ++i) takeEntry(host, list.entries[i]);
    host.recordHeap().give(list.entries);
}

}  // namespace fuzz
