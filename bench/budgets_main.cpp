// Prints what a sender can make the readers cost, as one Markdown table: each hostile message at two sizes,
// the work that the host sees, and CPU time.
//     emlreader_budgets [WORD]      only the messages with WORD in their names
#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

#include "budgets/hostile_messages.h"
#include "budgets/readers_at_work.h"

namespace {

using eml::test::Figures;
using eml::test::HostileMessage;
using eml::test::Reader;

// The fastest of these counts: other programs can only make a run longer.
constexpr int kRuns = 5;

struct Measured {
    size_t size;
    Figures figures;
    double seconds;
};

// CPU time: other programs on the machine disturb it less than the time of day.
double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

Measured measure(const HostileMessage& hostile, Reader reader, uint32_t count) {
    const std::string message = hostile.make(count);
    Measured measured{message.size(), {}, std::numeric_limits<double>::max()};
    for (int i = 0; i < kRuns; ++i) {
        const double begin = processorSeconds();
        const eml::test::Run run = eml::test::run(reader, message, hostile.openFlags);
        measured.seconds = std::min(measured.seconds, processorSeconds() - begin);
        measured.figures = eml::test::figuresOf(run.work, message.size());
    }
    return measured;
}

std::string pair(double small, double large) { return fmt::format("{:.1f} / {:.1f}", small, large); }

void printRow(const HostileMessage& hostile, Reader reader) {
    const Measured small = measure(hostile, reader, hostile.full / 4);
    const Measured large = measure(hostile, reader, hostile.full);
    const auto cell = [&](double Figures::*of) { return pair(small.figures.*of, large.figures.*of); };
    fmt::print("| {} | {} | {:.2f} / {:.2f} | {} | {} | {} | {} | {} | {:.4f} / {:.4f} | {:.1f} |\n",
               hostile.name, eml::test::nameOf(reader), static_cast<double>(small.size) / 1e6,
               static_cast<double>(large.size) / 1e6, cell(&Figures::readsPerKb), cell(&Figures::read),
               cell(&Figures::allocated), cell(&Figures::peak), cell(&Figures::copied), small.seconds,
               large.seconds, large.seconds / small.seconds);
    std::fflush(stdout);
}

}  // namespace

int main(int count, char** arguments) {
    const char* const wanted = count > 1 ? arguments[1] : "";
    fmt::print(
        "| Message | Reader | MB | Reads per KB | Bytes read | Allocated | Heap's peak | Copied | CPU s | x "
        "|\n");
    fmt::print("|---|---|--:|--:|--:|--:|--:|--:|--:|--:|\n");
    for (const HostileMessage& hostile : eml::test::kHostileMessages) {
        if (std::strstr(hostile.name, wanted) == nullptr) continue;
        for (const Reader reader : {Reader::kContainer, Reader::kFilter}) printRow(hostile, reader);
    }
    return 0;
}
