// Which sections become the bodies of the message, and what becomes of the others.
#include <gtest/gtest.h>

#include "support/sections.h"

namespace eml::test {
namespace {

struct BodyCase {
    const char* rule;
    const char* type;
    std::string rest;  // "\n" stands for CR LF; the boundary is "b"
    const char* plain;
    const char* html;
    const char* rtf;
    std::vector<std::string> names;  // of the attachments
};

constexpr const char* kNo = "(none)";

const std::string kText = "\n\nplain\n";
const std::string kHtml = "\nContent-Type: text/html\n\nhtml\n";
const std::string kRtf = "\nContent-Type: application/rtf\n\nrtf\n";

std::string file(const std::string& name) { return "\nContent-Type: image/png; name=" + name + "\n\nfile\n"; }

std::string nested(const std::string& type, const std::string& boundary) {
    return "\nContent-Type: multipart/" + type + "; boundary=" + boundary + "\n\n";
}

const std::vector<BodyCase>& bodyCases() {
    static const std::vector<BodyCase> kCases = {
        {"mixed: the first part", "mixed", "--b" + kText + "--b" + kHtml + "--b--\n", "plain", kNo, kNo, {}},
        {"mixed: the first part, HTML",
         "mixed",
         "--b" + kHtml + "--b" + kText + "--b--\n",
         kNo,
         "html",
         kNo,
         {}},
        {"mixed: the first part, RTF", "mixed", "--b" + kRtf + "--b--\n", kNo, kNo, "rtf", {}},
        {"mixed: a first part of another class is no body",
         "mixed",
         "--b" + file("a") + "--b" + kText + "--b--\n",
         kNo,
         kNo,
         kNo,
         {"a"}},
        {"a named text part is body and attachment",
         "mixed",
         "--b\nContent-Type: text/plain; name=a\n\nplain\n--b--\n",
         "plain",
         kNo,
         kNo,
         {"a"}},
        {"alternative: the first of each class",
         "alternative",
         "--b" + kText + "--b\n\nsecond\n--b" + kHtml + "--b" + kRtf +
             "--b\nContent-Type: text/html\n\nno\n--b--\n",
         "plain",
         "html",
         "rtf",
         {}},
        {"alternative: the walk ends at the first attachment",
         "alternative",
         "--b" + kHtml + "--b" + file("a") + "--b" + kText + "--b--\n",
         kNo,
         "html",
         kNo,
         {"a"}},
        {"alternative in mixed",
         "mixed",
         "--b" + nested("alternative", "n") + "--n" + kText + "--n" + kHtml + "--n--\n--b" + file("a") +
             "--b--\n",
         "plain",
         "html",
         kNo,
         {"a"}},
        {"attachments of a nested alternative are not listed",
         "mixed",
         "--b" + nested("alternative", "n") + "--n" + kText + "--n" + file("lost") + "--n" + kHtml +
             "--n--\n--b--\n",
         "plain",
         kNo,
         kNo,
         {}},
        {"a nested alternative without parts",
         "mixed",
         "--b" + nested("alternative", "n") + "--b" + kText + "--b--\n",
         kNo,
         kNo,
         kNo,
         {}},
        {"alternative without a boundary is any other part",
         "mixed",
         "--b\nContent-Type: multipart/alternative\n\n--n" + kText + "--b--\n",
         kNo,
         kNo,
         kNo,
         {}},
        {"mixed in mixed is not looked into",
         "mixed",
         "--b" + nested("mixed", "n") + "--n" + kText + "--n--\n--b--\n",
         kNo,
         kNo,
         kNo,
         {}},
        {"related: its attachments come after the others",
         "mixed",
         "--b" + nested("related", "n") + "--n" + kHtml + "--n" + file("image") + "--n--\n--b" + file("a") +
             "--b--\n",
         kNo,
         "html",
         kNo,
         {"a", "image"}},
        {"related at the top: all parts stay",
         "related",
         "--b" + kHtml + "--b" + file("image") + "--b--\n",
         kNo,
         "html",
         kNo,
         {"image"}},
        {"alternative in related in mixed",
         "mixed",
         "--b" + nested("related", "n") + "--n" + nested("alternative", "m") + "--m" + kText + "--m" + kHtml +
             "--m--\n--n" + file("image") + "--n--\n--b" + file("a") + "--b--\n",
         "plain",
         "html",
         kNo,
         {"a", "image"}},
        {"related in related: the inner attachments come last",
         "mixed",
         "--b" + nested("related", "n") + "--n" + nested("related", "m") + "--m" + kHtml + "--m" +
             file("inner") + "--m--\n--n" + file("outer") + "--n--\n--b" + file("a") + "--b--\n",
         kNo,
         "html",
         kNo,
         {"a", "outer", "inner"}},
        {"related in alternative is not looked into",
         "alternative",
         "--b" + kText + "--b" + nested("related", "n") + "--n" + kHtml + "--n--\n--b--\n",
         "plain",
         kNo,
         kNo,
         {}},
        {"related without a boundary is any other part",
         "mixed",
         "--b\nContent-Type: multipart/related\n\n--n" + kHtml + "--b--\n",
         kNo,
         kNo,
         kNo,
         {}},
        {"signed: the chooser looks at the first part",
         "signed",
         "--b" + nested("alternative", "n") + "--n" + kText + "--n" + kHtml + "--n--\n--b" + file("s") +
             "--b--\n",
         "plain",
         "html",
         kNo,
         {"s"}},
        {"signed mixed: the signed parts take the place of the list",
         "signed",
         "--b" + nested("mixed", "n") + "--n" + kText + "--n" + file("a") + "--n--\n--b" + file("gone") +
             "--b--\n",
         "plain",
         kNo,
         kNo,
         {"a"}},
        {"signed mixed without parts keeps the list",
         "signed",
         "--b" + nested("mixed", "n") + "--b" + file("stays") + "--b--\n",
         kNo,
         kNo,
         kNo,
         {"stays"}},
        {"signed mixed whose first part is an alternative",
         "signed",
         "--b" + nested("mixed", "n") + "--n" + nested("alternative", "m") + "--m" + kText + "--m" + kHtml +
             "--m--\n--n" + file("a") + "--n--\n--b" + file("gone") + "--b--\n",
         "plain",
         "html",
         kNo,
         {"a"}},
        {"signed: a detached signature is no attachment",
         "signed",
         "--b" + kText + "--b\nContent-Type: application/pkcs7-signature; name=smime.p7s\n\nx\n--b--\n",
         "plain",
         kNo,
         kNo,
         {}},
    };
    return kCases;
}

TEST(Body, Chosen) {
    for (const BodyCase& row : bodyCases()) {
        SCOPED_TRACE(row.rule);
        const std::string message = multipart(row.type, row.rest);
        RecordingHost host(message);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.result(), EML_OK);
        const EmlContainerContext& context = *opened.context();
        EXPECT_EQ(bodyOf(message, context.plainBody), row.plain);
        EXPECT_EQ(bodyOf(message, context.htmlBody), row.html);
        EXPECT_EQ(bodyOf(message, context.rtfBody), row.rtf);
        std::vector<std::string> names;
        for (int32_t i = 1; i < static_cast<int32_t>(opened.subFileCount()); ++i) {
            names.push_back(opened.describe(i).name);
        }
        EXPECT_EQ(names, row.names);
    }
}

// --- a related part without parts

TEST(Body, RelatedPartWhoseBoundaryNeverOccursFailsTheOpen) {
    RecordingHost host(
        multipart("mixed", "--b" + nested("related", "n") + "no delimiter\n--b" + file("a") + "--b--\n"));
    OpenedMessage opened(host);
    ASSERT_NE(opened.context(), nullptr);
    EXPECT_EQ(opened.result(), EML_OBJECT_FAILED);
}

TEST(Body, EveryCallWorksOnAMessageWhoseOpenFailed) {
    RecordingHost host(
        multipart("mixed", "--b" + nested("related", "n") + "no delimiter\n--b" + file("a") + "--b--\n"));
    OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
    ASSERT_EQ(opened.result(), EML_OBJECT_FAILED);
    EXPECT_EQ(opened.subFileCount(), 2U) << "no attachment was counted";
    EXPECT_EQ(opened.describe(0).name, "root/");
    const SubFile message = opened.describe(1);
    EXPECT_EQ(message.result, EML_OK);
    EXPECT_EQ(message.info.childCount, 0U);
    EXPECT_EQ(opened.describe(2).result, EML_INVALID_ARGUMENT);
    EXPECT_EQ(opened.extract(2).bytes, "file") << "found, though not counted";
    EXPECT_EQ(opened.extract(3).result, EML_NO_SUB_FILE);
    emlDebugSections(opened.context());
    EXPECT_EQ(sectionsOf(opened).size(), 2U) << "the outer list is back";
}

TEST(Body, InnerRelatedPartWithoutPartsStillGivesUpTheOuterAttachments) {
    RecordingHost host(multipart("mixed", "--b" + nested("related", "n") + "--n" + nested("related", "m") +
                                              "nothing\n--n" + file("outer") + "--n--\n--b" + file("a") +
                                              "--b--\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_OBJECT_FAILED);
    ASSERT_EQ(sectionsOf(opened).size(), 3U);
    EXPECT_EQ(textOf(sectionsOf(opened)[2]->fileName), "outer");
}

TEST(Body, EncryptedMessageReportsNoAttachmentsHoweverTheOpenEnds) {
    RecordingHost host(
        crlf("Content-Type: application/pkcs7-mime\nContent-Disposition: attachment; filename=x\n\nx"));
    host.journal().fail(Entry::kAllocate, {4, true});
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_NO_MEMORY);
    EXPECT_EQ(opened.context()->attachmentCount, 0);
}

// --- sections that stay referenced

// The chosen body outlives the list that it was found in; guarded memory shows any use after its release.
TEST(Body, BodyOfARelatedPartLivesUntilClose) {
    const std::string message =
        multipart("mixed", "--b" + nested("related", "n") + "--n" + nested("related", "m") + "--m" +
                               nested("alternative", "k") + "--k" + kText + "--k" + kHtml +
                               "--k--\n--m--\n--n" + file("image") + "--n--\n--b--\n");
    RecordingHost host(message, {.heapMode = HeapMode::kGuarded});
    OpenedMessage opened(host);
    EXPECT_EQ(bodyOf(message, opened.context()->plainBody), "plain");
    EXPECT_EQ(bodyOf(message, opened.context()->htmlBody), "html");
    EXPECT_EQ(opened.describe(0).info.size, 5);
    opened.visitAll();
}

// --- bounds

// A related part in a related part, `depth` times, and an HTML part in the innermost. No boundary is a prefix
// of another.
std::string relatedNest(int depth) {
    const auto name = [](int level) { return "x" + std::to_string(10000 + level); };
    std::string text;
    for (int i = 0; i < depth; ++i) text += "--" + name(i) + nested("related", name(i + 1));
    text += "--" + name(depth) + kHtml;
    for (int i = depth; i >= 0; --i) text += "--" + name(i) + "--\n";
    return crlf("Content-Type: multipart/mixed; boundary=" + name(0) + "\n\n" + text);
}

TEST(Body, RelatedPartsAreFollowedAsDeepAsRealMailGoes) {
    for (const int depth : {1, 2, 9}) {
        const std::string message = relatedNest(depth);
        RecordingHost host(message);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.result(), EML_OK);
        EXPECT_EQ(bodyOf(message, opened.context()->htmlBody), "html") << depth;
    }
}

TEST(Body, NestOfRelatedPartsIsBounded) {
    for (const int depth : {150, 5000}) {
        const std::string message = relatedNest(depth);
        RecordingHost host(message);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.result(), EML_OK) << "beyond the limit a part is like any other";
        EXPECT_EQ(opened.context()->htmlBody, nullptr);
        EXPECT_LT(host.bytesRead(), 102 * (message.size() + 4 * 4096));
        opened.visitAll();
    }
}

TEST(Body, ExactlyAHundredRelatedLevelsAreFollowed) {
    for (const int depth : {99, 100, 101}) {
        RecordingHost host(relatedNest(depth));
        OpenedMessage opened(host);
        EXPECT_EQ(opened.result(), EML_OK);
        EXPECT_EQ(opened.context()->htmlBody != nullptr, depth <= 100) << depth;
    }
}

}  // namespace
}  // namespace eml::test
