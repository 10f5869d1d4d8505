// File names made from names that strangers chose.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace emltool {

// The longest name that file systems accept.
inline constexpr size_t kMaxNameLength = 255;

// A plain file name made from `name`, which is UTF-8: the last component after "/" and "\", without control
// and direction characters, without dots and blanks at either end, at most 255 bytes, cut between characters,
// keeping its extension. If nothing is left, the name is "part-" and `number`.
std::string safeName(std::string_view name, std::string_view number);

// "report.pdf" with 2 is "report (2).pdf"; at most 255 bytes.
std::string numberedName(const std::string& name, unsigned number);

// The names that were used in one run.
class NameSet {
  public:
    // Takes `name`, or the first numberedName of it that is free.
    std::string take(const std::string& name);

    // How many names it has looked for so far. A handful for each that was taken, whatever the names are.
    uint64_t tries() const { return tries_; }

  private:
    bool insert(const std::string& name);

    std::unordered_set<std::string> taken_;
    // The next number that may be free, by the name with the first number of as many digits.
    std::unordered_map<std::string, unsigned> next_;
    uint64_t tries_ = 0;
};

}  // namespace emltool
