// Whole streams: NAME.eml in tests/filter/streams gives the records that NAME.expected says, one line each.
// On a mismatch NAME.actual is written beside the test program; the expected file is never touched.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "filter/stream_walk.h"
#include "reference/filter_text.h"
#include "support/memory_output.h"
#include "support/random_messages.h"

namespace eml::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

const fs::path kStreams = fs::path(EMLREADER_TEST_DIR) / "filter" / "streams";

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

enum class BodyCoding : uint8_t { kPlain, kQuotedPrintable, kBase64 };

// Where the text of a message lies in its file: from after `begin` on up to `end`. Without `end` it is the
// message's own body, which goes to the end of the file and begins with the empty line after the header.
struct KnownBody {
    const char* name;
    BodyCoding coding;
    uint32_t charset;
    const char* begin;
    const char* end;
};

constexpr KnownBody kBodies[] = {
    {"alternative", BodyCoding::kQuotedPrintable, EML_CHARSET_CENTRAL_EUROPE, "quoted-printable\r\n\r\n",
     "\r\n--alt-1\r\nContent-Type: text/html"},
    {"base64", BodyCoding::kBase64, EML_CHARSET_UTF_8, "base64\n\n", ""},
    {"eight_bit", BodyCoding::kPlain, EML_CHARSET_WESTERN, "8bit\n\n", ""},
    {"empty_body", BodyCoding::kPlain, EML_CHARSET_WESTERN, "\r\n\r\n", ""},
    {"encoded_words", BodyCoding::kPlain, EML_CHARSET_UTF_8, "\r\n\r\n", ""},
    {"long_body", BodyCoding::kPlain, EML_CHARSET_WESTERN, "\n\n", ""},
    {"long_headers", BodyCoding::kPlain, EML_CHARSET_WESTERN, "\n\n", ""},
    {"mixed", BodyCoding::kPlain, EML_CHARSET_WESTERN, "text/plain\r\n\r\n",
     "\r\n--mix\r\nContent-Type: app"},
    {"mixed_line_ends", BodyCoding::kPlain, EML_CHARSET_WESTERN, "\r\n\r\n", ""},
    {"nested", BodyCoding::kPlain, EML_CHARSET_WESTERN, "text/plain\r\n\r\n",
     "\r\n--inner\r\nContent-Type: text/html"},
    {"plain_crlf", BodyCoding::kPlain, EML_CHARSET_WESTERN, "\r\n\r\n", ""},
    {"plain_lf", BodyCoding::kPlain, EML_CHARSET_WESTERN, "\n\n", ""},
    {"quoted_printable", BodyCoding::kQuotedPrintable, EML_CHARSET_UTF_8, "quoted-printable\r\n\r\n", ""},
};

std::string messageOf(const char* name) { return readFile(kStreams / (name + ".eml"s)); }

std::string bodyOf(const KnownBody& body, const std::string& message) {
    const std::string begin = body.begin;
    const size_t from = message.find(begin) + begin.size();
    if (*body.end != '\0') return message.substr(from, message.find(body.end, from) - from);
    return message.substr(from - (begin.ends_with("\r\n") ? 2 : 1));
}

// What a read or a decoder gives at once becomes text at once.
std::deque<std::string> chunksOf(const std::string& body, BodyCoding coding) {
    if (coding == BodyCoding::kQuotedPrintable) return {reference::filterQuotedPrintable(body)};
    if (coding == BodyCoding::kBase64) return {reference::filterBase64(body)};
    std::deque<std::string> chunks;
    for (size_t at = 0; at < body.size(); at += 4096) chunks.push_back(body.substr(at, 4096));
    return chunks;
}

// The staged records: all before the charset record that begins the body.
std::string stagedPart(EmlFilterContext* context, uint32_t charset) {
    const std::string all = convertAll(context, 1 << 20).bytes();
    const std::string bodyOnly = convertAll(context, 1 << 20, EML_FILL_BODY_ONLY).bytes();
    // Without header fields the prologue is followed by the body, and the prologue has 132 bytes.
    const size_t bodySize = bodyOnly.size() - 132;
    EXPECT_EQ(all.substr(all.size() - bodySize, 9), reference::charsetRecord(charset));
    return all.substr(0, all.size() - bodySize);
}

// What a conversion showed, and what the rule of the single last byte took from it.
struct Shown {
    std::string text;
    std::string dropped;
};

