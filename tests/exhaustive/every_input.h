// Every text up to some length over a few pieces, and a count of what was compared.
//
// The lengths of a usual run cost seconds. EMLREADER_TEST_FULL=1 takes the full ones.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace eml::test {

[[nodiscard]] inline bool fullLengths() {
    const char* const text = std::getenv("EMLREADER_TEST_FULL");
    return text != nullptr && std::strcmp(text, "1") == 0;
}

[[nodiscard]] inline size_t longest(size_t usual, size_t full) { return fullLengths() ? full : usual; }

// Counts the inputs that a test compares, and tells the count at its end.
class Compared {
  public:
    Compared() = default;
    Compared(const Compared&) = delete;
    Compared& operator=(const Compared&) = delete;
    ~Compared() {
        const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
        ::testing::Test::RecordProperty("inputs_compared", std::to_string(inputs_));
        ::testing::Test::RecordProperty("comparisons", std::to_string(comparisons_));
        std::printf("%s.%s: %llu inputs, %llu comparisons\n", test.test_suite_name(), test.name(),
                    static_cast<unsigned long long>(inputs_), static_cast<unsigned long long>(comparisons_));
        EXPECT_GT(inputs_, 0U) << "nothing was compared";
    }

    void input() { ++inputs_; }
    void comparison() { ++comparisons_; }
    [[nodiscard]] uint64_t inputs() const { return inputs_; }

  private:
    uint64_t inputs_ = 0;
    uint64_t comparisons_ = 0;
};

using PieceList = std::vector<std::string>;

// Pieces of one byte each.
[[nodiscard]] inline PieceList bytesAsPieces(std::string_view bytes) {
    PieceList pieces;
    for (const char byte : bytes) pieces.emplace_back(1, byte);
    return pieces;
}

// Calls `check` with every row of at most `most` pieces; stops when it gives false.
template <class Check>
bool forEveryText(const PieceList& pieces, size_t most, Check check) {
    std::vector<size_t> digits;
    std::string text;
    for (;;) {
        text.clear();
        for (const size_t digit : digits) text += pieces[digit];
        if (!check(text)) return false;
        size_t place = digits.size();
        while (place > 0 && digits[place - 1] + 1 == pieces.size()) digits[--place] = 0;
        if (place > 0) {
            ++digits[place - 1];
        } else if (digits.size() < most) {
            digits.push_back(0);
        } else {
            return true;
        }
    }
}

// Copies of short texts, each in a block of exactly its size, so that the address sanitizer sees a byte too
// many. A copy is valid until the next of the same size.
class ExactBlocks {
  public:
    [[nodiscard]] uint8_t* room(size_t size) {
        if (blocks_.size() <= size) blocks_.resize(size + 1);
        if (blocks_[size] == nullptr) blocks_[size].reset(new uint8_t[size]);
        return blocks_[size].get();
    }

    [[nodiscard]] const uint8_t* copy(std::string_view text) {
        uint8_t* const block = room(text.size());
        if (!text.empty()) std::memcpy(block, text.data(), text.size());
        return block;
    }

  private:
    std::vector<std::unique_ptr<uint8_t[]>> blocks_;
};

}  // namespace eml::test
