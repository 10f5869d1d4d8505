// What a sender can make a reader cost: for each hostile message, the work that the host sees stays within
// its budget, and grows no faster than the message. No clock is looked at (bench/budgets shows seconds).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "budgets/hostile_messages.h"
#include "budgets/readers_at_work.h"

namespace eml::test {
namespace {

// The most for each byte of the message (reads: for each 1024), at either of the larger sizes. Each is a
// tenth above what was measured, rounded up, and at least 0.1, so that constant amounts do not matter.
struct Budget {
    const char* message;
    Figures container;
    Figures filter;
};

//   {readsPerKb, read, allocated, peak, copied} of the container reader, then of the filter
constexpr auto kBudgets = std::to_array<Budget>({
    {"boundary lines", {290, 1.7, 21, 21, 0.1}, {0.6, 2.3, 0.1, 0.1, 4.7}},
    {"boundary lines, empty lines", {230, 1.6, 17, 17, 0.1}, {0.6, 2.3, 0.1, 0.1, 4.9}},
    {"dashes, empty boundary", {1.7, 6.6, 3.5, 3.4, 7.7}, {0.6, 2.3, 0.1, 0.1, 1.2}},
    {"lines of two dashes, empty boundary", {380, 1.9, 29, 29, 0.1}, {0.6, 2.3, 0.1, 0.1, 5.9}},
    {"two dashes and NUL, empty boundary", {1130, 1690, 29, 29, 0.1}, {380, 2.3, 0.1, 0.1, 4.1}},
    {"letter and NUL", {2, 7.7, 3.7, 3.4, 7.7}, {0.6, 2.3, 0.1, 0.1, 5.5}},
    {"nearly a boundary of 2,000 letters", {0.3, 1.2, 0.1, 0.1, 0.1}, {0.6, 2.3, 0.1, 0.1, 1.2}},
    {"related, nested", {29, 120, 0.1, 0.1, 0.1}, {0.9, 3.4, 0.1, 0.1, 1.7}},
    {"related, nested around attachments", {110, 140, 3.1, 2.9, 0.4}, {0.9, 3.4, 0.1, 0.1, 2.2}},
    {"related, 100 within each other's blocks", {1950, 130, 180, 180, 0.1}, {1, 3.4, 0.6, 0.4, 5.6}},
    {"alternative, nested", {0.6, 2.2, 0.1, 0.1, 0.1}, {0.9, 3.4, 0.1, 0.1, 1.6}},
    {"boundaries that replace each other", {62, 22, 2.2, 2.2, 0.1}, {0.3, 1.2, 0.2, 0.1, 0.2}},
    {"attachments", {87, 31, 3.7, 3.4, 0.5}, {0.3, 1.2, 19, 9.5, 9.5}},
    {"embedded messages", {160, 64, 6.9, 4, 2.4}, {0.3, 1.2, 22, 11, 12}},
    {"reports that overlap", {130, 52, 5.5, 3.2, 1.9}, {9.3, 37, 12, 5.7, 42}},
    {"converted attachments", {49, 32, 8.8, 8.6, 8.5}, {0.6, 2.3, 0.1, 0.1, 1.8}},
    {"one header line", {1.7, 3.8, 17, 5.6, 11}, {0.6, 5.5, 11, 4.1, 1.2}},
    {"equal fields", {570, 290, 14, 4.9, 11}, {0.6, 5.5, 47, 30, 33}},
    {"equal fields, empty", {850, 430, 0.1, 0.1, 0.1}, {0.6, 5.5, 56, 36, 39}},
    {"unknown fields, CR alone", {1690, 850, 0.1, 0.1, 0.1}, {0.6, 5.5, 3.5, 1.2, 0.1}},
    {"continuation lines", {1130, 570, 11, 3.7, 6.8}, {0.6, 5.5, 17, 8.4, 9.7}},
    {"folded parameters", {1130, 570, 0.1, 0.1, 0.1}, {0.6, 5.5, 3.5, 1.2, 0.1}},
    {"encoded words", {1.7, 3.8, 1.9, 0.7, 1.2}, {0.6, 5.5, 9.8, 6, 5.4}},
    {"encoded words, base64", {1.7, 3.8, 2.6, 0.9, 1.6}, {0.6, 5.5, 7.8, 4.5, 3.8}},
    {"encoded words without end", {1.7, 3.8, 4.5, 1.5, 2.8}, {0.6, 5.5, 8.7, 3.5, 3.2}},
    {"beginnings of encoded words", {1.7, 3.8, 3.3, 1.1, 2.1}, {0.6, 5.5, 12, 5.5, 5.8}},
    {"newlines", {1.5, 5.5, 3.5, 3.4, 6.6}, {0.6, 2.3, 0.1, 0.1, 5.5}},
    {"letter and tab", {1.4, 5.6, 3.5, 3.4, 6.6}, {0.6, 2.3, 0.1, 0.1, 8.8}},
    {"base64 text", {1.4, 5.6, 5.4, 4.2, 6.5}, {0.6, 2.3, 3, 2.2, 7.5}},
    {"quoted-printable text", {1.4, 5.6, 2.9, 2.4, 2.8}, {0.6, 2.3, 1, 0.8, 3.5}},
    {"HTML", {1.4, 5.6, 0.1, 0.1, 2.8}, {0.6, 2.3, 1.5, 1.1, 4.9}},
    {"packed RTF, references", {1.5, 5.5, 51, 8.9, 39}, {0.6, 2.3, 2.7, 2, 5.2}},
    {"packed RTF, a claim", {1.4, 5.6, 53, 9.2, 11}, {0.6, 2.3, 3, 2.2, 1.5}},
    {"stored RTF, a claim", {1.4, 5.6, 17, 2.8, 9.4}, {0.6, 2.3, 2.2, 1.7, 1.9}},
    {"RTF header in two-byte characters", {1.7, 3.8, 9.8, 4.4, 21}, {0.6, 5.5, 9.7, 3.8, 1.2}},
});

// The most that the work may grow by when a message grows by four.
constexpr double kMaxGrowth = 4.4;

// Work for each byte that stands for a constant amount, whose growth says nothing.
constexpr double kNextToNothing = 0.1;

struct Figure {
    const char* name;
    double Figures::*of;
};

constexpr auto kFigures = std::to_array<Figure>({
    {"reads per KB", &Figures::readsPerKb},
    {"bytes read", &Figures::read},
    {"bytes allocated", &Figures::allocated},
    {"peak of the heap", &Figures::peak},
    {"bytes copied", &Figures::copied},
});

// EMLREADER_TEST_FULL=1 takes the full sizes.
bool isFullRun() {
    const char* text = std::getenv("EMLREADER_TEST_FULL");
    return text != nullptr && std::strcmp(text, "1") == 0;
}

const Budget* budgetOf(const char* message) {
    const auto* found = std::find_if(kBudgets.begin(), kBudgets.end(), [message](const Budget& budget) {
        return std::strcmp(budget.message, message) == 0;
    });
    return found != kBudgets.end() ? found : nullptr;
}

struct Measured {
    size_t size;
    Run run;

