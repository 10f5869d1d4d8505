#include "tool/batch/thread_rows.h"

#include <gtest/gtest.h>

#include "tool/batch/row_facts.h"
#include "tool/text/format.h"
#include "tool/text/needs_sha256.h"

namespace emltool {
namespace {

class ThreadRowsTest : public NeedsSha256 {};

std::string rowOf(std::string_view path, std::string_view ids) {
    return formatted(
        R"({{"schema":"eml/2","source":{{"path":"{}"}},"reader":"mime","status":"ok","warnings":[],)"
        R"("message":{{"name":"x",{},"sub_files":[],"text":"y"}}}})",
        path, ids);
}

constexpr const char* kFirst =
    R"("metadata":{"from":null,"subject":"Plan"},"message_id":"a@x","in_reply_to":[],"references":[],"subject_base":"Plan")";
constexpr const char* kSecond =
    R"("metadata":{"from":null,"subject":"Other"},"message_id":"b@x","in_reply_to":["a@x","z@x"],"references":[],"subject_base":"Other")";

std::vector<std::string> completed(const std::vector<std::string>& rows) {
    ThreadRows threads;
    for (const std::string& row : rows) threads.add(row);
    threads.find();
    std::vector<std::string> changed;
    for (const std::string& row : rows) threads.complete(row, changed.emplace_back());
    return changed;
}

std::string withThread(std::string row, std::string_view id) {
    ThreadFinder finder;
    finder.add({"p", {}, id, {}, "", false});
    row.pop_back();
    return row + formatted(R"(,"thread":"{}"}})", threadText(finder.find().front()));
}

TEST(RowFacts, AreWhatTheRowSays) {
    RowFacts facts;
    ASSERT_EQ(readRowFacts(rowOf("a\\\"b.eml", kSecond), facts), true);
    EXPECT_EQ(facts.path, "a\"b.eml");
    EXPECT_EQ(facts.index.has_value(), false);
    EXPECT_EQ(facts.subject, "Other");
    ASSERT_EQ(facts.threadFields.has_value(), true);
    EXPECT_EQ(facts.threadFields->messageId, "b@x");
    EXPECT_EQ(facts.threadFields->inReplyTo, (std::vector<std::string>{"a@x", "z@x"}));
    EXPECT_EQ(facts.threadFields->references, std::vector<std::string>());
}

TEST(RowFacts, OfAPlaceInAnMbox) {
    RowFacts facts;
    ASSERT_EQ(
        readRowSource(R"({"schema":"eml/2","source":{"path":"?","path_b64":"bf9tYm94","index":12,"offset":3,)"
                      R"("maildir_flags":["seen"]},"reader":"mime"})",
                      facts),
        true);
    EXPECT_EQ(facts.path, "m\xFFmbox");
    EXPECT_EQ(facts.index, 12u);
}

TEST(RowFacts, ThoseOfMessagesInsideAreNotTheMessages) {
    const std::string inside = formatted(R"("sub_files":[{{"message":{{{}}}}}],{})", kSecond, kFirst);
    RowFacts facts;
    ASSERT_EQ(
        readRowFacts(
            rowOf("a", R"("metadata":{"subject":null},"message_id":"c@x","references":[],)" + inside), facts),
        true);
    EXPECT_EQ(facts.threadFields->messageId, "c@x");
    EXPECT_EQ(facts.threadFields->inReplyTo.empty(), true);
    EXPECT_EQ(facts.subject, "");
}

TEST(RowFacts, OfARowThatIsNone) {
    RowFacts facts;
    for (const char* row : {"", "x", "{}", R"({"schema":"eml/2"})", R"({"source":{"path":"a")"}) {
        EXPECT_EQ(readRowSource(row, facts), false) << row;
    }
    // No recursion, so no depth is too much.
    std::string deep = R"({"schema":"eml/2","source":{"path":")";
    deep += R"(a","b":)" + std::string(1'000'000, '[');
    EXPECT_EQ(readRowSource(deep, facts), false);
}

TEST_F(ThreadRowsTest, GetTheConversationAtTheirEnd) {
    const std::string first = rowOf("1.eml", kFirst);
    const std::string second = rowOf("2.eml", kSecond);
    EXPECT_EQ(completed({second, first}),
              (std::vector<std::string>{withThread(second, "a@x") + "\n", withThread(first, "a@x") + "\n"}));
}

TEST_F(ThreadRowsTest, WhatAnEarlierRunHasAddedIsReplaced) {
    const std::string second = rowOf("2.eml", kSecond);
    const std::string alone = withThread(second, "q@x");
    EXPECT_EQ(completed({alone}), std::vector<std::string>{withThread(second, "a@x") + "\n"});
}

TEST_F(ThreadRowsTest, ATextThatLooksLikeAConversationStays) {
    const std::string row =
        rowOf("1.eml", std::string(kFirst) + R"(,"protection":"\",\"thread\":\"0123456789abcdef\"}")");
    EXPECT_EQ(completed({row}), std::vector<std::string>{withThread(row, "a@x") + "\n"});
}

TEST_F(ThreadRowsTest, WithoutAMessageOrIdsStayAsTheyAre) {
    const std::string error =
        R"({"schema":"eml/2","source":{"path":"a"},"reader":"mime","status":"error","error":{},"warnings":[]})";
    const std::string noIds = rowOf("b.eml", R"("metadata":{"subject":"Plan"})");
    EXPECT_EQ(completed({error, rowOf("1.eml", kFirst), noIds}),
              (std::vector<std::string>{error + "\n", withThread(rowOf("1.eml", kFirst), "a@x") + "\n",
                                        noIds + "\n"}));
}

}  // namespace
}  // namespace emltool
