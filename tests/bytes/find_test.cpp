#include "bytes/find.h"

#include <gtest/gtest.h>

#include <memory>

#include "bytes/decoder_runs.h"
#include "reference/search.h"

namespace {

using decoder_runs::forEveryInput;
using decoder_runs::Random;
using reference::Bytes;
using reference::bytesOf;
using reference::kNotFound;
using reference::shown;

// A finder with the plain kernels, and one with the best that this processor has.
struct Finders {
    Finders(const uint8_t* needle, size_t length)
        : plain(needle, length, eml::kPlainKernels), best(needle, length, eml::chooseKernels()) {}

    eml::SubstringFinder plain;
    eml::SubstringFinder best;
};

// Searches in a block of exactly the size of the text. Both finders have to agree.
size_t findIn(const Finders& finders, const Bytes& text) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[text.size()]);
    std::copy(text.begin(), text.end(), block.get());
    const uint8_t* found = finders.plain.find(block.get(), block.get() + text.size());
    EXPECT_EQ(found, finders.best.find(block.get(), block.get() + text.size()));
    return found == nullptr ? kNotFound : static_cast<size_t>(found - block.get());
}

size_t findOnce(const Bytes& text, const Bytes& needle) {
    return findIn(Finders(needle.data(), needle.size()), text);
}

// Every occurrence, one search after the start of the last find, as overlapping ones demand.
void expectAllOccurrences(const Bytes& text, const Bytes& needle) {
    const Finders finder(needle.data(), needle.size());
    Bytes rest = text;
    for (;;) {
        const size_t expected = reference::find(rest, needle);
        ASSERT_EQ(expected, findIn(finder, rest)) << shown(needle) << " in " << shown(rest);
        if (expected == kNotFound) return;
        rest.erase(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(expected) + 1);
    }
}

TEST(Find, Rows) {
    const struct {
        const char* text;
        const char* needle;
        size_t place;
    } rows[] = {
        {"", "", kNotFound},
        {"abc", "", kNotFound},
        {"", "a", kNotFound},
        {"a", "a", 0},
        {"b", "a", kNotFound},
        {"ab", "abc", kNotFound},
        {"xxab", "ab", 2},
        {"abab", "ab", 0},
        {"--b--", "--b", 0},
        {"text\r\n--b\r\n", "--b", 6},
        {"---b", "--b", 1},
        {"aaaab", "aab", 2},
        {"aabaabaaab", "aabaaab", 3},
        {"\xFF\xFE\xFF", "\xFE\xFF", 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.place, findOnce(bytesOf(row.text), bytesOf(row.needle)))
            << row.needle << " in " << row.text;
    }
}

TEST(Find, ZeroBytesAreBytesLikeAnyOther) {
    EXPECT_EQ(2u, findOnce({0, 1, 0, 0, 1}, {0, 0}));
    EXPECT_EQ(kNotFound, findOnce({0, 1, 0, 1}, {0, 0}));
}

TEST(Find, LettersOfOtherCaseDiffer) { EXPECT_EQ(kNotFound, findOnce(bytesOf("--ABC"), bytesOf("--abc"))); }

TEST(Find, EveryTextAndNeedleOverTwoLetters) {
    const Bytes alphabet = bytesOf("ab");
    const bool held = forEveryInput(alphabet, 5, [&](const Bytes& needle) {
        const Finders finder(needle.data(), needle.size());
        return forEveryInput(alphabet, 10, [&](const Bytes& text) {
            const bool equal = reference::find(text, needle) == findIn(finder, text);
            EXPECT_TRUE(equal) << shown(needle) << " in " << shown(text);
            return equal;
        });
    });
    EXPECT_TRUE(held);
}

TEST(Find, EveryTextAndNeedleOverThreeLetters) {
    const Bytes alphabet = bytesOf("abc");
    const bool held = forEveryInput(alphabet, 4, [&](const Bytes& needle) {
        const Finders finder(needle.data(), needle.size());
        return forEveryInput(alphabet, 6, [&](const Bytes& text) {
            const bool equal = reference::find(text, needle) == findIn(finder, text);
            EXPECT_TRUE(equal) << shown(needle) << " in " << shown(text);
            return equal;
        });
    });
    EXPECT_TRUE(held);
}

// After many false matches the search goes another way.
TEST(Find, EveryTextAndNeedleAfterManyFalseMatches) {
    const Bytes alphabet = bytesOf("ab");
    const bool held = forEveryInput(alphabet, 5, [&](const Bytes& needle) {
        if (needle.size() < 2) return true;
        const Finders finder(needle.data(), needle.size());
        Bytes places;
        for (int i = 0; i < 100; ++i) places.insert(places.end(), {needle.front(), 'z'});
        return forEveryInput(alphabet, 8, [&](const Bytes& text) {
            Bytes whole = places;
            whole.insert(whole.end(), text.begin(), text.end());
            const bool equal = reference::find(whole, needle) == findIn(finder, whole);
            EXPECT_TRUE(equal) << shown(needle) << " after false places in " << shown(text);
            return equal;
        });
    });
    EXPECT_TRUE(held);
}