// Every call of a conversion, byte for byte and with its progress, and the rule after every byte of text
// that is missing.
void expectLikeModel(EmlFilterContext* context, const reference::StreamModel& fresh, const std::string& body,
                     uint32_t capacity, Shown* shown = nullptr) {
    const Conversion conversion = convertAll(context, capacity);
    reference::StreamModel model = fresh;
    for (size_t i = 0; i < conversion.calls.size(); ++i) {
        ASSERT_EQ(conversion.calls[i], model.fill(capacity)) << "call " << i << " at " << capacity;
        ASSERT_EQ(conversion.progress[i], model.progress()) << "call " << i << " at " << capacity;
    }
    if (shown != nullptr) *shown = {textOfStream(conversion.bytes()), model.dropped()};
    if (capacity < 100) return;  // too small to get through
    ASSERT_TRUE(conversion.finished) << capacity;
    // Whatever the capacity, the text is the body without the bytes that the rule took.
    ASSERT_EQ(model.shown().size() + model.dropped().size(), body.size()) << capacity;
    size_t at = 0;
    for (const char byte : body) {
        if (at < model.shown().size() && model.shown()[at] == byte) ++at;
    }
    ASSERT_EQ(at, model.shown().size()) << capacity;
}

struct KnownStream {
    explicit KnownStream(const KnownBody& known) : KnownStream(messageOf(known.name), known) {}
    KnownStream(const std::string& message, const KnownBody& known)
        : host(message),
          chunks(chunksOf(bodyOf(known, message), known.coding)),
          model(stagedPart(host.context, known.charset), known.charset, chunks) {
        for (const std::string& chunk : chunks) body += chunk;
    }

    StreamHost host;
    std::deque<std::string> chunks;
    reference::StreamModel model;
    std::string body;
};

TEST(Streams, GiveWhatIsExpected) {
    for (const KnownBody& known : kBodies) {
        StreamHost host(messageOf(known.name));
        ASSERT_NE(host.context, nullptr) << known.name;
        const std::string actual = dumpStream(convertAll(host.context, 65536).bytes());
        if (actual == readFile(kStreams / (known.name + ".expected"s))) continue;
        const fs::path path = fs::read_symlink("/proc/self/exe").parent_path() / (known.name + ".actual"s);
        std::ofstream(path, std::ios::binary) << actual;
        ADD_FAILURE() << known.name << " differs from its expected records; see " << path;
    }
}

TEST(Streams, EveryMessageIsKnown) {
    size_t messages = 0;
    for (const auto& entry : fs::directory_iterator(kStreams))
        messages += entry.path().extension() == ".eml" ? 1 : 0;
    EXPECT_EQ(messages, std::size(kBodies));
}

TEST(Streams, AreTheModelsAtTypicalCapacities) {
    for (const KnownBody& known : kBodies) {
        SCOPED_TRACE(known.name);
        KnownStream stream(known);
        for (const uint32_t capacity : {141U, 256U, 1000U, 4096U, 65536U}) {
            ASSERT_NO_FATAL_FAILURE(
                expectLikeModel(stream.host.context, stream.model, stream.body, capacity));
        }
    }
}

TEST(Streams, AreTheModelsAtSmallCapacities) {
    for (const KnownBody& known : kBodies) {
        SCOPED_TRACE(known.name);
        KnownStream stream(known);
        for (uint32_t capacity = 0; capacity <= 300; ++capacity) {
            ASSERT_NO_FATAL_FAILURE(
                expectLikeModel(stream.host.context, stream.model, stream.body, capacity));
        }
    }
}

// ---- one message of each kind at every capacity

std::string lines(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += "line " + std::to_string(i) + std::string(i * 31 % 90, static_cast<char>('a' + i % 26));
        if (i % 7 == 0) text += "\tx";
        text += i % 11 == 0 ? "\n\n" : "\n";
        if (i % 13 == 0) text += "y\n";
    }
    return text;
}

std::string encodedBase64(const std::string& text) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (size_t i = 0; i < text.size(); i += 3) {
        uint32_t group = 0;
        for (size_t j = 0; j < 3; ++j)
            group = group << 8 | (i + j < text.size() ? static_cast<uint8_t>(text[i + j]) : 0U);
        for (size_t j = 0; j < 4; ++j) {
            const bool padding = i + j > text.size();
            encoded += padding ? '=' : kAlphabet[group >> (18 - 6 * j) & 63];
        }
        if (i % 57 == 54) encoded += "\r\n";
    }
    return encoded;
}

struct Kind {
    const char* name;
    std::string message;
    KnownBody body;
};

