// One table in Markdown for all that has been measured.
//
// A benchmark is named "WORK/HOW". Where a WORK has a HOW "memcpy", the times of its others are also given as
// multiples of that one's. Times are CPU times, so that other programs on the machine disturb them less; each
// figure is the median over the repetitions, and the best one stands beside it.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace emlbench {

class TableReporter final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    // False when nothing was measured, or a benchmark gave up.
    [[nodiscard]] bool succeeded() const { return !failed_ && !rows_.empty(); }

    // Rows appear in the order in which they are announced, whatever the order of the runs.
    void announce(const std::string& name);

  private:
    struct Row {
        std::string work;
        std::string how;
        std::vector<double> seconds = {};  // one repetition each
        double bytes = 0;                  // that one iteration goes through; 0 where that has no meaning
        double items = 0;                  // one iteration's messages or look-ups
    };

    [[nodiscard]] const Row* baselineOf(const Row& row) const;
    void printRow(const Row& row);

    std::vector<Row> rows_;
    std::map<std::string, size_t> index_;
    bool failed_ = false;
};

}  // namespace emlbench
