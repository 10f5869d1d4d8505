// Seeded random messages: fragments of MIME in any order, well-formed trees with damage, and both with their
// interesting places moved to the borders of the blocks that the reader reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace eml::test {

class MessageMaker {
  public:
    explicit MessageMaker(uint64_t seed) : random_(seed) {}

    // Fragments one after the other, sense or no sense.
    [[nodiscard]] std::string soup();

    // A tree of parts, correctly built, with one style of line ends.
    [[nodiscard]] std::string tree();

    // Some bytes of `message` removed, doubled or replaced.
    [[nodiscard]] std::string damaged(std::string message);

    // `message` with filler in it, so that a place that matters stands at or near the border of a block.
    [[nodiscard]] std::string atBlockBorder(std::string message);

    // Any of the above.
    [[nodiscard]] std::string any();

    [[nodiscard]] size_t below(size_t limit) { return static_cast<size_t>(random_() % limit); }

  private:
    std::string_view pick(const std::vector<std::string_view>& choices) {
        return choices[below(choices.size())];
    }
    [[nodiscard]] std::string part(int depth, std::string_view lineEnd);
    [[nodiscard]] std::string multipart(int depth, std::string_view lineEnd);
    [[nodiscard]] std::string filler(size_t length);

    std::mt19937_64 random_;
    uint32_t boundaries_ = 0;
};

}  // namespace eml::test