// Long needles with every kind of period; the texts are made of them, so that many near matches stand in
// them.
TEST(Find, EveryNeedleUpToTwelveOverTwoLettersInTextsMadeOfIt) {
    forEveryInput(bytesOf("ab"), 12, [&](const Bytes& needle) {
        if (needle.size() < 6) return true;
        Bytes text;
        for (size_t cut = 0; cut < needle.size(); ++cut) {
            text.insert(text.end(), needle.begin() + static_cast<ptrdiff_t>(cut), needle.end());
            text.insert(text.end(), needle.begin(), needle.end() - static_cast<ptrdiff_t>(cut));
        }
        expectAllOccurrences(text, needle);
        return !testing::Test::HasFailure();
    });
}

TEST(Find, RandomTextsAndNeedles) {
    Random random(7);
    const Bytes alphabets[] = {bytesOf("ab"), bytesOf("abcd"), bytesOf("-=_\r\n"), Bytes{0, 255, 128, 127}};
    for (int round = 0; round < 3000; ++round) {
        const Bytes& alphabet = alphabets[random.below(std::size(alphabets))];
        const Bytes needle = random.bytes(alphabet, 1 + random.below(40));
        Bytes text = random.bytes(alphabet, random.below(200));
        for (size_t count = random.below(3); count > 0; --count) {
            const size_t place = random.below(text.size() + 1);
            text.insert(text.begin() + static_cast<ptrdiff_t>(place), needle.begin(), needle.end());
        }
        expectAllOccurrences(text, needle);
    }
}

TEST(Find, RandomPeriodicNeedlesInPeriodicTexts) {
    Random random(11);
    const Bytes alphabet = bytesOf("ab");
    for (int round = 0; round < 1000; ++round) {
        const Bytes unit = random.bytes(alphabet, 1 + random.below(7));
        Bytes needle;
        const size_t needleLength = 1 + random.below(30);
        while (needle.size() < needleLength) needle.push_back(unit[needle.size() % unit.size()]);
        Bytes text;
        while (text.size() < 150) {
            const size_t run = random.below(40);
            for (size_t i = 0; i < run; ++i) text.push_back(unit[i % unit.size()]);
            text.push_back(random.below(4) == 0 ? uint8_t{'c'} : uint8_t{'a'});
        }
        expectAllOccurrences(text, needle);
    }
}

// A boundary of equal letters, in a body of the same letter: found where it stands, and not found where one
// is missing.
TEST(Find, TwoThousandEqualLetters) {
    Bytes needle(2000, 'x');
    needle.insert(needle.begin(), 2, '-');
    Bytes text(4096, 'x');
    EXPECT_EQ(kNotFound, findOnce(text, needle));
    text[2095] = '-';
    text[2094] = '-';
    EXPECT_EQ(2094u, findOnce(text, needle));
    text[2094] = 'x';
    EXPECT_EQ(kNotFound, findOnce(text, needle));

    const Bytes letters(2000, 'x');
    text.assign(4096, 'x');
    EXPECT_EQ(0u, findOnce(text, letters));
    for (size_t place = 0; place < text.size(); place += 1999) text[place] = 'y';
    EXPECT_EQ(kNotFound, findOnce(text, letters));
    Bytes lastDiffers = letters;
    lastDiffers.back() = 'y';
    text.assign(4096, 'x');
    EXPECT_EQ(kNotFound, findOnce(text, lastDiffers));
    text.back() = 'y';
    EXPECT_EQ(2096u, findOnce(text, lastDiffers));
}

TEST(Find, NeedlesLongerThanABlock) {
    Random random(13);
    const Bytes needle = random.bytes(bytesOf("ab"), 5000);
    Bytes text = random.bytes(bytesOf("ab"), 9000);
    EXPECT_EQ(kNotFound, findOnce(text, needle));
    text.insert(text.begin() + 4321, needle.begin(), needle.end());
    EXPECT_EQ(4321u, findOnce(text, needle));
}

TEST(IndexAfterLast, Rows) {
    const auto place = [](const std::string& text, char byte) {
        const Bytes bytes = bytesOf(text.c_str());
        return eml::indexAfterLast(bytes.data(), bytes.size(), static_cast<uint8_t>(byte));
    };
    EXPECT_EQ(place("", 'a'), 0u);
    EXPECT_EQ(place("b", 'a'), 0u);
    EXPECT_EQ(place("a", 'a'), 1u);
    EXPECT_EQ(place("abab", 'a'), 3u);
    EXPECT_EQ(place("abab", 'b'), 4u);
    EXPECT_EQ(place(std::string(100, 'x') + "a" + std::string(70, 'y'), 'a'), 101u);
}

}  // namespace
