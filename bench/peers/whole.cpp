// Runs a command that extracts attachments into a folder, and prints what that took as the drivers do:
//     emlreader_whole [--check] FOLDER COMMAND [ARGUMENT...]
// FOLDER is emptied first. Time and memory are those of the whole process, its start included. What the
// command has written is counted (and, with --check, hashed) afterwards. Text parts that a command writes
// beside the attachments do not count: only files named like the generator's attachments do.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/peers/driver.h"
#include "bench/peers/mapped_file.h"

namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// The command's output goes nowhere. True when it has run; its exit status is its own affair.
bool run(char** command, rusage& usage) {
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
        execvp(command[0], command);
        _exit(127);
    }
    int status = 0;
    if (child < 0 || wait4(child, &status, 0, &usage) != child) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) != 127;
}

std::vector<std::string> attachmentsIn(const std::string& folder) {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.path().filename().string().find("attachment-") == 0) {
            paths.push_back(entry.path());
        }
    }
    // In the order of their numbers, which is that of the message.
    std::sort(paths.begin(), paths.end(), [](const std::string& a, const std::string& b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    return paths;
}

}  // namespace

int main(int count, char** arguments) {
    const bool check = count > 1 && std::strcmp(arguments[1], "--check") == 0;
    const int first = check ? 2 : 1;
    if (count < first + 2) {
        std::fprintf(stderr, "usage: %s [--check] FOLDER COMMAND [ARGUMENT...]\n", arguments[0]);
        return 2;
    }
    const std::string folder = arguments[first];
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    rusage usage{};
    if (!run(arguments + first + 1, usage)) return 1;

    emlbench::Sink sink(check);
    const std::vector<std::string> paths = attachmentsIn(folder);
    for (const std::string& path : paths) {
        const emlbench::MappedFile file(path);
        if (file.valid()) sink.take(file.begin(), file.size());
        sink.endContent();
    }
    std::printf("seconds=%.6f open=0 resident=%ld messages=1 attachments=%zu bytes=%llu",
                seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss, paths.size(),
                static_cast<unsigned long long>(sink.size()));
    if (check) {
        std::printf(" exact=%llu text=%llu textbytes=%llu", static_cast<unsigned long long>(sink.exactHash()),
                    static_cast<unsigned long long>(sink.textHash()),
                    static_cast<unsigned long long>(sink.textSize()));
    }
    std::putchar('\n');
    std::filesystem::remove_all(folder);
    return 0;
}
