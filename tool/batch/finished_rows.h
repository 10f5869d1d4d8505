// What an earlier run of a batch has already written.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// The sources of rows, as the first 16 bytes of a digest each.
class FinishedRows {
  public:
    void add(std::string_view path, std::optional<uint64_t> index);

    // Nothing more is added.
    void seal();

    // Whether this source has a row that no earlier call has taken. A path that is named twice has two.
    bool take(std::string_view path, std::optional<uint64_t> index);

    size_t size() const { return keys_.size(); }

  private:
    using Key = std::array<uint8_t, 16>;

    static Key keyOf(std::string_view path, std::optional<uint64_t> index);

    std::vector<Key> keys_;
    std::vector<bool> taken_;
};

// Reads the rows in the open file `descriptor`, called `name`, and returns the length of the whole lines,
// which the beginning of one more may follow. Throws Problem if the file holds anything else.
uint64_t readFinishedRows(int descriptor, const std::string& name, FinishedRows& finished);

}  // namespace emltool
