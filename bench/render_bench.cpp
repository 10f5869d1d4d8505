// Rendering typical messages in each form. Speeds are in bytes of the message.
#include <cstring>

#include "bench/benchmarks.h"
#include "standalone/message.h"

namespace emlbench {

namespace {

struct Form {
    const char* name;
    uint32_t options;
    uint32_t charset;
};

constexpr Form kText = {"text, as it is", 0, 0};
constexpr Form kConverted = {"text, as UTF-16", 0, EML_CHARSET_TEXT_16};
constexpr Form kRich = {"HTML or RTF", EML_EXTRACT_PREFER_RICH, 0};

// An RTF message of about the size of a typical one; its body is stored packed RTF (MS-OXRTFCP, "MELA").
std::vector<uint8_t> rtfMessage() {
    std::string text = "{\\rtf1\\ansi ";
    while (text.size() < 20000) text += "A line of text in a message.\\par ";
    text += "}";
    const auto size = static_cast<uint32_t>(text.size());
    std::string body(16, '\0');
    std::memcpy(body.data() + 4, &size, sizeof size);
    std::memcpy(body.data() + 8, "MELA", 4);
    const std::string message =
        "From: a@example.org\r\nSubject: RTF\r\nContent-Type: application/rtf\r\n\r\n" + body + text;
    return {message.begin(), message.end()};
}

bool render(emlhost::Input& input, emlhost::Services& services, emlhost::Output& output, const Form& form) {
    emlhost::OpenMessage message(input, services);
    return message.usable() && message.extract(0, output, form.options, form.charset).status == EML_OK &&
           output.size() != 0;
}

void runFiles(benchmark::State& state, const std::vector<std::vector<uint8_t>>& messages, const Form& form) {
    emlhost::Services services;
    emlhost::MemoryOutput output;
    int64_t size = 0;
    for (const std::vector<uint8_t>& bytes : messages) size += static_cast<int64_t>(bytes.size());
    for (auto _ : state) {
        for (const std::vector<uint8_t>& bytes : messages) {
            emlhost::MemoryInput input(bytes);
            if (render(input, services, output, form)) continue;
            return state.SkipWithError("a message could not be rendered");
        }
    }
    const auto iterations = static_cast<int64_t>(state.iterations());
    state.SetBytesProcessed(iterations * size);
    state.SetItemsProcessed(iterations * static_cast<int64_t>(messages.size()));
}

}  // namespace

void addRenderBenchmarks(const Add& add, const std::string& work, const std::vector<MessageFile>& files) {
    const auto typical = std::make_shared<std::vector<std::vector<uint8_t>>>();
    for (const MessageFile& file : files) typical->push_back(file.bytes);
    const auto rtf = std::make_shared<std::vector<std::vector<uint8_t>>>(1, rtfMessage());
    for (const Form& form : {kText, kConverted, kRich}) {
        add(work + "/" + (form.options == 0 ? form.name : "HTML"), 0,
            [typical, form](benchmark::State& state) { runFiles(state, *typical, form); });
    }
    add(work + "/RTF, one message of 20 KB", 0,
        [rtf](benchmark::State& state) { runFiles(state, *rtf, kRich); });
}

}  // namespace emlbench
