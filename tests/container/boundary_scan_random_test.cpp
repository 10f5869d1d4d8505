// The open against the reference model, over random messages.
#include <gtest/gtest.h>

#include <cstdlib>

#include "container/container_context.h"
#include "support/opened_message.h"
#include "support/random_messages.h"
#include "support/reference_scan.h"

namespace eml::test {
namespace {

constexpr uint32_t kFlagChoices[] = {0, EML_OPEN_CONVERTED_ATTACHMENTS, EML_OPEN_ROOT_FOLDER, 0xFFFFFFFF};

std::string librarySections(const std::string& message, uint32_t flags) {
    RecordingHost host(message);
    OpenedMessage opened(host, flags);
    return dumpSections(*opened.context(), opened.result());
}

bool agree(const std::string& message, uint32_t flags) {
    return librarySections(message, flags) == dumpSections(referenceOpen(message, flags));
}

// The message cut down to what still shows the difference.
std::string smallest(std::string message, uint32_t flags) {
    for (size_t piece = message.size() / 2; piece != 0; piece /= 2) {
        for (size_t at = 0; at + piece <= message.size();) {
            std::string shorter = message;
            shorter.erase(at, piece);
            if (agree(shorter, flags)) {
                at += piece;
            } else {
                message = std::move(shorter);
            }
        }
    }
    return message;
}

void compare(const std::string& message, uint32_t flags, uint64_t seed) {
    if (agree(message, flags)) return;
    const std::string small = smallest(message, flags);
    ADD_FAILURE() << "seed " << seed << ", flags " << flags << ", message \"" << escaped(small)
                  << "\"\nexpected:\n"
                  << dumpSections(referenceOpen(small, flags)) << "got:\n"
                  << librarySections(small, flags);
}

// EMLREADER_TEST_ROUNDS=n makes n times as many messages.
uint64_t rounds() {
    const char* text = std::getenv("EMLREADER_TEST_ROUNDS");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 1;
}

template <class Make>
void compareMany(uint64_t firstSeed, uint64_t count, Make make) {
    for (uint64_t seed = firstSeed; seed < firstSeed + count * rounds(); ++seed) {
        MessageMaker maker(seed);
        const std::string message = make(maker);
        compare(message, kFlagChoices[maker.below(4)], seed);
        if (::testing::Test::HasFailure()) return;
    }
}

TEST(RandomScan, AnyFragmentsGiveTheSectionsOfTheModel) {
    compareMany(1, 12000, [](MessageMaker& maker) { return maker.soup(); });
}

TEST(RandomScan, WellFormedTreesGiveTheSectionsOfTheModel) {
    compareMany(100000, 4000, [](MessageMaker& maker) { return maker.tree(); });
}

TEST(RandomScan, DamagedTreesGiveTheSectionsOfTheModel) {
    compareMany(200000, 6000, [](MessageMaker& maker) { return maker.damaged(maker.tree()); });
}

TEST(RandomScan, FragmentsAtBlockBordersGiveTheSectionsOfTheModel) {
    compareMany(300000, 3000, [](MessageMaker& maker) { return maker.atBlockBorder(maker.soup()); });
}

TEST(RandomScan, TreesAtBlockBordersGiveTheSectionsOfTheModel) {
    compareMany(400000, 3000, [](MessageMaker& maker) {
        return maker.atBlockBorder(maker.atBlockBorder(maker.damaged(maker.tree())));
    });
}

// A body that is not encoded is extracted as it stands, wherever it lies.
TEST(RandomScan, RawAttachmentsAreTheBytesOfTheirBody) {
    for (uint64_t seed = 500000; seed < 501500; ++seed) {
        MessageMaker maker(seed);
        const std::string message = maker.any();
        RecordingHost host(message);
        OpenedMessage opened(host);
        for (int32_t k = 1; k <= opened.context()->attachmentCount; ++k) {
            const EmlSection& section = *opened.context()->attachments[k - 1];
            if (section.encoding == TransferEncoding::kBase64 ||
                section.encoding == TransferEncoding::kQuotedPrintable)
                continue;
            const std::string expected =
                message.substr(static_cast<size_t>(section.bodyStart),
                               static_cast<size_t>(section.bodyEnd - section.bodyStart));
            ASSERT_EQ(escaped(opened.extract(k).bytes), escaped(expected)) << "seed " << seed;
        }
    }
}

}  // namespace
}  // namespace eml::test
