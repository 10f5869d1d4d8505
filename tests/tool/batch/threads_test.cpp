#include "tool/batch/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>
#include <set>

#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/needs_sha256.h"
#include "tool/text/sha256.h"

namespace emltool {
namespace {

class ThreadsTest : public NeedsSha256 {};
class ThreadsOfMany : public NeedsSha256 {};

struct Mail {
    std::string id = {};
    std::vector<std::string> references = {};
    std::string subject = {};
    bool isReply = false;
    std::string path = {};
    std::optional<uint64_t> index = std::nullopt;
};

using Mails = std::vector<Mail>;

// "000.eml", "001.eml" in their order, where the test does not say.
Mails inOrder(Mails mails) {
    for (size_t i = 0; i < mails.size(); ++i) {
        if (mails[i].path.empty()) mails[i].path = formatted("{:03}.eml", i);
    }
    return mails;
}

std::vector<uint64_t> threadsOf(const Mails& mails) {
    ThreadFinder finder;
    for (const Mail& mail : mails)
        finder.add({mail.path, mail.index, mail.id, mail.references, mail.subject, mail.isReply});
    return finder.find();
}

// A letter for each conversation, in the order of the messages: "AAB".
std::string lettersOf(const std::vector<uint64_t>& threads) {
    std::map<uint64_t, char> letters;
    std::string text;
    for (const uint64_t thread : threads) {
        text += letters.try_emplace(thread, static_cast<char>('A' + letters.size())).first->second;
    }
    return text;
}

TEST_F(ThreadsTest, Rules) {
    const struct {
        const char* rule;
        Mails mails;
        const char* threads;
    } rows[] = {
        {"nothing", {}, ""},
        {"messages that name nothing", {{}, {}}, "AB"},
        {"messages of different ids", {{"a"}, {"b"}}, "AB"},
        {"a reply", {{"a"}, {"b", {"a"}}}, "AA"},
        {"a reply that comes first", {{"b", {"a"}}, {"a"}}, "AA"},
        {"a reply to a reply", {{"a"}, {"b", {"a"}}, {"c", {"b"}}}, "AAA"},
        {"replies to a message that is not there", {{"b", {"a"}}, {"c", {"a"}}}, "AA"},
        {"a message between is not there", {{"a"}, {"c", {"a", "b"}}}, "AA"},
        {"references that only ids in the middle have in common",
         {{"c", {"a", "b", "x"}}, {"d", {"a", "b", "y"}}},
         "AA"},
        {"a message without an id that answers", {{"a"}, {"", {"a"}}}, "AA"},
        {"ids are compared with their case", {{"a"}, {"b", {"A"}}}, "AB"},
        {"quotes without need do not count", {{"\"a\"@x"}, {"b", {"a@x"}}}, "AA"},
        {"quotes with need do", {{"\"a b\"@x"}, {"b", {"a b@x"}}}, "AB"},

        {"its own id is no reference", {{"a"}, {"b", {"a", "b"}}}, "AA"},
        {"nothing but its own id", {{"a", {"a"}}, {"b"}}, "AB"},
        {"two that answer each other", {{"a", {"b"}}, {"b", {"a"}}}, "AA"},
        {"a circle of three", {{"a", {"c"}}, {"b", {"a"}}, {"c", {"b"}}}, "AAA"},
        {"a circle in references alone", {{"x", {"a", "b"}}, {"y", {"b", "a"}}}, "AA"},

        {"what a message says of itself counts more than what others say of it",
         {{"a"}, {"b", {"c"}}, {"m", {"a", "b"}}},
         "ABB"},
        {"in whatever order", {{"m", {"a", "b"}}, {"b", {"c"}}, {"a"}}, "AAB"},
        {"what says nothing of itself stands where others put it", {{"a"}, {"b"}, {"m", {"a", "b"}}}, "AAA"},
        {"where the first of them put it", {{"a"}, {"b"}, {"x", {"a", "c"}}, {"y", {"b", "c"}}}, "ABAA"},

        {"an id belongs to the first message that has it", {{"a"}, {"a"}, {"b", {"a"}}}, "ABA"},
        {"a second one with it is where its references are", {{"r"}, {"a", {"r"}}, {"a", {"r"}}}, "AAA"},
        {"or where its own are", {{"a", {"r"}}, {"a", {"s"}}, {"s"}}, "ABB"},

        {"roots of one subject", {{"a", {}, "Plan"}, {"b", {}, "Plan"}, {"c", {}, "Other"}}, "AAB"},
        {"but for the case of ASCII letters", {{"", {}, "Plan"}, {"", {}, "PLAN", true}}, "AA"},
        {"trees of one subject",
         {{"a", {}, "Plan"}, {"b", {"a"}, "x"}, {"c", {"z"}, "Plan", true}, {"d", {"c"}, "y"}},
         "AAAA"},
        {"the subjects of replies join nothing", {{"a", {}, "A"}, {"b", {"a"}, "B"}, {"c", {}, "B"}}, "AAB"},
        {"a tree without its root has the subject of its first message",
         {{"b", {"a"}, "B"}, {"c", {"a"}, "C"}, {"", {}, "B"}, {"", {}, "C"}},
         "AAAB"},
        {"which no other message stands above",
         {{"z", {"y"}, "Z"}, {"y", {"x"}, "Y"}, {"", {}, "Z"}, {"", {}, "Y"}},
         "AABA"},
        {"no subject", {{"a", {}, ""}, {"b", {}, ""}}, "AB"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(lettersOf(threadsOf(inOrder(row.mails))), row.threads);
    }
}

std::string beginningOfDigest(std::string_view text) { return hexText(Sha256::of(text)).substr(0, 16); }

TEST_F(ThreadsTest, TheIdentifierIsThatOfTheRoot) {
    using std::string_literals::operator""s;
    const struct {
        const char* rule;
        Mails mails;
        std::string text;  // whose digest identifies the conversation of the last message
    } rows[] = {
        {"the message", {{"a@x"}}, "a@x"},
        {"the first of a chain", {{"a@x"}, {"b@x", {"a@x"}}, {"c@x", {"b@x"}}}, "a@x"},
        {"one that is not there", {{"c@x", {"a@x", "b@x"}}}, "a@x"},
        {"quotes without need do not count", {{"\"a\"@x"}}, "a@x"},
        {"a message without an id",
         {{}},
         "\000"
         "000.eml"s},
        {"a message of an mbox", {{"", {}, "", false, "in.mbox", 7}}, "\0in.mbox\0007"s},
        {"the second of an id",
         {{"a@x"}, {"a@x"}},
         "\000"
         "001.eml"s},
        {"of one subject: what is no reply",
         {{"a@x", {}, "S", true}, {"b@x", {}, "S"}, {"c@x", {}, "S"}},
         "b@x"},
        {"of replies of one subject: the first", {{"b@x", {}, "S", true}, {"a@x", {}, "S", true}}, "b@x"},
        {"paths are in the order of their bytes",
         {{"b@x", {}, "S", false, "b.eml"}, {"a@x", {}, "S", false, "B.eml"}},
         "a@x"},
        {"indexes in that of their values",
         {{"a@x", {}, "S", false, "m", 10}, {"b@x", {}, "S", false, "m", 9}},
         "b@x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(threadText(threadsOf(inOrder(row.mails)).back()), beginningOfDigest(row.text));
    }
    EXPECT_EQ(threadText(0x1F), "000000000000001f");
}

// The same rules with maps and walks.
class PlainFinder {
  public:
    explicit PlainFinder(const Mails& mails) : mails_(mails) {
        for (size_t i = 0; i < mails_.size(); ++i) order_.push_back(i);
        std::ranges::sort(order_, [this](size_t a, size_t b) { return mails_[a].path < mails_[b].path; });
        for (const size_t i : order_) {
            const std::string& id = mails_[i].id;
            const bool isOwn = !id.empty() && there_.insert(id).second;
            names_[i] = isOwn ? id : std::string(1, '\0') + mails_[i].path;
            there_.insert(names_[i]);
        }
        for (const size_t i : order_) {
            if (const auto ids = references(i); !ids.empty()) link(ids.back(), names_[i]);
        }
        for (const size_t i : order_) {
            const auto ids = references(i);
            for (size_t k = 1; k < ids.size(); ++k) link(ids[k - 1], ids[k]);
        }
    }

    std::vector<std::string> roots() {
        // For each subject the trees with it, what is no reply first.
        std::map<std::string, std::map<std::pair<bool, size_t>, std::string>> subjects;
        std::set<std::string> known;
        std::map<std::string, std::string> joined;
        for (size_t place = 0; place < order_.size(); ++place) {
            const Mail& mail = mails_[order_[place]];
            const std::string root = rootOf(names_[order_[place]]);
            if (hasMessageAbove(names_[order_[place]]) || !known.insert(root).second) continue;
            if (!mail.subject.empty()) subjects[lowerCase(mail.subject)][{mail.isReply, place}] = root;
        }
        for (const auto& [subject, trees] : subjects) {
            for (const auto& [place, root] : trees) joined[root] = trees.begin()->second;
        }
        std::vector<std::string> roots;
        for (size_t i = 0; i < mails_.size(); ++i) {
            const std::string root = rootOf(names_[i]);
            roots.push_back(joined.contains(root) ? joined[root] : root);
        }
        return roots;
    }

  private:
    std::vector<std::string> references(size_t mail) const {
        std::vector<std::string> ids;
        for (const std::string& id : mails_[mail].references) {
            if (id != mails_[mail].id) ids.push_back(id);
        }
        return ids;
    }
    void link(const std::string& parent, const std::string& child) {
        if (!parents_.contains(child) && rootOf(parent) != child) parents_[child] = parent;
    }
    std::string rootOf(std::string name) const {
        while (parents_.contains(name)) name = parents_.at(name);
        return name;
    }
    bool hasMessageAbove(std::string name) const {
        while (parents_.contains(name)) {
            name = parents_.at(name);
            if (there_.contains(name)) return true;
        }
        return false;
    }

    const Mails& mails_;
    std::vector<size_t> order_;
    std::map<size_t, std::string> names_;
    std::set<std::string> there_;
    std::map<std::string, std::string> parents_;
};

Mails someMails(std::mt19937& random, size_t count, size_t ids) {
    const auto below = [&random](size_t limit) { return random() % limit; };
    const auto id = [&] { return formatted("i{}", below(ids)); };
    Mails mails(count);
    for (Mail& mail : mails) {
        if (below(8) != 0) mail.id = id();
        for (size_t left = below(5); left > 0; --left) mail.references.push_back(id());
        if (below(3) == 0) mail.subject = formatted("{}{}", below(2) == 0 ? 'S' : 's', below(count));
        mail.isReply = below(2) == 0;
    }
    return inOrder(mails);
}

TEST_F(ThreadsTest, AreThoseOfPlainWalksInWhateverOrderMessagesCome) {
    std::mt19937 random(5256);
    size_t joined = 0;
    for (size_t round = 0; round < 3000; ++round) {
        const size_t count = 2 + random() % 12;
        Mails mails = someMails(random, count, 2 + random() % (2 * count));
        std::ranges::shuffle(mails, random);
        std::vector<std::string> expected;
        for (const std::string& root : PlainFinder(mails).roots())
            expected.push_back(beginningOfDigest(root));
        std::vector<std::string> found;
        for (const uint64_t thread : threadsOf(mails)) found.push_back(threadText(thread));
        ASSERT_EQ(found, expected) << "round " << round;
        if (std::set(found.begin(), found.end()).size() < count) ++joined;
    }
    EXPECT_GT(joined, 1000u);
}

constexpr size_t kMany = 10'000;

std::string numbered(size_t number) { return formatted("{}@x", number); }

std::string pathOf(size_t number) { return formatted("{:07}", number); }

// A step for each link, one for each message and some for the ways between: the square of the number would be
// thousands of times as many.
size_t countWithinBudget(ThreadFinder& finder) {
    constexpr uint64_t kSteps = 5;
    const std::vector<uint64_t> threads = finder.find();
    EXPECT_LE(finder.steps(), kSteps * kMany);
    return std::set(threads.begin(), threads.end()).size();
}

// The number of conversations of kMany messages.
template <typename Describe>
size_t countOfMany(Describe describe) {
    ThreadFinder finder;
    for (size_t i = 0; i < kMany; ++i) {
        Mail mail;
        mail.path = pathOf(i);
        describe(i, mail);
        finder.add({mail.path, mail.index, mail.id, mail.references, mail.subject, mail.isReply});
    }
    return countWithinBudget(finder);
}

TEST_F(ThreadsOfMany, AChain) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.id = numbered(i);
                  if (i > 0) mail.references = {numbered(i - 1)};
              }),
              1u);
}

