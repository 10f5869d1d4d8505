// Encoded bodies that are converted window by window: the host sees what it sees of bodies that are held whole.
#include "filter/decoded_text.h"

#include <gtest/gtest.h>

#include <random>

#include "filter/open_filter.h"
#include "filter/stream_walk.h"
#include "reference/filter_text.h"
#include "support/kernel_sets.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

constexpr uint32_t kWhole = 0;  // no window that a short body would need
using Sizes = std::vector<uint32_t>;

const Sizes kWindows = {256, 257, 271, 700};

// ---- bodies

std::string base64(std::string_view bytes, size_t lineLength = 76, std::string_view lineEnd = "\r\n") {
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string digits;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        uint32_t group = 0;
        for (size_t i = 0; i < 3; ++i)
            group = group << 8 | (at + i < bytes.size() ? static_cast<uint8_t>(bytes[at + i]) : 0U);
        for (size_t i = 0; i < 4; ++i)
            digits += at + i > bytes.size() ? '=' : kDigits[group >> (18 - 6 * i) & 63];
    }
    std::string lines;
    for (size_t at = 0; at < digits.size(); at += lineLength)
        lines.append(digits, at, lineLength).append(lineEnd);
    return lines;
}

std::string repeated(std::string_view piece, size_t size) {
    std::string text;
    while (text.size() < size) text += piece;
    return text;
}

struct TextRow {
    const char* what;
    std::string text;
};

// Texts whose records depend on what stands together: runs longer than a window, CR LF, single bytes.
std::vector<TextRow> texts() {
    return {
        {"lines", repeated("a line of the text, of some length\r\n", 1500)},
        {"one run", std::string(1500, 'x')},
        {"runs near the size of a window", repeated(std::string(247, 'r') + "\n", 1500)},
        {"line feeds", std::string(900, '\n')},
        {"pairs of CR LF", repeated("\r\n", 900)},
        {"CR alone", repeated("ab\rc\r\r\n", 900)},
        {"tabs and zero bytes", repeated("x\ty\0z\0\0\t"s, 900)},
        {"short runs of every length", repeated("1\n22\n333\n4444\n55555\n666666\n7777777\n88888888\n", 900)},
        {"characters of several bytes", repeated("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", 1500)},
        {"characters of two bytes in Shift_JIS", repeated("\x93\xFA\x96\x7B\x8C\xEA", 1500)},
        {"ISO-2022-JP", repeated("\x1B$B@8\x1B(Bab", 1500)},
        {"every byte", [] {
             std::string text;
             for (int i = 0; i < 1500; ++i) text += static_cast<char>(i * 7);
             return text;
         }()}};
}

std::string damaged(std::string text, size_t every, std::string_view with) {
    for (size_t at = every; at < text.size(); at += every + with.size()) text.insert(at, with);
    return text;
}

struct BodyRow {
    std::string what;
    const char* encoding;
    std::string body;
};

std::vector<BodyRow> bodies() {
    std::vector<BodyRow> rows;
    for (const TextRow& row : texts()) {
        const std::string coded = base64(row.text);
        rows.push_back({"base64, "s + row.what, "base64", coded});
        rows.push_back({"base64 in lines of five, "s + row.what, "base64", base64(row.text, 5, "\n")});
        rows.push_back({"base64 with garbage, "s + row.what, "base64", damaged(coded, 61, "!\x80 ,")});
        rows.push_back({"quoted-printable as it is, "s + row.what, "quoted-printable", row.text});
        for (const char* escape :
             {"=\r\n", "=\n", "=\r", "=20\r\n", "=41", "=G1", "=0D=0A", "_", "==", "=20"}) {
            rows.push_back({"quoted-printable with "s + escaped(escape) + ", " + row.what, "quoted-printable",
                            damaged(row.text, 7, escape)});
        }
    }
    const std::string lines = base64(repeated("text\r\n", 1500));
    rows.push_back({"base64 that ends in the middle of a group", "base64", lines.substr(0, 1501)});
    rows.push_back({"base64 with padding in it", "base64", base64(std::string(700, 'p')) + lines});
    rows.push_back({"base64 up to a dash", "base64", base64(std::string(699, 'd')) + "-" + lines});
    rows.push_back({"base64 with a dash within a group", "base64", damaged(lines, 62, "-")});
    rows.push_back({"no base64 for long", "base64", std::string(9000, '!') + lines});
    rows.push_back({"soft line breaks alone", "quoted-printable", repeated("=\r\n", 9000)});
    rows.push_back({"soft line breaks, then text", "quoted-printable", repeated("=\r\n", 9000) + "end\r\nx"});
    for (const std::string& end : {"="s, "=4"s, "=\r"s, "=20"s, "=20\r"s, "x"s, "\r"s, "\nx"s, "\0x"s})
        rows.push_back(
            {"an end in "s + escaped(end), "quoted-printable", std::string(600, 'x') + "\n" + end});
    return rows;
}

