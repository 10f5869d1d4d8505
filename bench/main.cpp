// Runs the benchmarks over the messages that bench/run generates:
//     emlreader_bench FOLDER [Google Benchmark options]
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "bench/benchmarks.h"
#include "bench/table_reporter.h"

namespace {

struct LargeMessage {
    const char* name;
    const char* work;
};

constexpr std::array<LargeMessage, 4> kLargeMessages{{{"base64.eml", "base64, 100 MB"},
                                                      {"qp.eml", "quoted-printable, 100 MB, German"},
                                                      {"qp-heavy.eml", "quoted-printable, 100 MB, Russian"},
                                                      {"8bit.eml", "8-bit, 100 MB"}}};

std::vector<emlbench::MessageFile> loadFolder(const std::filesystem::path& folder) {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<emlbench::MessageFile> files;
    for (const std::string& path : paths) files.push_back(emlbench::loadMessage(path));
    return files;
}

void addBenchmark(emlbench::TableReporter& reporter, const std::string& name, int64_t iterations,
                  const emlbench::Body& body) {
    reporter.announce(name);
    auto* const added = benchmark::RegisterBenchmark(name.c_str(), body);
    if (iterations != 0) {
        added->Iterations(iterations);
    } else {
        added->MinTime(0.05);
    }
}

// Initializes Google Benchmark with what the user asks for, on top of what the table needs.
bool initialize(int count, char** arguments) {
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char repetitions[] = "--benchmark_repetitions=7";
    std::vector<char*> all{arguments[0], interleaving, repetitions};
    all.insert(all.end(), arguments + 2, arguments + count);
    int allCount = static_cast<int>(all.size());
    all.push_back(nullptr);
    benchmark::Initialize(&allCount, all.data());
    return !benchmark::ReportUnrecognizedArguments(allCount, all.data());
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2 || !std::filesystem::is_directory(std::filesystem::path(arguments[1]) / "typical")) {
        std::fputs(
            "usage: emlreader_bench FOLDER [Google Benchmark options]\n"
            "FOLDER is made by bench/run.\n",
            stderr);
        return 2;
    }
    if (!initialize(count, arguments)) return 2;

    const std::filesystem::path folder = arguments[1];
    emlbench::TableReporter reporter;
    const emlbench::Add add = [&](const std::string& name, int64_t iterations, const emlbench::Body& body) {
        addBenchmark(reporter, name, iterations, body);
    };
    const std::vector<emlbench::MessageFile> typical = loadFolder(folder / "typical");
    const std::vector<emlbench::MessageFile> parts{emlbench::loadMessage(folder / "parts.eml")};
    std::vector<emlbench::MessageFile> large;
    for (const LargeMessage& message : kLargeMessages) {
        large.push_back(emlbench::loadMessage(folder / message.name));
    }

    emlbench::addCharsetBenchmarks(add);
    emlbench::addOpenBenchmarks(add, "open + list, typical message", typical, 0);
    emlbench::addOpenBenchmarks(add, "open + list, 20,000 parts", parts, 1);
    emlbench::addWrapperBenchmarks(add, "wrapper, typical message", typical, 0);
    emlbench::addWrapperBenchmarks(add, "wrapper, 20,000 parts", parts, 1);
    emlbench::addRenderBenchmarks(add, "open + render, typical message", typical);
    emlbench::addTypicalFilterBenchmarks(add, "filter, typical message", typical);
    for (size_t i = 0; i < large.size(); ++i) {
        emlbench::addExtractionBenchmarks(add, kLargeMessages[i].work, large[i]);
        emlbench::addFilterBenchmarks(add, std::string("filter, ") + kLargeMessages[i].work, large[i]);
    }
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.succeeded() ? 0 : 1;
}
