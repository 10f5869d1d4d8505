// Lines that a mark at their beginning shows to be quoted.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace emltool {

// For each line whether it is quoted with ">". A mark that may be something else, such as ">From" or ">=", counts if its
// neighbours are quoted; ">>>" everywhere is the prompt of an interpreter.
std::vector<bool> quotedLines(std::span<const std::string_view> lines);

// How many of `lines`, from the first on, are quoted in a way that only an attribution before them makes clear: with
// "|", with the initials of who wrote them ("AE> "), or indented.
size_t quotedAfterAttribution(std::span<const std::string_view> lines);

}  // namespace emltool
