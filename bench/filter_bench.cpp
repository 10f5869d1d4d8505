// The message filter: the open scan, and the open with the whole stream. Speeds are in bytes of the message.
#include <cstring>

#include "bench/benchmarks.h"
#include "container/container_context.h"
#include "standalone/filter.h"
#include "standalone/message.h"

namespace emlbench {

namespace {

constexpr size_t kBufferSize = 65536;

const char* encodingName(eml::TransferEncoding encoding) {
    if (encoding == eml::TransferEncoding::kBase64) return "base64";
    return encoding == eml::TransferEncoding::kQuotedPrintable ? "quoted-printable" : "8bit";
}

// A message whose text is what the one attachment of `file` holds, in the same encoding.
std::vector<uint8_t> textMessage(const MessageFile& file) {
    emlhost::Services services;
    emlhost::MemoryInput input(file.bytes);
    emlhost::OpenMessage message(input, services);
    const EmlContainerContext* const context = message.context();
    if (context == nullptr || context->attachmentCount != 1) return {};
    const EmlSection& section = *context->attachments[0];
    const std::string header =
        std::string("From: a@example.org\r\nContent-Type: text/plain; charset=utf-8\r\n") +
        "Content-Transfer-Encoding: " + encodingName(section.encoding) + "\r\n\r\n";
    std::vector<uint8_t> bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), file.bytes.begin() + static_cast<ptrdiff_t>(section.bodyStart),
                 file.bytes.begin() + static_cast<ptrdiff_t>(section.bodyEnd));
    return bytes;
}

// Opens the message and, with `stream`, pulls it to its end. False when either fails.
bool convert(emlhost::Input& input, emlhost::Services& services, std::vector<uint8_t>& buffer, bool stream) {
    emlhost::MessageFilter filter(input, services);
    if (!filter.usable()) return false;
    while (stream && !filter.finished()) benchmark::DoNotOptimize(filter.fill(buffer).data());
    return filter.status() == EML_OK && (!stream || filter.progress() == 100);
}

void runLarge(benchmark::State& state, const std::vector<uint8_t>& bytes, bool stream) {
    if (bytes.empty()) return state.SkipWithError("the message does not have exactly one attachment");
    emlhost::Services services;
    emlhost::MemoryInput input(bytes);
    std::vector<uint8_t> buffer(kBufferSize);
    for (auto _ : state) {
        if (convert(input, services, buffer, stream)) continue;
        return state.SkipWithError("the message could not be converted");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

void runCopy(benchmark::State& state, const std::vector<uint8_t>& bytes) {
    std::vector<uint8_t> copy(bytes.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

void runTypical(benchmark::State& state, const std::vector<MessageFile>& files, bool stream) {
    emlhost::Services services;
    std::vector<uint8_t> buffer(kBufferSize);
    int64_t size = 0;
    for (const MessageFile& file : files) size += static_cast<int64_t>(file.bytes.size());
    for (auto _ : state) {
        for (const MessageFile& file : files) {
            const std::unique_ptr<emlhost::Input> input = openInput(file, Host::kPread);
            if (input != nullptr && convert(*input, services, buffer, stream)) continue;
            return state.SkipWithError("a message could not be converted");
        }
    }
    const auto iterations = static_cast<int64_t>(state.iterations());
    state.SetBytesProcessed(iterations * size);
    state.SetItemsProcessed(iterations * static_cast<int64_t>(files.size()));
}

}  // namespace

void addFilterBenchmarks(const Add& add, const std::string& work, const MessageFile& file) {
    const auto bytes = std::make_shared<std::vector<uint8_t>>(textMessage(file));
    add(work + "/memcpy", 1, [bytes](benchmark::State& state) { runCopy(state, *bytes); });
    add(work + "/open scan", 1, [bytes](benchmark::State& state) { runLarge(state, *bytes, false); });
    add(work + "/open scan and whole stream", 1,
        [bytes](benchmark::State& state) { runLarge(state, *bytes, true); });
}

void addTypicalFilterBenchmarks(const Add& add, const std::string& work,
                                const std::vector<MessageFile>& files) {
    add(work + "/open scan, pread host", 0,
        [&files](benchmark::State& state) { runTypical(state, files, false); });
    add(work + "/open scan and whole stream, pread host", 0,
        [&files](benchmark::State& state) { runTypical(state, files, true); });
}

}  // namespace emlbench
