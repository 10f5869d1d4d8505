#include "tool/message/shown_message.h"

#include <emlreader/eml.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace emltool {
namespace {

using emlhost::RecordTag;

// Records made by hand, one after another.
class Records {
  public:
    Records& text(std::string_view bytes) {
        add(RecordTag::kText, word(static_cast<uint32_t>(bytes.size())) + std::string(bytes));
        return *this;
    }
    Records& charset(uint32_t id) { return add(RecordTag::kCharset, word(id)); }
    Records& bold(bool on) { return add(RecordTag::kAttribute, word(on ? 0x8001 : 1)); }
    Records& tab() { return add(RecordTag::kTab, std::string(1, '\0')); }
    Records& lineBreak() { return add(RecordTag::kLineBreak, ""); }
    Records& page() { return add(RecordTag::kPage, std::string(33, '\x7F')); }
    Records& lone() {
        bytes_.push_back(static_cast<uint8_t>(RecordTag::kLone));
        return *this;
    }

    // As the message filter writes it.
    Records& field(std::string_view name, std::string_view value) {
        return bold(true).text(name).bold(false).tab().tab().text(value).lineBreak();
    }

    std::span<const uint8_t> bytes() const { return bytes_; }

  private:
    static std::string word(uint32_t value) {
        std::string text;
        for (int shift = 0; shift < 32; shift += 8) text += static_cast<char>(value >> shift & 0xFF);
        return text;
    }
    Records& add(RecordTag tag, const std::string& payload) {
        bytes_.push_back(static_cast<uint8_t>(tag));
        std::string rest = word(static_cast<uint32_t>(payload.size() + 5)) + payload;
        bytes_.insert(bytes_.end(), rest.begin(), rest.end());
        return *this;
    }

    std::vector<uint8_t> bytes_;
};

// Writes down what it is told, a line each.
class Listener final : public MessageReader {
  public:
    void field(std::string_view name, std::string_view value) override {
        heard.append(name).append("=").append(value).append("|\n");
    }
    void bodyBegins() override { heard += "body\n"; }
    void line(std::string_view text) override { heard.append(text).append("|\n"); }

