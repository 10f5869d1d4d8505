#include "tool/system/process_limits.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace emltool {

uint64_t addressSpace() {
    uint64_t pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "re")) {
        unsigned long long first = 0;
        char line[64];
        if (std::fgets(line, sizeof line, file) != nullptr) first = std::strtoull(line, nullptr, 10);
        pages = first;
        std::fclose(file);
    }
    return pages * static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
}

void setSoftLimit(int resource, rlim_t value) {
    struct rlimit limit {};
    if (::getrlimit(static_cast<__rlimit_resource_t>(resource), &limit) != 0) return;
    limit.rlim_cur = std::min(limit.rlim_max, value);
    ::setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
}

void lowerLimit(int resource, rlim_t value) {
    struct rlimit limit {};
    if (::getrlimit(static_cast<__rlimit_resource_t>(resource), &limit) != 0) return;
    limit.rlim_cur = std::min(limit.rlim_cur, value);
    limit.rlim_max = std::min(limit.rlim_max, value);
    ::setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
}

}  // namespace emltool
