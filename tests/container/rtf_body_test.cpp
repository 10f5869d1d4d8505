// RTF bodies on their way into an output, as the message's rendering uses them.
#include "container/rtf_body.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "host/scripted_services.h"
#include "reference/packed_rtf.h"

namespace eml::test {
namespace {

using reference::Bytes;
using reference::bytesOf;
using reference::textOf;

struct Written {
    std::string text;  // what the body added
    uint64_t peak;
};

Written write(const Bytes& body, std::string_view before = "", bool withoutTell = false) {
    RecordingHost host;
    ScriptedServices services;
    MemoryOutput output(host);
    EmlIOobj& object = output.object();
    EXPECT_NE(object.open(&object), 0);
    if (!before.empty()) (void)object.write(&object, before.data(), static_cast<uint32_t>(before.size()));
    if (withoutTell) output.remove(Entry::kOutputTell);
    const std::unique_ptr<uint8_t[]> block(new uint8_t[body.size()]);
    std::copy(body.begin(), body.end(), block.get());
    writeRtfBody(services.record().allocator, block.get(), static_cast<uint32_t>(body.size()), object);
    for (const uint32_t size : output.writes()) EXPECT_NE(size, 0u) << "an empty text writes nothing";
    return {output.bytes().substr(before.size()), services.heap().peakBytes()};
}

Bytes stored(uint32_t rawSize, std::string_view text) {
    Bytes body = reference::packedRtfHeader("MELA", rawSize);
    body.insert(body.end(), text.begin(), text.end());
    return body;
}

TEST(RtfBody, WhatABodyIs) {
    struct Row {
        const char* rule;
        Bytes body;
        std::string text;
    };
    const Row rows[] = {
        {"empty", {}, ""},
        {"ten bytes stay", bytesOf("{\\rtf1 ab}"), "{\\rtf1 ab}"},
        {"sixteen bytes stay", bytesOf("{\\rtf1 abcdefgh}"), "{\\rtf1 abcdefgh}"},
        {"sixteen bytes stay, a header too", reference::packedRtfHeader("MELA", 5),
         textOf(reference::packedRtfHeader("MELA", 5))},
        {"KEPT: seventeen bytes of plain RTF lose sixteen", bytesOf("{\\rtf1 abcdefghi}"), "}"},
        {"KEPT: a hundred lose sixteen", bytesOf("{\\rtf1\\ansi\\deff" + std::string(84, 'x')),
         std::string(84, 'x')},
        {"stored", stored(6, "{\\rtf}"), "{\\rtf}"},
        {"stored, raw size 5", stored(5, "{\\rtf}"), "{\\rtf"},
        {"stored, raw size 0", stored(0, "{\\rtf}"), ""},
        {"stored, more claimed than there is", stored(7, "{\\rtf}"), "{\\rtf}"},
        {"stored, 4 GiB claimed", stored(0xFFFFFFFF, "{\\rtf}"), "{\\rtf}"},
        {"packed", reference::packRtf(bytesOf("{\\rtf1 packed}")), "{\\rtf1 packed}"},
    };
    for (const Row& row : rows) EXPECT_EQ(write(row.body).text, row.text) << row.rule;
}

// After a header block the body goes on in the block's group: without its own brace.
TEST(RtfBody, TheOpeningBraceIsLeftOutBehindAHeader) {
    struct Row {
        const char* text;
        const char* after;
    };
    for (const Row& row :
         {Row{"{\\rtf1 x}", "\\rtf1 x}"}, Row{"{\\RTF1 x}", "\\RTF1 x}"}, Row{"{\\rtf1", "\\rtf1"},
          Row{"{\\rtf2 x}", "{\\rtf2 x}"}, Row{"{\\rtf", "{\\rtf"}, Row{" {\\rtf1}", " {\\rtf1}"},
          Row{"{{\\rtf1}", "{{\\rtf1}"}, Row{"text", "text"}}) {
        const std::string_view text = row.text;
        const Bytes bodies[] = {bytesOf(text), stored(static_cast<uint32_t>(text.size()), text),
                                reference::packRtf(bytesOf(text))};
        for (const Bytes& body : bodies) {
            EXPECT_EQ(write(body, "H").text, row.after);
            EXPECT_EQ(write(body).text, row.text) << "nothing before it: whole";
        }
    }
}

TEST(RtfBody, AnOutputThatCannotTellCountsAsEmpty) {
    EXPECT_EQ(write(bytesOf("{\\rtf1 x}"), "H", true).text, "{\\rtf1 x}");
}

TEST(RtfBody, ATwentyByteBodyThatClaimsFourGigabytesTakesLittleMemory) {
    for (const char* type : {"LZFu", "MELA"}) {
        Bytes body = reference::packedRtfHeader(type, 0xFFFFFFFF);
        body.insert(body.end(), {0x02, 'x', 0x0C, 0xFF});
        const Written written = write(body);
        EXPECT_EQ(written.text, textOf(reference::textOfRtfBody(body)));
        EXPECT_LE(written.peak, 1024u);
    }
}

TEST(RtfBody, WithoutMemoryAPackedBodyWritesNothing) {
    RecordingHost host;
    ScriptedServices services;
    services.journal().fail(Entry::kAllocate, {1, true});
    MemoryOutput output(host);
    EmlIOobj& object = output.object();
    EXPECT_NE(object.open(&object), 0);
    const Bytes body = reference::packRtf(bytesOf("{\\rtf1 packed}"));
    writeRtfBody(services.record().allocator, body.data(), static_cast<uint32_t>(body.size()), object);
    EXPECT_EQ(output.bytes(), "");
    EXPECT_TRUE(output.writes().empty());
}

TEST(RtfBody, EveryPrefixOfAPackedBodyAgreesWithTheReference) {
    const Bytes whole =
        reference::packRtf(bytesOf("{\\rtf1\\ansi text text text {\\b bold} and again text}"));
    for (size_t size = 0; size <= whole.size(); ++size) {
        const Bytes body(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(write(body).text, textOf(reference::textOfRtfBody(body))) << size;
    }
}

}  // namespace
}  // namespace eml::test
