#include "bench/table_reporter.h"

#include <fmt/format.h>
#include <sys/utsname.h>

#include <algorithm>
#include <fstream>

namespace emlbench {

namespace {

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) return line.substr(std::min(line.size(), line.find(':') + 2));
    }
    return "unknown processor";
}

std::string systemName() {
    struct utsname name {};
    return uname(&name) == 0 ? fmt::format("{} {} {}", name.sysname, name.release, name.machine) : "unknown";
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t half = values.size() / 2;
    return values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}

double best(const std::vector<double>& values) { return *std::min_element(values.begin(), values.end()); }

std::string duration(double seconds) {
    if (seconds < 1e-6) return fmt::format("{:.1f} ns", seconds * 1e9);
    if (seconds < 1e-3) return fmt::format("{:.2f} us", seconds * 1e6);
    return fmt::format("{:.2f} ms", seconds * 1e3);
}

std::string megabytes(double bytes, double seconds) {
    return bytes == 0 ? "" : fmt::format("{:.0f}", bytes / seconds / 1e6);
}

}  // namespace

bool TableReporter::ReportContext(const Context& context) {
    const benchmark::CPUInfo& cpu = context.cpu_info;
    GetOutputStream() << fmt::format("Machine: {}, {} CPU(s), {:.1f} GHz; {}; compiler: {}\n",
                                     processorName(), cpu.num_cpus, cpu.cycles_per_second / 1e9, systemName(),
                                     EMLREADER_BENCH_COMPILER);
    if (!cpu.load_avg.empty()) {
        GetOutputStream() << fmt::format("Load when it began: {:.2f}\n", cpu.load_avg.front());
    }
    return true;
}

void TableReporter::announce(const std::string& name) {
    index_[name] = rows_.size();
    const size_t slash = name.find('/');
    rows_.push_back({.work = name.substr(0, slash), .how = name.substr(slash + 1)});
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string name = run.run_name.function_name;
        if (run.error_occurred) {
            GetErrorStream() << name << ": " << run.error_message << "\n";
            failed_ = true;
        }
        if (run.error_occurred || run.run_type != Run::RT_Iteration || !index_.contains(name)) continue;
        Row& row = rows_[index_[name]];
        row.seconds.push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
        // The counters arrive as rates.
        const auto perIteration = [&](const char* counter) {
            const auto found = run.counters.find(counter);
            return found == run.counters.end() ? 0.0 : found->second.value * row.seconds.back();
        };
        row.bytes = perIteration("bytes_per_second");
        row.items = perIteration("items_per_second");
    }
}

const TableReporter::Row* TableReporter::baselineOf(const Row& row) const {
    for (const Row& other : rows_) {
        if (other.work == row.work && other.how == "memcpy" && !other.seconds.empty()) return &other;
    }
    return nullptr;
}

void TableReporter::printRow(const Row& row) {
    const double time = median(row.seconds);
    const double bestTime = best(row.seconds);
    const double items = row.items == 0 ? 1 : row.items;
    std::string ratio;
    std::string bestRatio;
    if (const Row* baseline = baselineOf(row)) {
        ratio = fmt::format("{:.2f}", time / median(baseline->seconds));
        bestRatio = fmt::format("{:.2f}", bestTime / best(baseline->seconds));
    }
    GetOutputStream() << fmt::format("| {} | {} | {} | {} | {} | {} | {} |\n", row.work, row.how,
                                     duration(time / items), megabytes(row.bytes, time), ratio,
                                     megabytes(row.bytes, bestTime), bestRatio);
}

void TableReporter::Finalize() {
    size_t repetitions = 0;
    for (const Row& row : rows_) repetitions = std::max(repetitions, row.seconds.size());
    GetOutputStream() << fmt::format(
        "Medians of {} interleaved repetitions, CPU time; MB = 10^6 bytes as they stand in the message.\n\n"
        "| Work | How | Time | MB/s | x memcpy | best MB/s | best x memcpy |\n"
        "|---|---|--:|--:|--:|--:|--:|\n",
        repetitions);
    for (const Row& row : rows_) {
        if (!row.seconds.empty()) printRow(row);
    }
    GetOutputStream().flush();
}

}  // namespace emlbench