    std::string heard;
};

std::string read(const Records& records) {
    Listener listener;
    RecordReader reader(listener);
    emlhost::RecordWalker walker(records.bytes());
    emlhost::TextRecord record{};
    while (walker.next(record)) reader.take(record);
    EXPECT_TRUE(walker.complete());
    reader.finish();
    return listener.heard;
}

TEST(RecordReader, GivesFieldsAndLines) {
    Records records;
    records.page().charset(EML_CHARSET_WESTERN).field("From:", " a@b.c").field("Subject:", "  two words \t");
    records.charset(EML_CHARSET_WESTERN).lineBreak().text("one").lineBreak().text("two").tab().text("x");
    EXPECT_EQ(read(records), "From=a@b.c|\nSubject=two words|\nbody\n|\none|\ntwo\tx|\n");
}

TEST(RecordReader, KeepsEmptyLinesAndAddsNone) {
    Records records;
    records.charset(EML_CHARSET_WESTERN).charset(EML_CHARSET_WESTERN);
    EXPECT_EQ(read(records), "body\n");
    records.lineBreak().lineBreak().text("a").lineBreak();
    EXPECT_EQ(read(records), "body\n|\n|\na|\n");
    records.tab();
    EXPECT_EQ(read(records), "body\n|\n|\na|\n\t|\n") << "a line without line break at the end is a line";
}

TEST(RecordReader, JoinsTextThatIsInSeveralRecords) {
    Records records;
    records.charset(EML_CHARSET_UTF_8).bold(true).text("Su").text("bject:").bold(false).tab().tab();
    records.text(" a\xC3").text("\xA4").lineBreak();
    records.charset(EML_CHARSET_UTF_8).text("x\xE2\x82").text("\xAC").text("").lineBreak();
    EXPECT_EQ(read(records), "Subject=aä|\nbody\nx€|\n") << "a character may be cut between two records";
}

TEST(RecordReader, ReadsEachPieceInItsCharset) {
    Records records;
    records.charset(EML_CHARSET_WESTERN).bold(true).text("Subject:").bold(false).tab().tab().text(" \xE4 ");
    records.charset(EML_CHARSET_SHIFT_JIS)
        .text("\x83\x65")
        .charset(EML_CHARSET_WESTERN)
        .text(" \xF6")
        .lineBreak();
    records.field("To:", "\xFC");
    records.charset(EML_CHARSET_SHIFT_JIS).text("\x83\x65").lineBreak();
    EXPECT_EQ(read(records), "Subject=ä テ ö|\nTo=ü|\nbody\nテ|\n");
}

TEST(RecordReader, ALineEndInsideAWordEndsNoValue) {
    Records records;
    records.charset(EML_CHARSET_WESTERN).bold(true).text("Subject:").bold(false).tab().tab();
    records.charset(EML_CHARSET_UTF_8).text("a").lineBreak().text("b").charset(EML_CHARSET_WESTERN);
    records.text(" c").lineBreak().field("To:", "d").charset(EML_CHARSET_UTF_8).text("e").lineBreak();
    EXPECT_EQ(read(records), "Subject=a b c|\nTo=d|\nbody\ne|\n");
}

TEST(RecordReader, ALineEndInsideAWordOfTheDefaultCharsetEndsNoValue) {
    Records
        another;  // =?us-ascii?Q?a=0A?= =?utf-8?Q?b?= in a message in UTF-8, whose body begins with a text
    another.charset(EML_CHARSET_UTF_8).bold(true).text("Subject:").bold(false).tab().tab().text("a");
    another.lineBreak().charset(EML_CHARSET_UTF_8).text("b").charset(EML_CHARSET_WESTERN).lineBreak();
    another.field("To:", "d").charset(EML_CHARSET_UTF_8).text("e").lineBreak().text("f").lineBreak();
    EXPECT_EQ(read(another), "Subject=a b|\nTo=d|\nbody\ne|\nf|\n");

    Records plain;  // =?us-ascii?Q?a=0Ab=0A?= and no other word
    plain.charset(EML_CHARSET_WESTERN).bold(true).text("Subject:").bold(false).tab().tab().text("a");
    plain.lineBreak().text("b").lineBreak().lineBreak().charset(EML_CHARSET_WESTERN).lineBreak().text("c");
    EXPECT_EQ(read(plain), "Subject=a b|\nbody\n|\nc|\n");

    Records last;  // the same word, and the body of one line without a line end
    last.charset(EML_CHARSET_UTF_8).field("Subject:", "a").lineBreak().charset(EML_CHARSET_UTF_8).text("c");
    EXPECT_EQ(read(last), "Subject=a|\nbody\nc|\n");

    Records empty;
    empty.charset(EML_CHARSET_UTF_8).field("Subject:", "a").charset(EML_CHARSET_UTF_8);
    EXPECT_EQ(read(empty), "Subject=a|\nbody\n");
}

TEST(RecordReader, ACharsetInsideAValueBeginsNoBody) {
    Records records;
    records.charset(EML_CHARSET_WESTERN).bold(true).text("Subject:").bold(false);
    records.charset(EML_CHARSET_UTF_8).text("a").charset(EML_CHARSET_WESTERN).lineBreak();
    EXPECT_EQ(read(records), "Subject=a|\n");
}

TEST(RecordReader, DropsTheColonAndNothingElseOfAName) {
    Records records;
    records.charset(EML_CHARSET_WESTERN).field("X:Y:", "v").field("", "w").field(":", "");
    EXPECT_EQ(read(records), "X:Y=v|\n=w|\n=|\n");
}

TEST(RecordReader, TakesRecordsThatSayNothing) {
    Records records;
    records.lone().charset(EML_CHARSET_WESTERN).page().field("A:", "b").lone();
    records.charset(EML_CHARSET_WESTERN).lone().text("c").lone().lineBreak().page();
    EXPECT_EQ(read(records), "A=b|\nbody\nc|\n");
    EXPECT_EQ(read(Records{}), "");
    EXPECT_EQ(read(Records{}.text("a").lineBreak().text("b")), "") << "text without charset is none";
}

TEST(RecordReader, KnowsWhereTheBodyBegins) {
    Listener listener;
    RecordReader reader(listener);
    EXPECT_FALSE(reader.inBody());
    Records records;
    records.charset(EML_CHARSET_WESTERN).field("A:", "b").charset(EML_CHARSET_WESTERN);
    std::vector<bool> inBody;
    emlhost::RecordWalker walker(records.bytes());
    emlhost::TextRecord record{};
    while (walker.next(record)) {
        reader.take(record);
        inBody.push_back(reader.inBody());
    }
    std::vector<bool> wanted(inBody.size(), false);
    wanted.back() = true;
    EXPECT_EQ(inBody, wanted);
}

}  // namespace
}  // namespace emltool
