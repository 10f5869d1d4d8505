// The scenes of the sweeps - each message of tests/messages and each made one, in a reader, with and without
// folders - and one pass over them.
//
// By default one fault of so many is taken, the same ones in every run. EMLREADER_TEST_FULL=1, or
// EMLREADER_TEST_ROUNDS above 1, takes them all.
#pragma once

#include <vector>

#include "faults/sweep.h"

namespace eml::test {

[[nodiscard]] bool sweepsAreFull();

[[nodiscard]] std::vector<Scene> scenesOf(Reader reader);

// By default one fault of so many is taken.
struct Strides {
    uint64_t opens;
    uint64_t calls;
    uint64_t callsInLine;
    uint64_t missingEntries;
    uint64_t scenes = 1;
};

// Sweeps over all scenes of a reader, prints the counts and keeps them as properties of the running test.
void sweepOver(const char* what, Reader reader, const Strides& strides);

}  // namespace eml::test