    [[nodiscard]] Figures figures() const { return figuresOf(run.work, size); }
};

Measured measure(const HostileMessage& hostile, Reader reader, uint32_t count) {
    const std::string message = hostile.make(count);
    return {message.size(), run(reader, message, hostile.openFlags)};
}

class BudgetTest : public testing::TestWithParam<std::tuple<size_t, Reader>> {};

TEST_P(BudgetTest, HoldsAndTheWorkGrowsLikeTheMessage) {
    const HostileMessage& hostile = kHostileMessages[std::get<0>(GetParam())];
    const Reader reader = std::get<1>(GetParam());
    const Budget* const budget = budgetOf(hostile.name);
    ASSERT_NE(budget, nullptr) << "no budget for: " << hostile.name;
    const Figures limits = reader == Reader::kContainer ? budget->container : budget->filter;
    const uint32_t count = isFullRun() ? hostile.full : hostile.quick;
    const Measured small = measure(hostile, reader, count / 4);
    const Measured large = measure(hostile, reader, count);
    for (const Measured* measured : {&small, &large}) {
        EXPECT_TRUE(measured->run.opened && measured->run.finished);
        EXPECT_EQ(measured->run.work.liveBytes, 0U) << "blocks are still live";
    }
    for (const Figure& figure : kFigures) {
        const double before = small.figures().*figure.of;
        const double after = large.figures().*figure.of;
        EXPECT_LE(after, limits.*figure.of) << hostile.name << ": " << figure.name << " for each byte";
        const double growth =
            after * static_cast<double>(large.size) / (before * static_cast<double>(small.size));
        if (after > kNextToNothing) {
            EXPECT_LE(growth, kMaxGrowth) << hostile.name << ": " << figure.name << ", four times the size";
        }
    }
}

std::string nameOfCase(const testing::TestParamInfo<BudgetTest::ParamType>& info) {
    std::string name = nameOf(std::get<1>(info.param));
    bool wordBegins = true;
    for (const char letter : std::string(kHostileMessages[std::get<0>(info.param)].name)) {
        const bool isPart = std::isalnum(static_cast<unsigned char>(letter)) != 0;
        if (isPart) name += wordBegins ? static_cast<char>(std::toupper(letter)) : letter;
        wordBegins = !isPart;
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryMessage, BudgetTest,
                         testing::Combine(testing::Range<size_t>(0, kHostileMessages.size()),
                                          testing::Values(Reader::kContainer, Reader::kFilter)),
                         nameOfCase);

// A budget says something only when the reader does what the message wants it to.
TEST(HostileMessage, MakesTheReadersDoWhatItIsNamedFor) {
    constexpr uint32_t kCount = 400;
    struct Row {
        std::string message;
        uint32_t containerSubFiles;
        uint32_t filterSubFiles;
        uint32_t openFlags;
    };
    const Row rows[] = {
        {hostile::attachments(kCount), kCount + 1, kCount, 0},
        {hostile::embeddedMessages(kCount), kCount + 1, kCount, 0},
        {hostile::overlappingReports(kCount), kCount + 1, kCount, 0},
        {hostile::relatedAroundAttachments(kCount), kCount + 1, 1, 0},
        {hostile::converted(kCount), kCount + 1, 1, EML_OPEN_CONVERTED_ATTACHMENTS},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message.substr(row.message.size() - 40));
        EXPECT_EQ(runContainer(row.message, row.openFlags).subFiles, row.containerSubFiles);
        EXPECT_EQ(runFilter(row.message, row.openFlags).subFiles, row.filterSubFiles);
    }
}

}  // namespace
}  // namespace eml::test
