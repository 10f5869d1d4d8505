// Text from strangers, made safe to look at.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emltool {

// Control characters, which can control a terminal; and the invisible ones that end a line or reverse the
// order of what follows, which makes "gpj.exe" look like "exe.jpg".
bool isControl(char32_t character) noexcept;
bool isDirectionOverride(char32_t character) noexcept;

// `text` for a person: such characters as \x1b or \u202e, bytes that are no UTF-8 as \x..
std::string visible(std::string_view text);

// Columns that `text` takes on a terminal.
size_t displayWidth(std::string_view text);

// A file name as a user would type it in a shell, for hints that can be copied.
std::string shellWord(std::string_view name);

// Bytes for a person: "59 B ", "1.4 kB", "12 MB"; the unit always takes two columns.
std::string humanSize(unsigned long long bytes);

}  // namespace emltool
