// The message filter: every call of the host fails in turn, in every entry point, over every message.
#include <gtest/gtest.h>

#include "faults/sweep_runs.h"

namespace eml::test {
namespace {

TEST(FilterSweep, EveryHostCallFails) {
    sweepOver("filter", Reader::kFilter,
              {.opens = 17, .calls = 31, .callsInLine = 201, .missingEntries = 11});
}

TEST(FilterSweep, EveryHostCallFailsForAFile) {
    sweepOver("filter of a file", Reader::kFilterFile,
              {.opens = 31, .calls = 301, .callsInLine = 1009, .missingEntries = 31});
}

}  // namespace
}  // namespace eml::test