TEST_F(ThreadsOfMany, AChainFromItsEnd) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.id = numbered(i);
                  mail.references = {numbered(i + 1)};
              }),
              1u);
}

TEST_F(ThreadsOfMany, ACircle) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.id = numbered(i);
                  mail.references = {numbered((i + 1) % kMany)};
              }),
              1u);
}

TEST_F(ThreadsOfMany, PairsThatAnswerEachOther) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.id = numbered(i);
                  mail.references = {numbered(i ^ 1)};
              }),
              kMany / 2);
}

// One message puts all ids in a chain, which the others take apart and put together in another order.
TEST_F(ThreadsOfMany, AChainThatIsClaimedAndDenied) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.id = numbered(i);
                  if (i == 0) {
                      for (size_t k = 1; k < kMany; ++k) mail.references.push_back(numbered(k));
                  } else {
                      mail.references = {numbered(i * 7919 % kMany)};
                  }
              }) < kMany,
              true);
}

TEST_F(ThreadsOfMany, MessagesThatNameManyIds) {
    std::vector<std::string> ids;
    for (size_t i = 0; i < kMany; ++i) ids.push_back(numbered(i));
    ThreadFinder finder;
    for (const char* path : {"a", "b", "c"}) {
        finder.add({path, {}, "", ids, "", false});
        std::ranges::reverse(ids);
    }
    EXPECT_EQ(countWithinBudget(finder), 1u);
}

TEST_F(ThreadsOfMany, OneId) {
    EXPECT_EQ(countOfMany([](size_t, Mail& mail) { mail.id = "a@x"; }), kMany);
    EXPECT_EQ(countOfMany([](size_t, Mail& mail) {
                  mail.id = "a@x";
                  mail.references = {"b@x"};
              }),
              1u);
}

TEST_F(ThreadsOfMany, OneSubject) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.id = numbered(i);
                  mail.subject = "Plan";
              }),
              1u);
}

TEST_F(ThreadsOfMany, OnePath) {
    EXPECT_EQ(countOfMany([](size_t i, Mail& mail) {
                  mail.path = std::string(100, 'p');
                  mail.index = kMany - i;
              }),
              kMany);
}

}  // namespace
}  // namespace emltool
