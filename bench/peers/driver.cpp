#include "bench/peers/driver.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace emlbench {

namespace {

constexpr uint64_t kPrime = 0x100000001b3;

struct Request {
    Task task = Task::kOpen;
    bool check = false;
    std::vector<std::string> paths;
};

struct Times {
    double all = 0;
    double open = 0;  // the share of opening; of a single message only
};

// CPU time: other programs on the machine disturb it less than the time of day.
double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// The peak since this program was started, in KiB. (ru_maxrss would begin with that of its parent.)
long peakResident() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return 0;
}

std::vector<std::string> messagesAt(const std::string& path) {
    if (!std::filesystem::is_directory(path)) return {path};
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(path)) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool parse(int count, char** arguments, Request& request) {
    int next = 1;
    if (next < count && std::strcmp(arguments[next], "--check") == 0) {
        request.check = true;
        ++next;
    }
    if (count - next != 2) return false;
    const std::string work = arguments[next];
    if (work != "open" && work != "attachments" && work != "body") return false;
    request.task = work == "open" ? Task::kOpen : work == "body" ? Task::kBody : Task::kAttachments;
    request.paths = messagesAt(arguments[next + 1]);
    return !request.paths.empty();
}

bool doOne(Contender& contender, Task task, const std::string& path, Found& found, Sink& sink,
           double& openedAt) {
    ++found.messages;
    const bool opened = task == Task::kBody ? contender.openText(path) : contender.open(path, found);
    if (openedAt < 0) openedAt = processorSeconds();
    bool done = opened;
    if (opened && task == Task::kAttachments) done = contender.attachments(sink);
    if (opened && task == Task::kBody) done = contender.body(sink);
    contender.close();
    if (!done) std::fprintf(stderr, "%s: failed\n", path.c_str());
    return done;
}

void print(const Times& times, const Found& found, const Sink& sink) {
    std::printf("seconds=%.6f open=%.6f resident=%ld", times.all, times.open, peakResident());
    const auto number = [](const char* name, uint64_t value) {
        std::printf(" %s=%llu", name, static_cast<unsigned long long>(value));
    };
    number("messages", found.messages);
    number("senders", found.senders);
    number("recipients", found.recipients);
    number("dates", found.dates);
    number("subjects", found.subjectBytes);
    number("attachments", found.attachments);
    number("names", found.nameBytes);
    number("bytes", sink.size());
    if (sink.hashing()) {
        number("exact", sink.exactHash());
        number("text", sink.textHash());
        number("textbytes", sink.textSize());
    }
    std::putchar('\n');
}

}  // namespace

void Sink::hash(const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        exactHash_ = (exactHash_ ^ bytes[i]) * kPrime;
        if (bytes[i] == '\n') ++pendingLineEnds_;
        if (bytes[i] == '\n' || bytes[i] == '\r') continue;
        textSize_ += pendingLineEnds_ + 1;
        for (; pendingLineEnds_ != 0; --pendingLineEnds_) textHash_ = (textHash_ ^ '\n') * kPrime;
        textHash_ = (textHash_ ^ bytes[i]) * kPrime;
    }
}

[[gnu::noinline]] bool workOnAll(Contender& contender, Task task, const std::vector<std::string>& paths,
                                 Found& found, Sink& sink, double& openedAt) {
    openedAt = -1;
    for (const std::string& path : paths) {
        if (!doOne(contender, task, path, found, sink, openedAt)) return false;
    }
    return true;
}

int runDriver(Contender& contender, int count, char** arguments) {
    Request request;
    if (!parse(count, arguments, request)) {
        std::fprintf(stderr, "usage: %s [--check] open|attachments|body PATH\n", arguments[0]);
        return 2;
    }
    Found found;
    Sink sink(request.check);
    double openedAt = 0;
    const double begin = processorSeconds();
    if (!workOnAll(contender, request.task, request.paths, found, sink, openedAt)) return 1;
    const double end = processorSeconds();
    print({end - begin, request.paths.size() == 1 ? openedAt - begin : 0}, found, sink);
    return 0;
}

}  // namespace emlbench
