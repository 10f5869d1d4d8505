// Everything that a host can ask of one message, through either reader, and the work that it took.
#pragma once

#include <emlreader/eml.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "budgets/counting_host.h"

namespace eml::test {

struct Run {
    HostWork work;
    bool opened = false;
    bool finished = false;  // all of it could be asked for, and the filter's stream came to its end
    uint32_t subFiles = 0;
};

// The work in the units that budgets are stated in: for each byte of the message, reads for each 1024 bytes.
struct Figures {
    double readsPerKb;
    double read;
    double allocated;  // all allocations together
    double peak;       // the most that was allocated at one time
    double copied;     // to outputs and record buffers, and by reallocations
};

inline Figures figuresOf(const HostWork& work, size_t messageSize) {
    const auto size = static_cast<double>(messageSize);
    return {static_cast<double>(work.reads) * 1024 / size, static_cast<double>(work.bytesRead) / size,
            static_cast<double>(work.bytesAllocated) / size, static_cast<double>(work.peakBytes) / size,
            static_cast<double>(work.bytesWritten + work.bytesMoved) / size};
}

namespace budgets {

// Of many attachments these are extracted: the first, the last, and some between.
inline constexpr uint32_t kExtracted = 64;

inline uint32_t stride(uint32_t subFiles) { return subFiles / kExtracted + 1; }

inline void release(CountingHost& host, const EmlMetaData& list) {
    for (int32_t i = 0; i < list.count && list.entries != nullptr; ++i) {
        EmlMetaDataEntry* const entry = list.entries[i];
        if (entry == nullptr) continue;
        host.release(entry->name);
        host.release(entry->value);
        host.release(entry);
    }
    host.release(list.entries);
}

// Describes sub-file `number` with `call`, which is emlGetSubFileInfo2 or emlGetSubFileInfoEx.
template <class Context, class Call>
void describe(CountingHost& host, Context* context, uint32_t number, Call call) {
    EmlSubFileInfo info{};
    (void)call(context, static_cast<int32_t>(number), &info, &host.record());
    host.release(info.name);
    host.release(info.children);
}

// The default list, and one of requests.
template <class Context, class Call>
bool getMetadata(CountingHost& host, Context* context, Call call) {
    EmlMetaData list{};
    bool good = call(context, 0, 0, nullptr, &list, &host.record()) == EML_OK;
    release(host, list);
    std::array<EmlMetaDataRequest, 3> requests = {
        {{EML_REQUEST_BY_NAME, "Subject"}, {EML_REQUEST_BY_NAME, "To"}, {EML_REQUEST_BY_NAME, "Received"}}};
    std::array<EmlMetaDataRequest*, 3> pointers = {&requests[0], &requests[1], &requests[2]};
    list = {};
    good = call(context, 0, 3, pointers.data(), &list, &host.record()) == EML_OK && good;
    release(host, list);
    return good;
}

// The message as one document, in each way that it can be asked for.
inline void renderInEveryForm(CountingHost& host, EmlContainerContext* context) {
    constexpr uint32_t kBoth = EML_EXTRACT_BODY_ONLY | EML_EXTRACT_PREFER_RICH;
    for (const uint32_t options : {0U, EML_EXTRACT_PREFER_RICH, kBoth}) {
        (void)emlExtractSubFileToIOobj2(context, 0, &host.output(), nullptr, 0, options);
    }
    for (const uint32_t charset : {EML_CHARSET_TEXT_16, EML_CHARSET_UTF_8}) {
        EmlExtractInfo info{0, charset};
        (void)emlExtractSubFileToIOobj2(context, 0, &host.output(), &info, 0, 0);
    }
}

// Pulls the whole stream. False when it does not come to its end.
inline bool pullStream(CountingHost& host, EmlFilterContext* context) {
    constexpr uint32_t kCapacity = 4096;
    std::array<uint8_t, kCapacity> buffer{};
    uint32_t progress = 0;
    uint32_t flags = EML_FILL_RESTART;
    for (int idle = 0; idle < 3; flags = 0) {
        uint32_t size = 0;
        const EmlResult result =
            emlFillBufferEx(context, 0, buffer.data(), &size, &progress, kCapacity, flags);
        host.countRecords(size);
        if (result != EML_OK || progress == 100) return result == EML_OK;
        idle = size == 0 ? idle + 1 : 0;
    }
    return false;
}

}  // namespace budgets

// Opens, lists, gives metadata, renders, extracts and closes with the container reader.
inline Run runContainer(std::string_view message, uint32_t openFlags = 0) {
    CountingHost host(message);
    Run run;
    EmlResult status = EML_OK;
    EmlContainerContext* const context = emlInit2(&host.input(), &host.services(), openFlags, 0, 0, &status);
    run.opened = context != nullptr && status == EML_OK;
    if (context != nullptr) {
        EmlContainerInfo info{};
        run.finished = emlGetContainerInfo2(context, &info, &host.record()) == EML_OK;
        run.subFiles = info.subFileCount;
        for (uint32_t i = 0; i < run.subFiles; ++i) budgets::describe(host, context, i, emlGetSubFileInfo2);
        run.finished = budgets::getMetadata(host, context, emlGetSubFileMetadata2) && run.finished;
        budgets::renderInEveryForm(host, context);
        for (uint32_t i = 1; i < run.subFiles; i += budgets::stride(run.subFiles)) {
            (void)emlExtractSubFileToIOobj2(context, static_cast<int32_t>(i), &host.output(), nullptr, 0, 0);
        }
        emlShutdown2(context);
    }
    run.work = host.work();
    return run;
}

// Opens, lists, gives metadata, pulls the stream, extracts and closes with the message filter.
inline Run runFilter(std::string_view message, uint32_t openFlags = 0) {
    CountingHost host(message);
    Run run;
    EmlFilterContext* const context = emlInitEx(&host.input(), &host.services(), openFlags, 0, 0, nullptr);
    run.opened = context != nullptr;
    if (context != nullptr) {
        EmlContainerInfo info{};
        run.finished = emlGetContainerInfo(context, &info, &host.record()) == EML_OK;
        run.subFiles = info.subFileCount;
        for (uint32_t i = 0; i < run.subFiles; ++i) budgets::describe(host, context, i, emlGetSubFileInfoEx);
        run.finished = budgets::getMetadata(host, context, emlGetSubFileMetadata) && run.finished;
        run.finished = budgets::pullStream(host, context) && run.finished;
        for (uint32_t i = 1; i < run.subFiles; i += budgets::stride(run.subFiles)) {
            (void)emlExtractSubFileToIOobjEx(context, static_cast<int32_t>(i), &host.output(), 0, 0, 0);
        }
        emlShutdown(context);
    }
    run.work = host.work();
    return run;
}

enum class Reader : uint8_t { kContainer, kFilter };

inline const char* nameOf(Reader reader) { return reader == Reader::kContainer ? "container" : "filter"; }

inline Run run(Reader reader, std::string_view message, uint32_t openFlags) {
    return reader == Reader::kContainer ? runContainer(message, openFlags) : runFilter(message, openFlags);
}

}  // namespace eml::test