std::string withHeader(const BodyRow& row) {
    return "To: b\r\nContent-Transfer-Encoding: "s + row.encoding + "\r\n\r\n" + row.body;
}

// ---- conversions

void setWindow(StreamHost& host, uint32_t size) { host.context->body.rest.windowSize = size; }

void expectEqual(const Conversion& windowed, const Conversion& whole) {
    ASSERT_EQ(windowed.result, whole.result);
    ASSERT_EQ(windowed.progress, whole.progress);
    ASSERT_EQ(windowed.finished, whole.finished);
    ASSERT_EQ(windowed.calls.size(), whole.calls.size());
    for (size_t i = 0; i < whole.calls.size(); ++i)
        ASSERT_EQ(escaped(windowed.calls[i]), escaped(whole.calls[i])) << "call " << i;
}

void expectNoDifference(StreamHost& host, const Sizes& capacities, const Sizes& windows = kWindows) {
    for (const uint32_t capacity : capacities) {
        setWindow(host, kWhole);
        const Conversion whole = convertAll(host.context, capacity);
        ASSERT_EQ(host.context->body.rest.left, 0);
        for (const uint32_t window : windows) {
            SCOPED_TRACE("capacity " + std::to_string(capacity) + ", window " + std::to_string(window));
            setWindow(host, window);
            ASSERT_NO_FATAL_FAILURE(expectEqual(convertAll(host.context, capacity), whole));
        }
    }
}

TEST(DecodedWindows, EveryBodyAtSomeCapacities) {
    for (const BodyRow& row : bodies()) {
        SCOPED_TRACE(row.what);
        StreamHost host(withHeader(row));
        ASSERT_NE(host.context, nullptr);
        ASSERT_NO_FATAL_FAILURE(expectNoDifference(host, {85, 300, 5000, 1 << 20}));
    }
}

TEST(DecodedWindows, SomeBodiesAtEverySmallCapacity) {
    Sizes capacities;
    for (uint32_t capacity = 0; capacity < 300; ++capacity) capacities.push_back(capacity);
    for (const std::string& text : {"a line of text\r\n"s, "1\n\t22\r\n\0x"s, "an endless run "s}) {
        for (const char* encoding : {"base64", "quoted-printable"}) {
            const std::string body = repeated(text, 600);
            const bool coded = encoding == "base64"s;
            StreamHost host(withHeader({"", encoding, coded ? base64(body) : damaged(body, 11, "=\r\n")}));
            ASSERT_NE(host.context, nullptr);
            SCOPED_TRACE(encoding + ": "s + escaped(text));
            ASSERT_NO_FATAL_FAILURE(expectNoDifference(host, capacities, {256, 400}));
        }
    }
}

// What matters stands at every place of a window once.
TEST(DecodedWindows, EveryPlaceAtTheEdge) {
    for (const char* edge :
         {"=\r\n", "=20\r\ny", "=3D", "=0D=0A", "\r\n", "\r", "\tz\n", "=C3=A4", "=G", "q"}) {
        for (size_t before = 110; before < 262; ++before) {
            SCOPED_TRACE(escaped(edge) + " after " + std::to_string(before));
            StreamHost host(withHeader(
                {"", "quoted-printable", std::string(before, 'x') + edge + std::string(300, 'y')}));
            ASSERT_NO_FATAL_FAILURE(expectNoDifference(host, {300}, {256, 257}));
            StreamHost last(withHeader({"", "quoted-printable", std::string(before, 'x') + edge}));
            ASSERT_NO_FATAL_FAILURE(expectNoDifference(last, {300}, {256, 257}));
        }
    }
}

