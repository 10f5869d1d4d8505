// The MIME reader: every call of the host fails in turn, in every entry point, over every message.
#include <gtest/gtest.h>

#include "faults/sweep_runs.h"

namespace eml::test {
namespace {

TEST(MimeSweep, EveryHostCallFails) {
    sweepOver("mime", Reader::kMime,
              {.opens = 31, .calls = 101, .callsInLine = 1009, .missingEntries = 31, .scenes = 3});
}

}  // namespace
}  // namespace eml::test
