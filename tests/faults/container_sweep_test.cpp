// The container reader: every call of the host fails in turn, in every entry point, over every message.
#include <gtest/gtest.h>

#include "faults/sweep_runs.h"

namespace eml::test {
namespace {

TEST(ContainerSweep, EveryHostCallFails) {
    sweepOver("container", Reader::kContainer,
              {.opens = 31, .calls = 31, .callsInLine = 201, .missingEntries = 11});
}

}  // namespace
}  // namespace eml::test