TEST(DecodedWindows, AgreeWithTheReference) {
    for (const BodyRow& row : bodies()) {
        SCOPED_TRACE(row.what);
        StreamHost host(withHeader(row));
        const std::string body = "\r\n" + row.body;  // it begins with the empty line
        const std::string decoded = row.encoding == "base64"s ? reference::filterBase64(body)
                                                              : reference::filterQuotedPrintable(body);
        for (const uint32_t window : {256U, 600U}) {
            setWindow(host, window);
            Conversion conversion;
            // The prologue, and no room for the charset record after it.
            (void)fillOnce(host.context, 140, conversion, EML_FILL_RESTART | EML_FILL_BODY_ONLY);
            ASSERT_EQ(conversion.calls.back().size(), 132U);
            reference::StreamModel model("", 7, {decoded});
            while (model.progress() < 100) {
                const std::string expected = model.fill(700);
                ASSERT_EQ(fillOnce(host.context, 700, conversion), EML_OK);
                ASSERT_EQ(escaped(conversion.calls.back()), escaped(expected));
                ASSERT_EQ(conversion.progress.back(), model.progress());
            }
        }
    }
}

TEST(DecodedWindows, RandomBodies) {
    std::mt19937 random(11);
    const std::string letters = "aaaaaabbbb\r\n\n\t\0==_0D4A2 0GQUJD+/-"s;
    for (int round = 0; round < 150; ++round) {
        std::string body;
        for (size_t i = random() % 1500; i > 0; --i)
            body += letters[random() % (random() % 3 == 0 ? 10 : letters.size())];
        const char* const encoding = random() % 2 == 0 ? "base64" : "quoted-printable";
        SCOPED_TRACE(encoding + ": "s + escaped(body));
        StreamHost host(withHeader({"", encoding, body}));
        ASSERT_NO_FATAL_FAILURE(
            expectNoDifference(host, {60 + static_cast<uint32_t>(random() % 200), 900, 1 << 16}));
    }
}

TEST(DecodedWindows, EverySetOfKernels) {
    const std::vector<BodyRow> rows = bodies();
    for (size_t i = 0; i < rows.size(); i += 3) {
        for (const DecodeKernels* kernels : kernelSets()) {
            StreamHost host(withHeader(rows[i]));
            host.context->kernels = kernels;
            SCOPED_TRACE(rows[i].what);
            ASSERT_NO_FATAL_FAILURE(expectNoDifference(host, {700}));
        }
    }
}

// The text need not be the message's own body, nor does the message need to be whole.
TEST(DecodedWindows, TextOfAPart) {
    const std::string text = repeated("=C3=A4 line=\r\n of text\r\n", 2000);
    const std::string part = "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: ";
    const std::string attachment = "\r\n--b\r\nContent-Type: image/x; name=n\r\n\r\nimage";
    const std::string nested = "--b\r\nContent-Type: multipart/alternative; boundary=n\r\n\r\n--n\r\n" +
                               part + "quoted-printable\r\n\r\n" + text +
                               "\r\n--n\r\nContent-Type: text/html\r\n\r\n<p>\r\n--n--\r\n";
    const std::string head = "To: b\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n";
    const std::string messages[] = {
        head + "--b\r\n" + part + "quoted-printable\r\n\r\n" + text + attachment + "\r\n--b--\r\n",
        head + "--b\r\n" + part + "base64\r\n\r\n" + base64(text) + attachment + "\r\n--b--\r\n",
        head + "--b\r\n" + part + "base64\r\n\r\n" + base64(text),
        head + "--b\r\n" + part + "quoted-printable\r\n\r\n" + text + attachment,
        head + nested + attachment + "\r\n--b--\r\n",
        head + nested,
    };
    for (const std::string& message : messages) {
        StreamHost host(message);
        ASSERT_NE(host.context, nullptr);
        setWindow(host, 256);
        ASSERT_GT(convertAll(host.context, 1000).bytes().size(), 1500U);
        ASSERT_NO_FATAL_FAILURE(expectNoDifference(host, {256, 1000, 1 << 16}));
    }
}

// ---- what comes between two fills

using Between = void (*)(OpenFilter&);

