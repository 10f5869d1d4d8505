// What a sender can make the MIME reader cost: for each hostile message, its own and those of the other readers, the
// work that the host sees stays within its budget, and grows no faster than the message. No clock is looked at.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "budgets/mime_at_work.h"
#include "budgets/mime_messages.h"

namespace eml::test {
namespace {

// The most for each byte of the message (reads: for each 1024), at either of the two sizes. Each is a tenth above what
// was measured, rounded up, and at least 0.1, so that constant amounts do not matter.
struct Budget {
    const char* message;
    Figures most;
};

//   {readsPerKb, read, allocated, peak, copied}
constexpr auto kBudgets = std::to_array<Budget>({
    {"boundary lines", {0.1, 2.2, 180, 93, 140}},
    {"boundary lines, empty lines", {0.1, 2.2, 150, 78, 110}},
    {"dashes, empty boundary", {0.1, 4.4, 0.2, 0.2, 3.3}},
    {"lines of two dashes, empty boundary", {0.1, 2.2, 240, 130, 180}},
    {"two dashes and NUL, empty boundary", {0.1, 4.4, 0.7, 0.5, 3.3}},
    {"letter and NUL", {0.1, 4.4, 0.5, 0.4, 3.3}},
    {"nearly a boundary of 2,000 letters", {0.1, 2.2, 0.2, 0.1, 1.1}},
    {"related, nested", {0.5, 4.4, 0.8, 0.6, 3.5}},
    {"related, nested around attachments", {25, 3, 29, 12, 16}},
    {"related, 100 within each other's blocks", {2.3, 2.3, 300, 120, 240}},
    {"alternative, nested", {0.5, 4.4, 0.8, 0.5, 3.5}},
    {"boundaries that replace each other", {21, 3.2, 25, 11, 19}},
    {"attachments", {30, 3.2, 30, 14, 18}},
    {"embedded messages", {32, 3.1, 50, 26, 36}},
    {"reports that overlap", {26, 3.2, 28, 12, 17}},
    {"converted attachments", {0.1, 4.4, 0.5, 0.4, 3.3}},
    {"one header line", {0.1, 1.3, 3.6, 2.4, 1.1}},
    {"equal fields", {0.1, 2.1, 3.2, 2.2, 1.2}},
    {"equal fields, empty", {0.1, 1.1, 3.2, 2.3, 1.5}},
    {"unknown fields, CR alone", {0.1, 4.4, 0.8, 0.6, 3.3}},
    {"continuation lines", {0.1, 1.1, 120, 56, 50}},
    {"folded parameters", {0.1, 1.1, 120, 56, 50}},
    {"encoded words", {0.1, 1.8, 5, 3.3, 1.7}},
    {"encoded words, base64", {0.1, 1.6, 3.8, 2.7, 1.2}},
    {"encoded words without end", {0.1, 1.5, 5.2, 3.3, 1.9}},
    {"beginnings of encoded words", {0.1, 1.7, 4.3, 2.9, 1.3}},
    {"newlines", {0.1, 4.4, 0.7, 0.5, 3.3}},
    {"letter and tab", {0.1, 4.4, 0.4, 0.3, 3.3}},
    {"base64 text", {0.1, 4.4, 0.3, 0.2, 2.8}},
    {"quoted-printable text", {0.1, 4.4, 0.2, 0.2, 1.9}},
    {"HTML", {0.1, 4.4, 0.3, 0.2, 2.2}},
    {"packed RTF, references", {0.2, 5.9, 0.9, 0.7, 2.8}},
    {"packed RTF, a claim", {0.1, 5.6, 0.3, 0.2, 2.8}},
    {"stored RTF, a claim", {0.1, 5.7, 0.4, 0.3, 2.8}},
    {"RTF header in two-byte characters", {0.1, 1.1, 12, 8.7, 4.6}},
    {"tiny parts", {1.1, 2.2, 150, 65, 88}},
    {"mixed, nested", {0.3, 4.4, 0.4, 0.3, 3.4}},
    {"messages, nested", {0.5, 4.4, 0.8, 0.6, 3.5}},
    {"delimiters of 100 levels", {0.7, 2.3, 16, 4.4, 6.9}},
    {"nearly one of 26 long boundaries", {0.1, 4.4, 0.3, 0.2, 3.3}},
    {"closing delimiters again and again", {0.1, 2.2, 120, 49, 65}},
    {"parameters", {0.1, 1.1, 73, 49, 30}},
    {"sections of a parameter, backwards", {0.1, 2, 23, 17, 8}},
    {"percents", {0.1, 1.1, 14, 6.7, 6.5}},
    {"encoded words, split characters", {0.1, 1.1, 8.9, 5.7, 3.6}},
    {"encoded words, the host's charset", {0.1, 1.1, 7.8, 5.2, 3.2}},
    {"comments without end", {0.1, 1.1, 4.6, 3.3, 1.1}},
    {"quotes", {0.1, 1.1, 4.6, 3.3, 1.1}},
    {"angle brackets", {0.1, 1.1, 4.6, 3.3, 1.1}},
    {"empty groups", {0.1, 1.1, 130, 82, 53}},
    {"mailboxes", {0.1, 1.1, 89, 57, 38}},
    {"a route", {0.1, 1.1, 130, 60, 54}},
    {"message ids", {0.1, 1.1, 63, 42, 27}},
    {"comments in a date", {0.1, 1.1, 4.6, 3.3, 1.1}},
    {"digits in a date", {0.1, 1.1, 4.6, 3.3, 1.1}},
    {"fields of one letter", {0.1, 1.1, 4.2, 2.9, 1.6}},
    {"lines without a colon", {0.1, 1.1, 4.8, 3.4, 2.1}},
    {"continuation lines of blanks", {0.1, 1.1, 4.9, 3.3, 1.5}},
    {"beginnings of uuencode", {0.1, 4.4, 0.4, 0.4, 3.3}},
    {"uuencoded files", {0.5, 3.4, 57, 26, 36}},
    {"yEnc files", {0.3, 3.4, 30, 13, 20}},
    {"base64, a letter a line", {0.1, 4.4, 0.5, 0.4, 2}},
    {"base64, padding", {0.1, 4.4, 0.5, 0.4, 1.7}},
    {"soft line breaks", {0.1, 4.4, 0.3, 0.2, 1.1}},
    {"broken escapes", {0.1, 4.4, 0.3, 0.2, 3.3}},
    {"runs of blanks", {0.1, 4.4, 0.2, 0.2, 3.3}},
    {"NULs", {0.1, 4.4, 3.2, 2.4, 4.6}},
    {"CRs", {0.1, 4.4, 0.9, 0.7, 3.3}},
    {"NULs in a header", {0.1, 1.1, 4.5, 3.3, 1.1}},
    {"lines of a block and one byte", {0.1, 4.4, 0.2, 0.2, 3.3}},
    {"one line", {0.1, 4.4, 0.2, 0.2, 3.3}},
    {"flowed quotes", {0.1, 4.4, 0.3, 0.3, 3.3}},
    {"flowed quotes 900 deep", {0.1, 4.4, 0.6, 0.5, 3.3}},
    {"the host's charset", {0.1, 4.4, 1, 0.8, 3.3}},
    {"a guessed charset", {0.2, 5.9, 1, 0.8, 4.4}},
    {"delimiters in a header", {0.1, 2.2, 35, 13, 18}},
    {"a related group without its root", {50, 3, 50, 23, 30}},
});

// Work for each byte that stands for a constant amount, whose growth says nothing.
constexpr double kNextToNothing = 0.1;

// `growth` is the most that the work may grow by when a message grows by four; quadratic work would grow by 16. Memory
// grows by doubling: a list may be full at one size and half empty at the other, which is a step by two. A header over
// 1 MiB is not kept but read a second time, which is another. What reallocations move jumps with the powers of
// two: the budget alone holds it, at both sizes.
struct Figure {
    const char* name;
    double Figures::*of;
    double growth;
};

constexpr auto kFigures = std::to_array<Figure>({
    {"reads per KB", &Figures::readsPerKb, 8.8},
    {"bytes read", &Figures::read, 8.8},
    {"bytes allocated", &Figures::allocated, 8.8},
    {"peak of the heap", &Figures::peak, 8.8},
    {"bytes copied", &Figures::copied, 1e9},
});

// EMLREADER_TEST_FULL=1 takes the full sizes.
bool isFullRun() {
    const char* text = std::getenv("EMLREADER_TEST_FULL");
    return text != nullptr && std::strcmp(text, "1") == 0;
}

// The messages of the other readers, and those of this one.
std::vector<HostileMessage> allMessages() {
    std::vector<HostileMessage> all(kHostileMessages.begin(), kHostileMessages.end());
    all.insert(all.end(), kMimeMessages.begin(), kMimeMessages.end());
    return all;
}

struct Measured {
    size_t size;
    Run run;

