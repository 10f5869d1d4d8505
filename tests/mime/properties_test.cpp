// What holds for every message: fixtures, random ones, and both with damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "faults/mime_session.h"
#include "faults/sweep_runs.h"
#include "mime/opened_mime.h"
#include "mime/part_tree.h"
#include "mime/roles.h"
#include "reference/mail_decoders.h"
#include "support/kernel_sets.h"
#include "support/random_messages.h"

namespace eml::test {
namespace {

// EMLREADER_TEST_ROUNDS=N takes N times as many random messages.
uint64_t rounds() {
    const char* const text = std::getenv("EMLREADER_TEST_ROUNDS");
    return text == nullptr ? 1 : std::max<uint64_t>(std::strtoull(text, nullptr, 10), 1);
}

// Random messages, a third of them with damage.
template <class Check>
void forRandomMessages(uint64_t seed, uint32_t count, Check check) {
    for (uint64_t i = 0; i < count * rounds(); ++i) {
        MessageMaker maker(seed + i);
        std::string message = maker.any();
        if (i % 3 == 0) message = maker.damaged(std::move(message));
        SCOPED_TRACE("seed " + std::to_string(seed + i));
        check(message);
        if (testing::Test::HasFailure()) return;
    }
}

// The fixtures, each with a few bytes changed.
template <class Check>
void forMutatedFixtures(uint64_t seed, Check check) {
    MessageMaker maker(seed);
    for (const Scene& scene : scenesOf(Reader::kMime)) {
        if (scene.flags != 0 || scene.message.size() > 60000) continue;
        SCOPED_TRACE(scene.name + " with damage");
        check(maker.damaged(std::string(scene.message)));
        if (testing::Test::HasFailure()) return;
    }
}

// The answers of every call. With `backwards` the calls come in the other order.
std::string answersOf(MimeSession& session, bool backwards = false) {
    std::vector<Step> steps = session.steps();
    std::vector<std::string> answers(steps.size());
    for (size_t i = 0; i < steps.size(); ++i) {
        const size_t at = backwards ? steps.size() - 1 - i : i;
        const Answer answer = session.run(steps[at]);
        answers[at] = std::string(callName(steps[at].call)) + " " + std::to_string(steps[at].number) + ": " +
                      std::to_string(answer.code) + " " + answer.text + "\n";
    }
    std::string all;
    for (const std::string& answer : answers) all += answer;
    return all;
}

std::string answersOf(std::string_view message, HostOptions options, bool backwards = false) {
    MimeSession session({"", message, Reader::kMime, 0}, [&] {
        options.largestRead = 64 << 10;
        return options;
    }());
    if (session.open() != EML_OK) return "not opened";
    return answersOf(session, backwards);
}

void expectSpansMakeUp(const std::string& message) {
    const OpenedMime opened(message);
    ASSERT_NE(opened.context(), nullptr);
    EXPECT_EQ(opened.spanProblems(message), "");
}

TEST(MimeProperties, SpansMakeUpRandomMessages) {
    forRandomMessages(1, 400, expectSpansMakeUp);
    forMutatedFixtures(2, expectSpansMakeUp);
}

// Every part but the first lies in the body of its parent, and after the sibling before it.
void expectTree(const std::string& message) {
    const OpenedMime opened(message);
    std::vector<uint64_t> used(emlMimePartCount(opened.context()), 0);
    for (uint32_t i = 1; i < used.size(); ++i) {
        const EmlMimePart part = opened.part(i);
        ASSERT_LT(part.parent, i);
        const EmlMimePart parent = opened.part(part.parent);
        EXPECT_EQ(part.depth, parent.depth + 1);
        EXPECT_LE(part.ordinal, parent.childCount);
        EXPECT_GE(part.header.offset, std::max(parent.body.offset, used[part.parent])) << "part " << i;
        EXPECT_LE(part.body.offset + part.body.length, parent.body.offset + parent.body.length)
            << "part " << i;
        used[part.parent] = part.body.offset + part.body.length;
    }
}

TEST(MimeProperties, PartsAreATree) {
    forRandomMessages(100000, 400, expectTree);
    forMutatedFixtures(3, expectTree);
}

// A message that is cut off opens, and every call works on it.
TEST(MimeProperties, AnyCutEndsCleanly) {
    std::mt19937_64 random(7);
    forRandomMessages(200000, 40, [&random](const std::string& message) {
        for (int i = 0; i < 4; ++i) {
            const std::string cut = message.substr(0, static_cast<size_t>(random() % (message.size() + 1)));
            expectSpansMakeUp(cut);
            EXPECT_EQ(answersOf(cut, {}).find("not opened"), std::string::npos);
        }
    });
}

TEST(MimeProperties, TheSizeOfReadsDoesNotShow) {
    static constexpr uint32_t kMax[] = {1, 2, 3, 7, 4095, 4096, 65535};
    size_t next = 0;
    const auto check = [&next](const std::string& message) {
        const std::string expected = answersOf(message, {});
        for (size_t i = 0; i < std::size(kMax); ++i) {
            // All of them for a few messages, one for the others.
            if (next % 8 != 0 && i != next % std::size(kMax)) continue;
            HostOptions options;
            options.mostDelivered = kMax[i];
            EXPECT_TRUE(answersOf(message, options) == expected) << "reads of " << kMax[i];
        }
        ++next;
    };
    forRandomMessages(300000, 40, check);
    forMutatedFixtures(4, check);
}

TEST(MimeProperties, TheOrderOfCallsDoesNotShow) {
    const auto check = [](const std::string& message) {
        EXPECT_TRUE(answersOf(message, {}) == answersOf(message, {}, true));
    };
    forRandomMessages(400000, 60, check);
    forMutatedFixtures(5, check);
}

// What openMime does, with kernels of the test's choice.
EmlMimeContext* openWith(MimeSession& session, const DecodeKernels& kernels) {
    EmlAllocator& allocator = session.host().services().allocator;
    EmlIOobj& input = session.host().input();
    if (input.open(&input) == 0) return nullptr;
    auto* const context = allocateRecords<EmlMimeContext>(allocator);
    context->allocator = &allocator;
    context->input = &input;
    context->options = session.options();
    context->options.maxDepth = 100;
    context->options.maxParts = 100000;
    context->options.maxHeaderBytes = 1 << 20;
    context->options.maxDefects = 10000;
    context->kernels = &kernels;
    context->block = static_cast<uint8_t*>(allocateBlock(allocator, kMimeBlockSize));
    EXPECT_EQ(PartTree(*context).build(), EML_OK);
    EXPECT_EQ(assignRoles(*context), EML_OK);
    return context;
}

TEST(MimeProperties, TheKernelsDoNotShow) {
    const auto check = [](const std::string& message) {
        const std::string expected = answersOf(message, {});
        for (const DecodeKernels* const kernels : kernelSets()) {
            MimeSession session({"", message, Reader::kMime, 0}, {});
            session.adopt(openWith(session, *kernels));
            EXPECT_TRUE(answersOf(session) == expected);
        }
    };
    forRandomMessages(500000, 40, check);
    forMutatedFixtures(6, check);
}

bool hasContentDefect(const OpenedMime& opened, uint32_t part) {
    for (uint32_t i = 0; i < emlMimeDefectCount(opened.context()); ++i) {
        EmlMimeDefect defect{};
        EXPECT_EQ(emlMimeGetDefect(opened.context(), i, &defect), EML_OK);
        if (defect.part == part && defect.code >= EML_MIME_DEFECT_BASE64_CHARACTER) return true;
    }
    return false;
}

// The decoded content of every leaf in base64 or quoted-printable, as the slow reference has it.
uint32_t compareContents(const std::string& message) {
    OpenedMime opened(message);
    uint32_t compared = 0;
    for (uint32_t i = 0; i < emlMimePartCount(opened.context()); ++i) {
        const EmlMimePart part = opened.part(i);
        if ((part.flags & (EML_MIME_PART_MULTIPART | EML_MIME_PART_MESSAGE)) != 0) continue;
        const std::string content = opened.content(i);
        const std::string raw =
            message.substr(static_cast<size_t>(part.body.offset), static_cast<size_t>(part.body.length));
        if (part.encoding == EML_MIME_ENCODING_NONE || part.encoding == EML_MIME_ENCODING_8BIT) {
            EXPECT_EQ(content, raw);
        }
        if (hasContentDefect(opened, i)) continue;
        if (part.encoding == EML_MIME_ENCODING_BASE64) {
            EXPECT_EQ(content, reference::textOf(reference::decodeMailBase64(reference::bytesOf(raw)).bytes));
        } else if (part.encoding == EML_MIME_ENCODING_QUOTED_PRINTABLE) {
            EXPECT_EQ(content,
                      reference::textOf(reference::decodeMailQuotedPrintable(reference::bytesOf(raw)).bytes));
        } else {
            continue;
        }
        if (!content.empty()) ++compared;
    }
    return compared;
}

// A text in base64 or quoted-printable, made of pieces that break no rule.
std::string encodedText(MessageMaker& maker) {
    static constexpr std::string_view kBase64[] = {"TWFu", "TWFu\n", "//+/", "AAAA\r\n", "TW\nFu", " "};
    static constexpr std::string_view kQuoted[] = {"=41", "=c3=A9", "a b",  "x \n",
                                                   "=\n", "= \t\n", "\r\n", "-"};
    const bool isBase64 = maker.below(2) == 0;
    std::string message =
        std::string("Content-Transfer-Encoding: ") + (isBase64 ? "base64" : "quoted-printable") + "\n\n";
    const size_t pieces = 1 + maker.below(4000);
    for (size_t i = 0; i < pieces; ++i) {
        message +=
            isBase64 ? kBase64[maker.below(std::size(kBase64))] : kQuoted[maker.below(std::size(kQuoted))];
    }
    return message + (isBase64 ? "TWE=\n" : "end\n");
}

TEST(MimeProperties, ContentIsWhatTheReferenceDecodes) {
    uint32_t compared = 0;
    const auto check = [&compared](const std::string& message) { compared += compareContents(message); };
    forRandomMessages(600000, 400, check);
    forMutatedFixtures(7, check);
    MessageMaker maker(8);
    for (uint64_t i = 0; i < 200 * rounds(); ++i) check(encodedText(maker));
    EXPECT_GE(compared, 200U) << "too few contents to say anything";
}

}  // namespace
}  // namespace eml::test
