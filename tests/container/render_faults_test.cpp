// Open, metadata and rendering in every form, with every call of every host entry failing once, and from then
// on: nothing breaks, nothing leaks but what a failed reallocate takes by rule, and the codes are the stated
// ones.
#include <gtest/gtest.h>

#include "container/metadata_lists.h"
#include "reference/packed_rtf.h"
#include "support/sections.h"

namespace eml::test {
namespace {

struct Form {
    const char* name;
    std::string message;
};

const std::string kHeader =
    "From: =?x?Q?a=E9?= <a@b>\nDate: Tue, 15 Nov 1994 08:12:31 -0500\nTo: c\nTo: d\nSubject: s\nImportance: "
    "High\n";

std::string withAttachments(const std::string& bodyHeader, const std::string& body) {
    return crlf(kHeader + "Content-Type: multipart/mixed; boundary=b\n\n--b\n" + bodyHeader + "\n") + body +
           crlf(
               "\n--b\nContent-Type: image/png; name=x\n\n1\n--b\nContent-Type: image/png; "
               "name=y\n\n2\n--b--\n");
}

const std::vector<Form>& forms() {
    static const std::vector<Form> kForms = {
        {"text", withAttachments("Content-Type: text/plain; charset=koi8-r\n", "body")},
        {"text, quoted-printable", withAttachments("Content-Transfer-Encoding: quoted-printable\n",
                                                   std::string(9000, 'x') + "=20\r\n=3D")},
        {"text, base64", withAttachments("Content-Transfer-Encoding: base64\n", std::string(12000, 'Q'))},
        {"html", withAttachments("Content-Type: text/html\n", "<p>")},
        {"html, base64", withAttachments("Content-Type: text/html\nContent-Transfer-Encoding: base64\n",
                                         std::string(9000, 'Q'))},
        {"rtf, packed", withAttachments("Content-Type: application/rtf\n",
                                        reference::textOf(reference::packRtf(
                                            reference::bytesOf("{\\rtf1 text text text text text}"))))},
        {"header only", crlf(kHeader)},
    };
    return kForms;
}

struct Life {
    EmlResult opened = UINT32_MAX;
    std::vector<EmlResult> results;  // of each call
};

Life live(RecordingHost& host) {
    Life life;
    OpenedMessage opened(host);
    life.opened = opened.result();
    if (opened.context() == nullptr) return life;
    life.results.push_back(defaultList(host, opened).result);
    life.results.push_back(requested(host, opened, {{1, "To"}, {1, "Subject"}}).result);
    for (const uint32_t options : {0u, 2u, 4u, 6u}) {
        for (const uint32_t charset : {0u, 51u, 53u}) {
            EmlExtractInfo info{0, charset};
            life.results.push_back(opened.extract(0, options, &info).result);
        }
    }
    return life;
}

bool isStated(Entry entry, EmlResult result) {
    switch (entry) {
        case Entry::kAllocate:
        case Entry::kReallocate:
        case Entry::kRecordAllocate:
        case Entry::kRecordReallocate:
            return result == EML_OK || result == EML_NO_MEMORY;
        case Entry::kInputSeek:
        case Entry::kInputRead:
            return result == EML_OK || result == EML_INPUT_UNUSABLE;
        case Entry::kOutputOpen:
            return result == EML_OK || result == EML_OUTPUT_UNUSABLE;
        default:
            return result == EML_OK;
    }
}

constexpr Entry kEntries[] = {
    Entry::kAllocate,       Entry::kReallocate,       Entry::kConvertText, Entry::kConvertTextFrom,
    Entry::kRecordAllocate, Entry::kRecordReallocate, Entry::kInputRead,   Entry::kInputSeek,
    Entry::kInputTell,      Entry::kOutputOpen,       Entry::kOutputWrite, Entry::kOutputSeek,
    Entry::kOutputTell,     Entry::kOutputClose,
};

void sweep(HeapMode mode, bool onwards, uint64_t step) {
    for (const Form& form : forms()) {
        RecordingHost counted(form.message);
        for (const EmlResult result : live(counted).results) ASSERT_EQ(result, EML_OK) << form.name;
        for (const Entry entry : kEntries) {
            for (uint64_t nth = 1; nth <= counted.journal().calls(entry); nth += step) {
                SCOPED_TRACE(std::string(form.name) + ": " + entryName(entry) + " " + std::to_string(nth));
                RecordingHost host(form.message, {.heapMode = mode});
                host.journal().fail(entry, {nth, onwards});
                const Life life = live(host);
                for (const EmlResult result : life.results) EXPECT_TRUE(isStated(entry, result)) << result;
                const uint64_t byRule =
                    entry == Entry::kReallocate ? host.journal().calls(Entry::kReallocate) : 0;
                EXPECT_LE(host.heap().lostBlocks(), byRule);
            }
        }
    }
}

TEST(RenderFaults, EveryCallFailsOnce) { sweep(HeapMode::kPlain, false, 1); }
TEST(RenderFaults, EveryCallFailsFromThenOn) { sweep(HeapMode::kPlain, true, 1); }
TEST(RenderFaults, WithGuardedBlocks) { sweep(HeapMode::kGuarded, false, 5); }

TEST(RenderFaults, MissingEntriesCountAsFailing) {
    for (const Entry entry :
         {Entry::kReallocate, Entry::kConvertText, Entry::kConvertTextFrom, Entry::kIsLeadByte,
          Entry::kResetCharset, Entry::kStoreDate, Entry::kInputTell, Entry::kInputSeek, Entry::kInputRead}) {
        for (const Form& form : forms()) {
            SCOPED_TRACE(std::string(form.name) + ": " + entryName(entry));
            RecordingHost host(form.message);
            host.remove(entry);
            if (entry == Entry::kReallocate) host.allowLiveBlocks();
            (void)live(host);
        }
    }
}

// After a failure of any kind the same message renders as if nothing had been.
TEST(RenderFaults, AContextIsUsableOnAfterAFailure) {
    for (const Form& form : forms()) {
        RecordingHost host(form.message);
        OpenedMessage opened(host);
        const std::string whole = opened.extract(0).bytes;
        for (const Entry entry :
             {Entry::kAllocate, Entry::kReallocate, Entry::kInputRead, Entry::kInputSeek}) {
            const uint64_t before = host.journal().calls(entry);
            (void)opened.extract(0);
            const uint64_t calls = host.journal().calls(entry) - before;
            for (uint64_t nth = 1; nth <= calls; ++nth) {
                host.journal().fail(entry, {host.journal().calls(entry) + nth, false});
                (void)opened.extract(0);
                host.journal().fail(entry, {});
                EXPECT_TRUE(opened.extract(0).bytes == whole)
                    << form.name << ": " << entryName(entry) << " " << nth;
            }
        }
    }
}

}  // namespace
}  // namespace eml::test
