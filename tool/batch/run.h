// A batch from its paths to its rows.
#pragma once

#include <chrono>
#include <deque>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "tool/batch/finished_rows.h"
#include "tool/batch/forecast.h"
#include "tool/batch/pool.h"
#include "tool/batch/row_sink.h"
#include "tool/batch/sources.h"
#include "tool/batch/worker.h"
#include "tool/terminal/console.h"
#include "tool/terminal/progress.h"

namespace emltool {

struct BatchOptions {
    std::vector<std::string> paths;
    char separator = '\n';  // of the paths on standard input
    std::string pattern;    // of the names of files in folders; empty is all
    std::string output;     // empty is standard output
    bool resume = false;
    unsigned jobs = 1;
    bool ordered = false;
    bool threads = false;  // finds the conversations
    unsigned shard = 1;    // of `shards`, from 1 on
    unsigned shards = 1;
    std::chrono::milliseconds timeout{};
    WorkerOptions worker;
};

struct BatchCounts {
    uint64_t rows = 0;
    uint64_t errors = 0;    // among them
    uint64_t finished = 0;  // rows of an earlier run
};

class BatchRun {
  public:
    // Opens the output. Throws Problem.
    BatchRun(const BatchOptions& options, Console& console);
    ~BatchRun();
    BatchRun(const BatchRun&) = delete;
    BatchRun& operator=(const BatchRun&) = delete;

    // Reads everything. Throws Problem, StandardOutputProblem or BrokenPipe if it cannot go on. After SIGINT,
    // SIGTERM or SIGHUP the process ends once the output is whole.
    BatchCounts run();

  private:
    // The slots are in the order of the input. One that has a source is open: what the source returns is put
    // before it, until the source ends.
    struct Slot : PoolTask {
        std::list<Slot>::iterator self;
        std::unique_ptr<ItemSource> source;  // an open one has it
        bool done = false;
        std::string row;  // of a done one
    };
    using Slots = std::list<Slot>;

    // One worker keeps the order by itself, except that an mbox is recognised only when it is read.
    bool isOrdered() const { return options_.ordered || options_.jobs == 1; }

    void open(Slots::iterator before, std::unique_ptr<ItemSource> source);
    void addOpen(Slot& slot);
    Slot& insert(Slots::iterator before);
    bool fill();
    ItemSource::Next take();
    void wait(int signals, bool more);
    void add(Slot& before, FoundItem found);
    bool isOutput(const BatchItem& item) const;
    void handle(PoolEvent& event);
    void settle(Slot& slot, std::string row, bool isError);
    void deliver();
    int untilWork(bool more) const;
    void showProgress();
    bool addThreads();
    [[noreturn]] void endBySignal();

    const BatchOptions& options_;
    Console& console_;
    FinishedRows finished_;
    std::unique_ptr<RowSink> output_;
    ProgressLine progress_;
    Forecast forecast_;  // only used while there is a line to show
    WorkerPool pool_;
    Slots slots_;
    std::vector<Slot*> open_;           // the last one is read first
    std::deque<Slot*> again_;           // to be given to a worker once more
    size_t heldBytes_ = 0;              // in rows that wait for their turn
    std::string ready_;                 // rows for the output
    std::vector<ItemSource*> awaited_;  // sources that must be waited for
    bool isLong_ = false;               // has run long enough for a line that shows the progress
    BatchCounts counts_;
};

}  // namespace emltool
