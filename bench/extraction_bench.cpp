// Extracting one large attachment. Speeds are in bytes of the encoded body, as stored in the message.
#include <cstring>

#include "bench/benchmarks.h"
#include "standalone/message.h"

namespace emlbench {

namespace {

// Takes every byte and keeps none: what remains is the cost of reading and decoding.
class DiscardingOutput final : public emlhost::Output {
  public:
    DiscardingOutput() noexcept : Output(Seeking::kAnywhere) {}

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        benchmark::DoNotOptimize(bytes.data());
        return 0;
    }
};

// The size of the body as stored in the message; 0 when there is no such attachment.
int64_t encodedSize(emlhost::OpenMessage& message) {
    if (message.status() != EML_OK || message.subFileCount() != 2) return 0;
    const emlhost::SubFile subFile = message.describe(1);
    return subFile.status == EML_OK && subFile.size > 0 ? subFile.size : 0;
}

// The message is open and was extracted once before the clock starts: pages are mapped, the output has room.
void runExtraction(benchmark::State& state, const MessageFile& file, Host host, emlhost::Output& output) {
    emlhost::Services services;
    const std::unique_ptr<emlhost::Input> input = openInput(file, host);
    if (input == nullptr) return state.SkipWithError("the message cannot be opened");
    emlhost::OpenMessage message(*input, services);
    const int64_t size = encodedSize(message);
    if (size == 0) return state.SkipWithError("the message does not have exactly one attachment");
    message.extract(1, output);
    for (auto _ : state) {
        const emlhost::Extraction result = message.extract(1, output);
        if (result.status == EML_OK && output.size() != 0) continue;
        return state.SkipWithError("the attachment could not be extracted");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * size);
}

void runCopy(benchmark::State& state, const MessageFile& file, std::vector<uint8_t>& copy) {
    for (auto _ : state) {
        std::memcpy(copy.data(), file.bytes.data(), file.bytes.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(file.bytes.size()));
}

}  // namespace

void addExtractionBenchmarks(const Add& add, const std::string& work, const MessageFile& file) {
    // One output for all repetitions, so that memory is taken once.
    const auto memory = std::make_shared<emlhost::MemoryOutput>();
    const auto copy = std::make_shared<std::vector<uint8_t>>(file.bytes.size());
    add(work + "/memcpy", 1, [&file, copy](benchmark::State& state) { runCopy(state, file, *copy); });
    for (const Host host : {Host::kMapped, Host::kPread, Host::kMemory}) {
        add(work + "/" + nameOf(host), 1,
            [&file, host, memory](benchmark::State& state) { runExtraction(state, file, host, *memory); });
    }
    add(work + "/mapped host, output discarded", 1, [&file](benchmark::State& state) {
        DiscardingOutput discarded;
        runExtraction(state, file, Host::kMapped, discarded);
    });
}

}  // namespace emlbench
