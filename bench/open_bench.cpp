// Opening messages and describing every sub-file.
#include <cstring>

#include "bench/benchmarks.h"
#include "standalone/message.h"

namespace emlbench {

namespace {

int64_t totalSize(const std::vector<MessageFile>& files) {
    int64_t total = 0;
    for (const MessageFile& file : files) total += static_cast<int64_t>(file.bytes.size());
    return total;
}

void count(benchmark::State& state, const std::vector<MessageFile>& files) {
    const auto iterations = static_cast<int64_t>(state.iterations());
    state.SetBytesProcessed(iterations * totalSize(files));
    state.SetItemsProcessed(iterations * static_cast<int64_t>(files.size()));
}

// False when the message or one of its sub-files cannot be described.
bool openAndList(const MessageFile& file, Host host, emlhost::Services& services) {
    const std::unique_ptr<emlhost::Input> input = openInput(file, host);
    if (input == nullptr) return false;
    emlhost::OpenMessage message(*input, services);
    if (message.status() != EML_OK || message.subFileCount() < 2) return false;
    for (uint32_t number = 0; number < message.subFileCount(); ++number) {
        const emlhost::SubFile subFile = message.describe(static_cast<int32_t>(number));
        benchmark::DoNotOptimize(subFile.size);
        if (number != 0 && subFile.status != EML_OK) return false;
    }
    return true;
}

void runOpen(benchmark::State& state, const std::vector<MessageFile>& files, Host host) {
    emlhost::Services services;
    for (auto _ : state) {
        for (const MessageFile& file : files) {
            if (openAndList(file, host, services)) continue;
            state.SkipWithError("a message could not be listed");
            return;
        }
    }
    count(state, files);
}

void runCopy(benchmark::State& state, const std::vector<MessageFile>& files) {
    std::vector<uint8_t> copy(static_cast<size_t>(totalSize(files)));
    for (auto _ : state) {
        uint8_t* at = copy.data();
        for (const MessageFile& file : files) {
            std::memcpy(at, file.bytes.data(), file.bytes.size());
            at += file.bytes.size();
        }
        benchmark::ClobberMemory();
    }
    count(state, files);
}

}  // namespace

void addOpenBenchmarks(const Add& add, const std::string& work, const std::vector<MessageFile>& files,
                       int64_t iterations) {
    add(work + "/memcpy", iterations, [&files](benchmark::State& state) { runCopy(state, files); });
    for (const Host host : {Host::kMapped, Host::kPread, Host::kMemory}) {
        add(work + "/" + nameOf(host), iterations,
            [&files, host](benchmark::State& state) { runOpen(state, files, host); });
    }
}

}  // namespace emlbench
