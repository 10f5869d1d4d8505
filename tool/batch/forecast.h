// How much of a batch is done, and how long the rest will take.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tool/batch/row.h"
#include "tool/batch/sources.h"

namespace emltool {

// The shard, from 1 on, that takes this path: the first 8 bytes of its SHA-256, as a big-endian number,
// modulo `shards`, plus 1. The same everywhere and always.
unsigned shardOf(std::string_view path, unsigned shards);

// Finds all files of the batch by a walk of its own, ahead of the reading, and compares bytes: messages differ much
// in size. Paths that standard input names cannot be known before.
class Forecast {
  public:
    struct Range {
        std::vector<std::string> paths;
        std::string pattern;
        unsigned shard = 1;
        unsigned shards = 1;
    };

    // `isLeftOut` tells which files are not read.
    Forecast(Range range, std::function<bool(const struct stat& file)> isLeftOut);

    // Looks for files for about a millisecond.
    void look();

    // Whether look may find more.
    bool isLooking() const { return !sources_.empty(); }

    // This has a row; one of an earlier run, or of this one.
    void addFinished(const BatchItem& item);
    void addDone(const BatchItem& item);

    // "37 %, 2 min left", as far as it is known; empty if nothing is. `seconds` is how long the batch has run.
    std::string text(double seconds) const;

  private:
    void add(FoundItem& found);

    Range range_;
    std::function<bool(const struct stat& file)> isLeftOut_;
    std::vector<std::unique_ptr<ItemSource>> sources_;
    bool isUnknown_ = false;
    uint64_t files_ = 0;  // found
    uint64_t read_ = 0;   // messages
    // Bytes, with what files cost besides those:
    uint64_t all_ = 0;
    uint64_t finished_ = 0;
    uint64_t done_ = 0;
};

}  // namespace emltool
