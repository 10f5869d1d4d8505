// The C++ wrapper next to the C interface that it wraps: the same work through both.
#include <emlreader/emlreader.hpp>

#include <cstring>

#include "bench/benchmarks.h"

namespace emlbench {

namespace {

constexpr const char* kFields[] = {"From", "To", "Subject", "Date"};

// What was found, to show that nothing is left out and that both ways find the same.
struct Found {
    uint64_t nameBytes = 0;
    uint64_t valueBytes = 0;
    uint64_t contentBytes = 0;

    bool operator==(const Found&) const = default;
};

// An output that counts what is written, as a host in C would write it: the record first, then its own data.
struct CountingOutput {
    EmlIOobj object{};
    uint64_t count = 0;

    CountingOutput() noexcept {
        object.open = [](EmlIOobj*) noexcept -> int32_t { return 1; };
        object.close = [](EmlIOobj*) noexcept -> int32_t { return 1; };
        object.seek = [](EmlIOobj*, uint32_t, int32_t, uint32_t) noexcept -> int32_t { return 1; };
        object.tell = [](EmlIOobj*) noexcept -> int64_t { return 0; };
        object.write = [](EmlIOobj* self, const void* bytes, uint32_t size) noexcept -> uint32_t {
            benchmark::DoNotOptimize(bytes);
            reinterpret_cast<CountingOutput*>(self)->count += size;
            return size;
        };
    }
};

void freeBlock(EmlAllocator& allocator, void* block) {
    if (block != nullptr) allocator.free(&allocator, block);
}

bool describeInC(EmlContainerContext* context, EmlHostRecord* services, uint32_t count, Found& found) {
    EmlAllocator& allocator = *services->allocator;
    for (uint32_t number = 0; number < count; ++number) {
        EmlSubFileInfo info{};
        const EmlResult status = emlGetSubFileInfo2(context, static_cast<int32_t>(number), &info, services);
        if (info.name != nullptr) found.nameBytes += std::strlen(info.name);
        freeBlock(allocator, info.name);
        freeBlock(allocator, info.children);
        if (number != 0 && status != EML_OK) return false;
    }
    return true;
}

bool readFieldsInC(EmlContainerContext* context, EmlHostRecord* services, Found& found) {
    EmlMetaDataRequest requests[std::size(kFields)];
    EmlMetaDataRequest* pointers[std::size(kFields)];
    for (size_t i = 0; i < std::size(kFields); ++i) {
        requests[i] = {EML_REQUEST_BY_NAME, kFields[i]};
        pointers[i] = &requests[i];
    }
    EmlMetaData list{};
    if (emlGetSubFileMetadata2(context, 0, std::size(kFields), pointers, &list, services) != EML_OK)
        return false;
    EmlAllocator& allocator = *services->allocator;
    for (int32_t i = 0; i < list.count; ++i) {
        EmlMetaDataEntry* const entry = list.entries[i];
        if (entry->value != nullptr) found.valueBytes += entry->valueLength;
        freeBlock(allocator, entry->value);
        freeBlock(allocator, entry->name);
        freeBlock(allocator, entry);
    }
    freeBlock(allocator, list.entries);
    return true;
}

// Opens, describes every sub-file, reads four fields and extracts every attachment.
bool workInC(const MessageFile& file, Host host, Found& found) {
    emlhost::Services services;
    const std::unique_ptr<emlhost::Input> input = openInput(file, host);
    if (input == nullptr) return false;
    EmlResult status = EML_OK;
    EmlContainerContext* const context = emlInit2(input->object(), services.record(), 0, 0, 0, &status);
    if (context == nullptr) return false;
    EmlContainerInfo info{};
    bool done = emlGetContainerInfo2(context, &info, services.hostRecord()) == EML_OK &&
                describeInC(context, services.hostRecord(), info.subFileCount, found) &&
                readFieldsInC(context, services.hostRecord(), found);
    CountingOutput output;
    for (uint32_t number = 1; done && number < info.subFileCount; ++number) {
        EmlExtractInfo extractInfo{};
        done = emlExtractSubFileToIOobj2(context, static_cast<int32_t>(number), &output.object, &extractInfo,
                                         0, 0) == EML_OK;
    }
    found.contentBytes += output.count;
    emlShutdown2(context);
    return done;
}

bool workInCpp(const MessageFile& file, Host host, Found& found) {
    const emlreader::Message message(openInput(file, host));
    for (const emlreader::SubFile& subFile : message.subFiles()) found.nameBytes += subFile.name().size();
    for (const emlreader::HeaderField& field : message.headers({"From", "To", "Subject", "Date"})) {
        if (field.value) found.valueBytes += field.value->size();
    }
    for (uint32_t number = 1; number < message.subFileCount(); ++number) {
        message.extract(number, [&found](std::string_view bytes) {
            benchmark::DoNotOptimize(bytes.data());
            found.contentBytes += bytes.size();
        });
    }
    return true;
}

using Work = bool (*)(const MessageFile& file, Host host, Found& found);

void runWork(benchmark::State& state, const std::vector<MessageFile>& files, Host host, Work work) {
    Found inC;
    for (const MessageFile& file : files) {
        if (!workInC(file, host, inC)) return state.SkipWithError("a message could not be read");
    }
    int64_t bytes = 0;
    for (auto _ : state) {
        Found found;
        for (const MessageFile& file : files) {
            if (!work(file, host, found)) return state.SkipWithError("a message could not be read");
            bytes += static_cast<int64_t>(file.bytes.size());
        }
        if (found != inC) return state.SkipWithError("the two ways differ");
    }
    state.SetBytesProcessed(bytes);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(files.size()));
}

}  // namespace

void addWrapperBenchmarks(const Add& add, const std::string& work, const std::vector<MessageFile>& files,
                          int64_t iterations) {
    for (const Host host : {Host::kPread, Host::kMemory}) {
        const std::string where = work + "/" + nameOf(host);
        add(where + ", C interface", iterations,
            [&files, host](benchmark::State& state) { runWork(state, files, host, workInC); });
        add(where + ", emlreader.hpp", iterations,
            [&files, host](benchmark::State& state) { runWork(state, files, host, workInCpp); });
    }
}

}  // namespace emlbench
