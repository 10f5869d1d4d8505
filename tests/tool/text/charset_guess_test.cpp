#include "tool/text/charset_guess.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include "tool/text/charset_decoder.h"
#include "tool/text/utf8.h"

namespace emltool {
namespace {

// `text` in `charset`, which has all its characters.
std::string encoded(std::string text, const char* charset) {
    iconv_t converter = ::iconv_open(charset, "UTF-8");
    EXPECT_NE(converter, reinterpret_cast<iconv_t>(-1)) << charset;
    std::string result(text.size() * 2 + 16, '\0');
    char* from = text.data();
    char* to = result.data();
    size_t left = text.size();
    size_t room = result.size();
    EXPECT_EQ(::iconv(converter, &from, &left, &to, &room), 0U) << charset;
    ::iconv_close(converter);
    result.resize(result.size() - room);
    return result;
}

constexpr std::string_view kRussian =
    "Добрый день! Посылаем вам отчёт за третий квартал и просим ответить до пятницы. "
    "Если у вас будут вопросы, позвоните нам по телефону.";
constexpr std::string_view kJapanese =
    "いつもお世話になっております。来週の会議の資料をお送りしますので、ご確認ください。"
    "ご質問がありましたら、お知らせください。";
constexpr std::string_view kChinese =
    "您好，附件是我们第三季度的报告，请您在星期五以前回复。如果有问题，请打电话给我们。";
constexpr std::string_view kPolish =
    "Dzień dobry, w załączeniu przesyłam sprawozdanie za trzeci kwartał. Proszę o odpowiedź do piątku. "
    "Jeśli mają Państwo pytania, proszę dzwonić; książki można też odebrać później w księgarni.";
constexpr std::string_view kKorean =
    "안녕하세요. 다음 주 회의 자료를 보내 드리니 확인해 주시기 바랍니다. 질문이 있으시면 연락해 주십시오.";

TEST(CharsetGuess, IsRightForALetterOfSomeSentences) {
    if (!guessesCharsets()) GTEST_SKIP() << "built without libuchardet";
    struct Case {
        std::string_view text;
        const char* charset;
    };
    const Case cases[] = {
        {kRussian, "KOI8-R"},  {kRussian, "CP1251"},    {kJapanese, "SHIFT_JIS"}, {kJapanese, "EUC-JP"},
        {kChinese, "GB18030"}, {kPolish, "ISO-8859-2"}, {kKorean, "EUC-KR"},
    };
    for (const Case& one : cases) {
        const std::string bytes = encoded(std::string(one.text), one.charset);
        std::optional<std::string> label = guessCharset(bytes);
        ASSERT_TRUE(label) << one.charset;
        // What counts is the text: one charset may contain another.
        EXPECT_EQ(toUtf8(bytes, *label), one.text) << one.charset << " is taken for " << *label;
    }
}

TEST(CharsetGuess, IsNotMadeWhereThereIsNothingToGuess) {
    EXPECT_EQ(guessCharset(""), std::nullopt);
    EXPECT_EQ(guessCharset("plain text"), std::nullopt);
    EXPECT_EQ(guessCharset(std::string(1000, '\0')), std::nullopt);
}

TEST(CharsetGuess, LooksAtTheStartOnly) {
    EXPECT_EQ(guessCharset(std::string(kCharsetGuessBytes, 'a') + encoded(std::string(kRussian), "KOI8-R")),
              std::nullopt);
}

// Whatever the bytes are, a label that is given can be read.
TEST(CharsetGuess, GivesLabelsThatAreKnown) {
    uint32_t state = 1;
    for (size_t round = 0; round < 300; ++round) {
        std::string bytes(round * 7 % 900, '\0');
        for (char& byte : bytes) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<char>(state >> 24);
        }
        if (std::optional<std::string> label = guessCharset(bytes)) {
            EXPECT_TRUE(CharsetDecoder(*label).known()) << *label;
        }
    }
}

TEST(CharsetDecoder, ReadsWhatALabelMeans) {
    struct Case {
        const char* label;
        std::string_view bytes;
        std::string_view text;
        uint64_t replaced;
    };
    const Case cases[] = {
        {"utf-8", "ä", "ä", 0},
        {"iso-8859-1", "\xE4\x80", "ä€", 0},
        {"us-ascii", "a", "a", 0},
        {"KOI8-R", "\xD0\xD2", "пр", 0},
        {"Windows 1251", "\xE4", "д", 0},
        {"tis-620", "\xA1", "ก", 0},
        {"iso-8859-16", "\xA4", "€", 0},
        {"gbk", "\xC4\xE3", "你", 0},
        {"iso-2022-kr", "\x1B$)C\x0E\x30\x21\x0F.", "가.", 0},
        {"utf-8", "a\xFFz", "a\uFFFDz", 1},
        {"utf-8", "a\xE2\x82", "a\uFFFD", 1},
        {"shift_jis", "\x83", "\uFFFD", 1},
        {"utf-8", "", "", 0},
    };
    for (const Case& one : cases) {
        CharsetDecoder decoder(one.label);
        ASSERT_TRUE(decoder.known()) << one.label;
        EXPECT_EQ(decoder.decode(one.bytes), one.text) << one.label;
        EXPECT_EQ(decoder.replaced(), one.replaced) << one.label;
        EXPECT_EQ(decoder.decode(one.bytes), one.text) << one.label << ", once more";
        EXPECT_EQ(toUtf8(one.bytes, one.label), one.text) << one.label;
    }
    for (const char* label : {"", "no-such-charset", "utf-8//TRANSLIT", "../x"}) {
        EXPECT_FALSE(CharsetDecoder(label).known()) << label;
        EXPECT_EQ(toUtf8("a", label), std::nullopt) << label;
    }
}

TEST(CharsetDecoder, ReadsTextsOfAnyLength) {
    std::string text;
    while (text.size() < size_t{3} << 19) text += kJapanese;
    EXPECT_EQ(toUtf8(encoded(text, "SHIFT_JIS"), "shift_jis"), text);
    EXPECT_EQ(toUtf8(encoded(text, "ISO-2022-JP"), "iso-2022-jp"), text);
    EXPECT_EQ(toUtf8(text, "utf-8"), text);
}

}  // namespace
}  // namespace emltool