std::vector<Kind> kinds() {
    const std::string fields =
        "From: anna@example.org\r\nTo: " + std::string(300, 't') + "\r\nSubject: s\r\n";
    const std::string text = lines(130);
    return {
        {"plain", fields + "\r\n" + text, {"", BodyCoding::kPlain, 7, "\r\n\r\n", ""}},
        {"plain, one long line",
         fields + "\r\n" + std::string(9001, 'x'),
         {"", BodyCoding::kPlain, 7, "\r\n\r\n", ""}},
        {"plain, a single byte more than two reads",
         fields + "\r\n" + std::string(8193, 'x'),
         {"", BodyCoding::kPlain, 7, "\r\n\r\n", ""}},
        {"quoted-printable",
         fields + "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + text + "=C3=A9",
         {"", BodyCoding::kQuotedPrintable, 7, "\r\n\r\n", ""}},
        {"base64",
         fields + "Content-Transfer-Encoding: base64\r\n\r\n" + encodedBase64(text),
         {"", BodyCoding::kBase64, 7, "\r\n\r\n", ""}},
        {"alternative",
         "Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\n" +
             text + "\r\n--b\r\nContent-Type: text/html\r\n\r\n<p>\r\n--b--\r\n",
         {"", BodyCoding::kPlain, 7, "text/plain\r\n\r\n", "\r\n--b\r\nContent-Type: text/html"}},
    };
}

TEST(Streams, TextIsTheSameAtEveryCapacitySaveForTheSingleLastBytes) {
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        KnownStream stream(kind.message, kind.body);
        Shown whole;
        expectLikeModel(stream.host.context, stream.model, stream.body, 1 << 20, &whole);
        size_t withLoss = 0;
        for (uint32_t capacity = 256; capacity <= 5000; ++capacity) {
            Shown shown;
            ASSERT_NO_FATAL_FAILURE(
                expectLikeModel(stream.host.context, stream.model, stream.body, capacity, &shown));
            // Each byte that is missing is one that the model dropped at a cut.
            ASSERT_EQ(whole.text.size() - shown.text.size(), shown.dropped.size() - whole.dropped.size())
                << capacity;
            if (shown.text.size() == whole.text.size()) {
                ASSERT_EQ(shown.text, whole.text) << capacity;
            } else {
                ++withLoss;
            }
        }
        if (kind.name == "plain, one long line"s) {
            EXPECT_GT(withLoss, 0U) << "some capacity must cut one byte before the end";
        }
    }
}

TEST(Streams, RestartAtEveryCallGivesTheSameStream) {
    for (const KnownBody& known : kBodies) {
        SCOPED_TRACE(known.name);
        const std::string message = messageOf(known.name);
        StreamHost undisturbed(message);
        const std::vector<std::string> expected = convertAll(undisturbed.context, 256).calls;
        StreamHost host(message);
        for (size_t calls = 0; calls <= expected.size(); ++calls) {
            Conversion begun;
            for (size_t i = 0; i < calls; ++i)
                (void)fillOnce(host.context, 256, begun, i == 0 ? EML_FILL_RESTART : 0);
            ASSERT_EQ(convertAll(host.context, 256).calls, expected) << "restarted after " << calls;
        }
    }
}

TEST(Streams, RestartWithAnotherCapacityGivesThatStream) {
    for (const KnownBody& known : kBodies) {
        KnownStream stream(known);
        for (const uint32_t capacity : {300U, 141U, 70000U, 256U}) {
            Conversion begun;
            (void)fillOnce(stream.host.context, capacity + 7, begun, EML_FILL_RESTART);
            (void)fillOnce(stream.host.context, capacity + 9, begun);
            ASSERT_NO_FATAL_FAILURE(
                expectLikeModel(stream.host.context, stream.model, stream.body, capacity));
        }
    }
}

// Any message gives whole records and comes to its end, at every capacity that takes the records of a header;
// smaller ones stop.
TEST(Streams, RandomMessagesGiveWholeRecords) {
    for (uint64_t seed = 1; seed <= 600; ++seed) {
        SCOPED_TRACE(seed);
        StreamHost host(MessageMaker(seed).any());
        if (host.context == nullptr) continue;
        for (const uint32_t capacity : {0U, 9U, 60U, 141U, 256U, 4096U, 65536U}) {
            const Conversion conversion = convertAll(host.context, capacity);
            const bool encrypted = conversion.result == EML_ENCRYPTED;
            EXPECT_TRUE(conversion.result == EML_OK || encrypted) << conversion.result;
            EXPECT_TRUE(conversion.finished || capacity < 100 || encrypted) << capacity;
            (void)walkStream(conversion.bytes());
        }
    }
}

// ---- calls between fills

