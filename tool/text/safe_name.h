// Names for files that are made from names that strangers chose.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace emltool {

// What file systems take as one name.
inline constexpr size_t kMaxNameLength = 255;

// A plain file name made from `name`, which is UTF-8: the last component behind "/" and "\", without control
// and direction characters, without dots and blanks around it, at most 255 bytes, cut on a character and with
// its extension. Where nothing is left the name is "part-" with `number`.
std::string safeName(std::string_view name, std::string_view number);

// "report.pdf" with 2 is "report (2).pdf"; at most 255 bytes.
std::string numberedName(const std::string& name, unsigned number);

// The names that were given in one run.
class NameSet {
  public:
    // `name`, or the first numberedName of it that is free; it is taken then.
    std::string take(const std::string& name);

  private:
    std::unordered_set<std::string> taken_;
    std::unordered_map<std::string, unsigned> last_;  // where to go on for a name that is often repeated
};

}  // namespace emltool