    [[nodiscard]] Figures figures() const { return figuresOf(run.work, size); }
};

Measured measure(const HostileMessage& hostile, uint32_t count) {
    const std::string message = hostile.make(count);
    return {message.size(), runMime(message)};
}

class MimeBudgetTest : public testing::TestWithParam<HostileMessage> {};

TEST_P(MimeBudgetTest, HoldsAndTheWorkGrowsLikeTheMessage) {
    const HostileMessage& hostile = GetParam();
    const auto* const budget = std::find_if(kBudgets.begin(), kBudgets.end(), [&hostile](const Budget& row) {
        return std::strcmp(row.message, hostile.name) == 0;
    });
    ASSERT_NE(budget, kBudgets.end()) << "no budget for: " << hostile.name;
    const uint32_t count = isFullRun() ? hostile.full : hostile.quick;
    const Measured small = measure(hostile, count / 4);
    const Measured large = measure(hostile, count);
    for (const Measured* measured : {&small, &large}) {
        EXPECT_TRUE(measured->run.opened && measured->run.finished);
        EXPECT_EQ(measured->run.work.liveBytes, 0U) << "blocks are still live";
    }
    for (const Figure& figure : kFigures) {
        const double before = small.figures().*figure.of;
        const double after = large.figures().*figure.of;
        EXPECT_LE(after, budget->most.*figure.of) << hostile.name << ": " << figure.name << " for each byte";
        const double growth =
            after * static_cast<double>(large.size) / (before * static_cast<double>(small.size));
        if (after > kNextToNothing) {
            EXPECT_LE(growth, figure.growth)
                << hostile.name << ": " << figure.name << ", four times the size";
        }
    }
}

std::string nameOfCase(const testing::TestParamInfo<HostileMessage>& info) {
    std::string name;
    bool wordBegins = true;
    for (const char letter : std::string(info.param.name)) {
        const bool isPart = std::isalnum(static_cast<unsigned char>(letter)) != 0;
        if (isPart) name += wordBegins ? static_cast<char>(std::toupper(letter)) : letter;
        wordBegins = !isPart;
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryMessage, MimeBudgetTest, testing::ValuesIn(allMessages()), nameOfCase);

// A budget says something only when the reader does what the message wants it to.
TEST(MimeHostileMessage, MakesTheReaderDoWhatItIsNamedFor) {
    constexpr uint32_t kCount = 400;
    struct Row {
        std::string (*make)(uint32_t count);
        uint32_t parts;
    };
    const Row rows[] = {
        {hostile::tinyParts, kCount + 1},     {hostile::nestedMixed, 101},
        {hostile::nestedMessages, 101},       {hostile::closingAgain, kCount + 1},
        {hostile::uuencodeFiles, kCount + 1}, {hostile::yencBegins, kCount + 1},
        {hostile::guessedBoundaries, kCount}, {hostile::relatedRoots, kCount + 1},
    };
    for (const Row& row : rows) {
        const std::string message = row.make(kCount);
        SCOPED_TRACE(message.substr(message.size() - 40));
        EXPECT_EQ(runMime(message).subFiles, row.parts);
    }
}

}  // namespace
}  // namespace eml::test
