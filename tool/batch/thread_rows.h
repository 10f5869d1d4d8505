// Rows that get their conversations once all of them are there.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tool/batch/row_facts.h"
#include "tool/batch/threads.h"

namespace emltool {

// First each row is added, without its line end, then each is completed, in the same order. Only ids are kept.
class ThreadRows {
  public:
    void add(std::string_view row);

    // The same for what is known of a row.
    void add(const RowFacts& facts);

    // All rows are there.
    void find() { threads_ = finder_.find(); }

    // Appends the row to `out` with its member "thread", and its line end. One that an earlier run has added is
    // replaced. A row without a message has none, nor has one whose reader gives no ids.
    void complete(std::string_view row, std::string& out);

    // The conversation of the next row, in the order of add; empty without one.
    std::string next();

  private:
    ThreadFinder finder_;
    std::vector<bool> hasThread_;  // for each row
    std::vector<uint64_t> threads_;
    size_t row_ = 0;  // the next to be completed
    size_t thread_ = 0;
};

}  // namespace emltool