TEST(DecodedWindows, OtherCallsBetweenTheFills) {
    const std::string message =
        "To: b\r\nSubject: =?utf-8?q?a_subject?=\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" +
        repeated("a line =3D text=\r\n and\r\n", 2000) +
        "\r\n--b\r\nContent-Type: image/x; name=n\r\nContent-Transfer-Encoding: "
        "base64\r\n\r\nQUJD\r\n--b--\r\n";
    const Between calls[] = {
        [](OpenFilter&) {},
        [](OpenFilter& filter) { (void)filter.describe(0); },
        [](OpenFilter& filter) { (void)filter.describe(1); },
        [](OpenFilter& filter) { (void)filter.extract(1); },
        [](OpenFilter& filter) { (void)filter.metadata(0); },
        [](OpenFilter& filter) {
            filter.input().object().seek(&filter.input().object(), 7, 0, EML_SEEK_START);
        },
    };
    for (size_t i = 0; i < std::size(calls); ++i) {
        for (const int after : {1, 2, 5}) {
            std::vector<Conversion> both;
            for (const uint32_t window : {kWhole, 300U}) {
                OpenFilter filter(message);
                ASSERT_NE(filter.context(), nullptr);
                filter.opened().body.rest.windowSize = window;
                Conversion& conversion = both.emplace_back();
                for (int fills = 0; fills < 60 && !conversion.finished; ++fills) {
                    if (fills == after) calls[i](filter);
                    if (fills == after) conversion.progress.clear();
                    ASSERT_EQ(fillOnce(filter.context(), 200, conversion), EML_OK);
                }
                EXPECT_TRUE(conversion.finished);
            }
            SCOPED_TRACE("call " + std::to_string(i) + " after " + std::to_string(after));
            ASSERT_NO_FATAL_FAILURE(expectEqual(both[1], both[0]));
        }
    }
}

// ---- failures

struct WindowedFilter {
    explicit WindowedFilter(const std::string& message, uint32_t window)
        : host(message), context(emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr)) {
        context->body.rest.windowSize = window;
    }
    ~WindowedFilter() { emlShutdown(context); }
    WindowedFilter(const WindowedFilter&) = delete;
    WindowedFilter& operator=(const WindowedFilter&) = delete;

    [[nodiscard]] uint64_t calls(Entry entry) { return host.journal().calls(entry); }

    Conversion convert(Entry entry, Fault fault, uint32_t capacity = 300) {
        fault.nth += calls(entry);
        host.journal().fail(entry, fault);
        Conversion conversion = convertAll(context, capacity);
        host.journal().fail(entry, {});
        return conversion;
    }

    RecordingHost host;
    EmlFilterContext* context;
};

const BodyRow kLong[] = {
    {"base64", "base64", base64(repeated("a line of the text\r\n", 15000))},
    {"quoted-printable", "quoted-printable", repeated("a =3D line=\r\n of the=20\r\n text\r\n", 20000)},
    {"escapes", "quoted-printable", repeated("=41", 20000)}};

// A read that fails while the text is counted ends the text there, whatever comes of the reads after it.
TEST(DecodedWindows, ReadsThatFailWhileTheTextIsCounted) {
    constexpr Way kWays[] = {Way::kPlain, Way::kMinusOne, Way::kOneByte, Way::kHalf, Way::kTooMuch};
    for (const BodyRow& row : kLong) {
        for (uint64_t nth = 1; nth <= 5; ++nth) {
            for (const Way way : kWays) {
                SCOPED_TRACE(row.what + ", read " + std::to_string(nth) + ", " + wayName(way));
                WindowedFilter whole(withHeader(row), kWhole);
                WindowedFilter windowed(withHeader(row), 500);
                const Fault fault{nth, false, way};
                ASSERT_NO_FATAL_FAILURE(expectEqual(windowed.convert(Entry::kInputRead, fault),
                                                    whole.convert(Entry::kInputRead, fault)));
            }
        }
    }
}

// Text that can no longer be read is at its end; text whose place can no longer be found is a failure.
TEST(DecodedWindows, InputThatFailsLater) {
    for (const BodyRow& row : kLong) {
        WindowedFilter filter(withHeader(row), 2000);
        const uint64_t readsBefore = filter.calls(Entry::kInputRead);
        const uint64_t seeksBefore = filter.calls(Entry::kInputSeek);
        const std::string all = textOfStream(convertAll(filter.context, 300).bytes());
        const uint64_t reads = filter.calls(Entry::kInputRead) - readsBefore;
        const uint64_t seeks = filter.calls(Entry::kInputSeek) - seeksBefore;
        ASSERT_GT(seeks, 5U);
        // The first one is in the same call as the first step of base64, whose own code is never kept.
        const bool coded = row.encoding == "base64"s;
        EXPECT_EQ(filter.convert(Entry::kInputSeek, {3, false, Way::kPlain}).result,
                  coded ? EML_OK : EML_OBJECT_FAILED);
        for (uint64_t nth = 4; nth <= seeks; ++nth) {
            SCOPED_TRACE(row.what + ", seek " + std::to_string(nth));
            const Conversion conversion = filter.convert(Entry::kInputSeek, {nth, false, Way::kPlain});
            EXPECT_EQ(conversion.result, EML_OBJECT_FAILED);
            EXPECT_FALSE(conversion.finished);
            EXPECT_TRUE(all.starts_with(textOfStream(conversion.bytes())));
            Conversion more;
            EXPECT_EQ(fillOnce(filter.context, 300, more), EML_OK) << "nothing is left";
            EXPECT_TRUE(more.finished);
        }
        for (uint64_t nth = 7; nth <= reads; nth += 3) {
            for (const bool onwards : {false, true}) {
                SCOPED_TRACE(row.what + ", read " + std::to_string(nth));
                const Conversion conversion = filter.convert(Entry::kInputRead, {nth, onwards, Way::kPlain});
                EXPECT_EQ(conversion.result, EML_OK);
                EXPECT_TRUE(conversion.finished);
                EXPECT_LE(textOfStream(conversion.bytes()).size(), all.size());
            }
        }
        EXPECT_EQ(textOfStream(convertAll(filter.context, 300).bytes()), all) << "again, without failures";
    }
}