void readSubFiles(RecordingHost& host, EmlFilterContext* context, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        EmlSubFileInfo info{};
        EXPECT_EQ(emlGetSubFileInfoEx(context, i, &info, &host.record()), EML_OK);
        if (i == 0) {
            EXPECT_STREQ(info.name, "zteml.mail") << "the default name while a conversion is in progress";
        }
        host.recordHeap().give(info.name);
        if (info.children != nullptr) host.recordHeap().give(info.children);
    }
}

// Calls that only describe leave a conversion alone, wherever they come.
TEST(Interleaved, DescriptionsLeaveTheStreamAlone) {
    for (const KnownBody& known : kBodies) {
        if (known.name == "long_headers"s) continue;  // the recording host allows no read of more than 4096
        SCOPED_TRACE(known.name);
        RecordingHost host(messageOf(known.name));
        EmlFilterContext* context = emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr);
        ASSERT_NE(context, nullptr);
        const std::vector<std::string> expected = convertAll(context, 256).calls;
        Conversion conversion;
        for (uint32_t flags = EML_FILL_RESTART; !conversion.finished; flags = 0) {
            ASSERT_EQ(fillOnce(context, 256, conversion, flags), EML_OK);
            if (conversion.finished) break;
            char name[14];
            std::memset(name, 0x5A, sizeof name);
            EXPECT_EQ(emlGetMainNameDate(context, name, nullptr), EML_INVALID_ARGUMENT) << "in progress";
            EXPECT_EQ(std::string(name, sizeof name), std::string(sizeof name, 0x5A))
                << "and nothing is touched";
            readSubFiles(host, context, emlGetFileNumber(context) + 1);
            EmlContainerInfo info{};
            EXPECT_EQ(emlGetContainerInfo(context, &info, &host.record()), EML_OK);
            EXPECT_EQ(info.charset, known.charset);
        }
        EXPECT_EQ(conversion.calls, expected);
        char name[14] = {};
        uint32_t date[2] = {};
        EXPECT_EQ(emlGetMainNameDate(context, name, date), EML_OK) << "allowed again behind the end";
        emlShutdown(context);
    }
}

void giveBack(RecordingHost& host, EmlMetaData& list) {
    for (int32_t i = 0; list.entries != nullptr && i < list.count; ++i) {
        if (list.entries[i] == nullptr) continue;
        if (list.entries[i]->name != nullptr) host.recordHeap().give(list.entries[i]->name);
        if (list.entries[i]->value != nullptr) host.recordHeap().give(list.entries[i]->value);
        host.recordHeap().give(list.entries[i]);
    }
    if (list.entries != nullptr) host.recordHeap().give(list.entries);
}

// Metadata and extraction disturb a conversion. What comes then is a stream of whole records all the same,
// and a restart gives the whole stream again.
TEST(Interleaved, MetadataAndExtractionNeedARestart) {
    for (const char* name : {"mixed", "plain_crlf", "quoted_printable", "base64", "nested", "long_body"}) {
        const std::string message = messageOf(name);
        for (size_t calls = 0; calls < 12; ++calls) {
            for (const bool extracts : {false, true}) {
                SCOPED_TRACE(std::string(name) + " " + std::to_string(calls) +
                             (extracts ? " extraction" : " metadata"));
                RecordingHost host(message, {.heapMode = HeapMode::kGuarded});
                EmlFilterContext* context = emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr);
                ASSERT_NE(context, nullptr);
                const std::vector<std::string> expected = convertAll(context, 256).calls;
                Conversion begun;
                for (size_t i = 0; i < calls; ++i)
                    (void)fillOnce(context, 256, begun, i == 0 ? EML_FILL_RESTART : 0);
                if (extracts) {
                    MemoryOutput output(host);
                    (void)emlExtractSubFileToIOobjEx(context, 1, &output.object(), 0, 0, 0);
                } else {
                    EmlMetaData list{};
                    EXPECT_EQ(emlGetSubFileMetadata(context, 0, 0, nullptr, &list, &host.record()), EML_OK);
                    giveBack(host, list);
                }
                // Without a restart: nothing breaks, and it comes to an end.
                Conversion further;
                for (int i = 0; i < 200 && !further.finished; ++i) (void)fillOnce(context, 256, further);
                EXPECT_TRUE(further.finished);
                (void)walkStream(further.bytes());
                if (!extracts) {
                    EXPECT_EQ(further.calls[0], expected[0]) << "metadata makes the next fill begin anew";
                }
                EXPECT_EQ(convertAll(context, 256).calls, expected);
                emlShutdown(context);
            }
        }
    }
}

}  // namespace
}  // namespace eml::test
