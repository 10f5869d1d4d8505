// Opens and lists one message, and says what that took:
//     emlreader_memory FILE [mapped|pread]
// Fails when the library's heap was ever larger than 64 KiB and its sections.
#include <sys/resource.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "container/container_context.h"
#include "standalone/message.h"

namespace {

constexpr uint64_t kAllowed = 65536;

struct Sections {
    uint64_t count = 0;
    uint64_t bytes = 0;
};

uint64_t textSize(const char* text) { return text == nullptr ? 0 : std::strlen(text) + 1; }

Sections countSections(const EmlContainerContext& context) {
    Sections sections;
    for (const EmlSectionNode* list : {context.sections, context.alternatives, context.retired}) {
        for (const EmlSectionNode* node = list; node != nullptr; node = node->next) {
            ++sections.count;
            sections.bytes +=
                sizeof *node + textSize(node->section.fileName) + textSize(node->section.boundary);
        }
    }
    sections.bytes += static_cast<uint64_t>(context.attachmentCount) * sizeof *context.attachments;
    return sections;
}

std::unique_ptr<emlhost::Input> openInput(const char* path, bool mapped) {
    std::error_code error;
    std::unique_ptr<emlhost::Input> input;
    if (mapped) {
        input = emlhost::MappedFileInput::open(path, error);
    } else {
        input = emlhost::DescriptorInput::open(path, error);
    }
    if (input == nullptr) std::fprintf(stderr, "%s: %s\n", path, error.message().c_str());
    return input;
}

// Kilobytes of the whole process; the pages of a mapped file count as well.
long peakResident() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// CPU time: other programs on the machine disturb it less than the time of day.
double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

bool measure(emlhost::Input& input, const char* host) {
    emlhost::Services services;
    const double begin = processorSeconds();
    emlhost::OpenMessage message(input, services);
    if (message.status() != EML_OK) return false;
    for (uint32_t number = 0; number < message.subFileCount(); ++number) {
        if (message.describe(static_cast<int32_t>(number)).status != EML_OK) return false;
    }
    const double seconds = processorSeconds() - begin;
    const uint64_t peak = services.heap().counts().peakBytes;
    const Sections sections = countSections(*message.context());
    const bool fits = peak < kAllowed + sections.bytes;
    std::printf("| %s | %.0f MB | %.3f s | %.0f MB/s | %u | %llu | %llu | %llu | %ld KiB | %s |\n", host,
                static_cast<double>(input.size()) / 1e6, seconds,
                static_cast<double>(input.size()) / 1e6 / seconds, message.subFileCount(),
                static_cast<unsigned long long>(sections.count), static_cast<unsigned long long>(peak),
                static_cast<unsigned long long>(sections.bytes), peakResident(), fits ? "yes" : "NO");
    return fits;
}

}  // namespace

int main(int count, char** arguments) {
    const char* const host = count == 3 ? arguments[2] : "mapped";
    const bool mapped = std::strcmp(host, "mapped") == 0;
    if (count < 2 || count > 3 || (!mapped && std::strcmp(host, "pread") != 0)) {
        std::fputs("usage: emlreader_memory FILE [mapped|pread]\n", stderr);
        return 2;
    }
    const std::unique_ptr<emlhost::Input> input = openInput(arguments[1], mapped);
    if (input == nullptr) return 1;
    if (measure(*input, host)) return 0;
    std::fputs("The message could not be listed, or took more memory than allowed.\n", stderr);
    return 1;
}