// Each allocation that fails gives what it gives when the text is held whole.
TEST(DecodedWindows, AllocationsThatFail) {
    for (const BodyRow& row : kLong) {
        for (const Entry entry : {Entry::kAllocate, Entry::kReallocate}) {
            for (uint64_t nth = 1; nth <= 6; ++nth) {
                SCOPED_TRACE(row.what + ", allocation " + std::to_string(nth));
                WindowedFilter whole(withHeader(row), kWhole);
                WindowedFilter windowed(withHeader(row), 40000);
                const Fault fault{nth, false, Way::kPlain};
                ASSERT_NO_FATAL_FAILURE(
                    expectEqual(windowed.convert(entry, fault), whole.convert(entry, fault)));
            }
        }
    }
}

// No more text comes of other bytes than was counted.
TEST(DecodedWindows, BytesThatChangeBeforeTheyAreReadAgain) {
    const std::string others[] = {std::string(20000, 'z'),
                                  std::string(20000, '='),
                                  repeated("=\r\n", 20000),
                                  std::string(20000, '-'),
                                  std::string(20000, '\0'),
                                  repeated("=20\r", 20000),
                                  ""};
    for (const BodyRow& row : kLong) {
        for (const std::string& other : others) {
            for (const uint32_t window : {256U, 1000U}) {
                for (const uint32_t capacity : {120U, 300U, 3000U}) {
                    StreamHost host(withHeader(row));
                    setWindow(host, window);
                    Conversion conversion;
                    uint32_t flags = EML_FILL_RESTART | EML_FILL_BODY_ONLY;
                    int32_t counted = 0;
                    for (int fills = 0; fills < 2000 && !conversion.finished; ++fills) {
                        ASSERT_EQ(fillOnce(host.context, capacity, conversion, flags), EML_OK);
                        flags = EML_FILL_BODY_ONLY;
                        if (fills == 2) counted = host.context->body.length;
                        if (fills == 2) host.change(other);
                    }
                    EXPECT_TRUE(conversion.finished);
                    const std::string text = textOfStream(std::string_view(conversion.bytes()).substr(132));
                    EXPECT_LE(text.size(), static_cast<size_t>(counted) + 6) << "and the charset record";
                }
            }
        }
    }
}

// ---- memory

TEST(DecodedWindows, LongBodiesTakeNoMoreMemoryThanTheLongestThatIsHeld) {
    const std::string line = "a line of the text that stands here again and again, of seventy letters\r\n";
    for (const char* encoding : {"base64", "quoted-printable"}) {
        const bool coded = encoding == "base64"s;
        const std::string body = coded ? base64(repeated(line, 12U << 20)) : repeated(line, 12U << 20);
        StreamHost host(withHeader({"", encoding, body}));
        std::string buffer(65536, '\0');
        uint32_t size = 0;
        uint32_t progress = 0;
        uint32_t before = 0;
        size_t text = 0;
        bool held = true;
        for (uint32_t flags = EML_FILL_RESTART; progress < 100; flags = 0) {
            ASSERT_EQ(emlFillBufferEx(host.context, 0, buffer.data(), &size, &progress, 65536, flags),
                      EML_OK);
            ASSERT_GE(progress, before);
            before = progress;
            text += size;
            held = held && host.context->body.rest.left == 0;
            ASSERT_LE(host.context->body.decoded.capacity, kDecodedHeld);
        }
        EXPECT_FALSE(held);
        EXPECT_GT(text, 12U << 20);
    }
}

}  // namespace
}  // namespace eml::test
