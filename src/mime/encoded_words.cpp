#include "mime/encoded_words.h"

#include <array>

#include "bytes/ascii.h"
#include "bytes/subtext.h"
#include "mime/text_conversion.h"
#include "mime/word_decoders.h"

namespace eml {

namespace {

constexpr size_t kNowhere = std::string_view::npos;

bool isBlankOrLineEnd(char character) {
    const auto byte = static_cast<uint8_t>(character);
    return isBlank(byte) || isLineEnd(byte);
}

bool isAllBlank(std::string_view text) { return std::all_of(text.begin(), text.end(), isBlankOrLineEnd); }

bool isCharsetCharacter(char character) {
    return character > ' ' && character < 0x7F && character != '?' && character != '=' && character != '"';
}

// Where the text of a word ends, and where the word does. Both kNowhere: it does not.
struct WordEnd {
    size_t text;
    size_t word;
};

WordEnd findWordEnd(std::string_view text, size_t start, bool base64) {
    for (size_t mark = text.find('?', start); mark != kNowhere; mark = text.find('?', mark + 1)) {
        if (mark + 1 == text.size()) return {mark, mark + 1};
        if (text[mark + 1] == '=') return {mark, mark + 2};
        if (base64) {
            const std::string_view digits = subtext(text, start, mark - start);
            const bool whole = isBlankOrLineEnd(text[mark + 1]) &&
                               std::none_of(digits.begin(), digits.end(), isBlankOrLineEnd);
            if (whole) return {mark, mark + 1};
            break;
        }
        if (mark > start && text[mark - 1] == '=') break;  // "=?": another word begins
    }
    return {kNowhere, kNowhere};
}

// Decoded bytes on their way into the conversion.
template <class Sink>
class ConvertingSink {
  public:
    ConvertingSink(TextConversion& conversion, Sink& out) : conversion_(conversion), out_(out) {}

    OutputSpan space() {
        if (length_ == bytes_.size()) flush(false);
        return {bytes_.data() + length_, bytes_.data() + bytes_.size()};
    }

    void commit(const uint8_t* end) { length_ = static_cast<size_t>(end - bytes_.data()); }

    void flush(bool last) {
        const std::string_view piece(reinterpret_cast<const char*>(bytes_.data()), length_);
        conversion_.feed(piece, last, out_);
        length_ = 0;
    }

  private:
    TextConversion& conversion_;
    Sink& out_;
    size_t length_ = 0;
    std::array<uint8_t, 256> bytes_;
};

// Text whose line ends become blanks.
class OneLineSink {
  public:
    explicit OneLineSink(TextBuilder& out) : out_(out) {}

    OutputSpan space() { return begin_ = out_.space(); }

    void commit(uint8_t* end) {
        for (uint8_t* pos = begin_.begin; pos != end; ++pos) {
            if (isLineEnd(*pos)) *pos = ' ';
        }
        out_.commit(end);
    }

  private:
    TextBuilder& out_;
    OutputSpan begin_{};
};

bool equalLabels(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           equalNoCase(reinterpret_cast<const uint8_t*>(left.data()), right.data(), left.size());
}

// Decodes the words of a run, with what stands between them left out.
template <class Sink>
void decodeWords(std::string_view run, Sink& sink) {
    WordBase64 base64;
    while (const std::optional<EncodedWord> word = encodedWordAt(run)) {
        if (word->base64) {
            base64.decode(word->text, sink);
        } else {
            decodeWordQ(word->text, sink);
        }
        run.remove_prefix(word->length);
        while (!run.empty() && isBlankOrLineEnd(run.front())) run.remove_prefix(1);
    }
}

// The length of the run that begins with `first`: this word and those after it that are joined with it.
size_t runLength(std::string_view text, const EncodedWord& first) {
    size_t end = first.length;
    for (;;) {
        size_t next = end;
        while (next < text.size() && isBlankOrLineEnd(text[next])) ++next;
        const std::optional<EncodedWord> word = encodedWordAt(subtext(text, next));
        if (!word || word->base64 != first.base64 || !equalLabels(word->charset, first.charset)) return end;
        end = next + word->length;
    }
}

// Looks whether decoded words are UTF-8, and whether they hold control characters.
class CheckingSink {
  public:
    OutputSpan space() { return {bytes_.data(), bytes_.data() + bytes_.size()}; }

    void commit(const uint8_t* end) {
        const uint8_t* const begin = bytes_.data();
        check_.feed({reinterpret_cast<const char*>(begin), static_cast<size_t>(end - begin)});
        controls_ = controls_ || std::any_of(begin, end, isControl);
    }

    [[nodiscard]] bool isUtf8() const { return check_.finish(); }
    // UTF-8 without the control characters by which other charsets shift (ISO 2022), or that they hold (UTF-16).
    [[nodiscard]] bool isPlainUtf8() const { return isUtf8() && !controls_; }

  private:
    static bool isControl(uint8_t byte) { return byte < ' ' && byte != '\t' && !isLineEnd(byte); }

    std::array<uint8_t, 64> bytes_;
    Utf8Check check_;
    bool controls_ = false;
};

// The charset that a run is converted from. Words that name US-ASCII, or say that their charset is unknown, hold
// what raw 8-bit text holds.
std::string_view charsetOfRun(std::string_view run, std::string_view label, const HeaderText& how) {
    const bool guess =
        label.empty() || knownCharset(label) == KnownCharset::kAscii || isLabelOfUnknown(label);
    if (!guess) return label;
    CheckingSink check;
    decodeWords(run, check);
    if (check.isUtf8()) return "utf-8";
    const std::string_view fallback = how.fallbackCharset;
    if (fallback.empty() || knownCharset(fallback) != KnownCharset::kOther) return "windows-1252";
    const TextConversion known(how.convert, fallback);
    return known.outcome().unknownCharset ? "windows-1252" : fallback;
}

// Text without encoded words: unfolded, raw 8-bit text guessed line by line.
void appendPlain(std::string_view text, const HeaderText& how, TextBuilder& out) {
    while (!text.empty()) {
        const size_t lineEnd = std::min(text.find_first_of("\r\n"), text.size());
        appendGuessed(subtext(text, 0, lineEnd), how.fallbackCharset, how.convert, out);
        text.remove_prefix(std::min(lineEnd + 1, text.size()));
    }
}

// Decodes a run of words after the plain text `before`.
void convertRun(std::string_view before, std::string_view run, TextConversion& conversion,
                const HeaderText& how, TextBuilder& out) {
    appendPlain(before, how, out);
    OneLineSink oneLine(out);
    ConvertingSink<OneLineSink> sink(conversion, oneLine);
    decodeWords(run, sink);
    sink.flush(true);
}

// The same in the charset that its first word names. False, and nothing written: nobody knows that charset, and
// its text is not plain UTF-8 all the same.
bool appendRun(std::string_view before, std::string_view run, const EncodedWord& first, const HeaderText& how,
               TextBuilder& out) {
    TextConversion conversion(how.convert, charsetOfRun(run, first.charset, how));
    if (!conversion.outcome().unknownCharset) {
        convertRun(before, run, conversion, how, out);
        return true;
    }
    CheckingSink check;
    decodeWords(run, check);
    if (!check.isPlainUtf8()) return false;
    TextConversion utf8(nullptr, "utf-8");
    convertRun(before, run, utf8, how, out);
    return true;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlankOrLineEnd(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlankOrLineEnd(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace

std::optional<EncodedWord> encodedWordAt(std::string_view text) {
    if (!text.starts_with("=?")) return std::nullopt;
    size_t mark = 2;
    while (mark < text.size() && isCharsetCharacter(text[mark])) ++mark;
    if (text.size() - mark < 3 || text[mark] != '?' || text[mark + 2] != '?') return std::nullopt;
    const uint8_t encoding = toLower(static_cast<uint8_t>(text[mark + 1]));
    if (encoding != 'b' && encoding != 'q') return std::nullopt;
    const size_t start = mark + 3;
    const WordEnd end = findWordEnd(text, start, encoding == 'b');
    if (end.word == kNowhere) return std::nullopt;
    const std::string_view charset = subtext(text, 2, mark - 2);
    return EncodedWord{subtext(charset, 0, charset.find('*')), encoding == 'b',
                       subtext(text, start, end.text - start), end.word};
}

bool hasEncodedWord(std::string_view text) {
    for (size_t mark = text.find("=?"); mark != kNowhere; mark = text.find("=?", mark + 1)) {
        if (encodedWordAt(subtext(text, mark))) return true;
    }
    return false;
}

void appendDecoded(std::string_view text, const HeaderText& how, TextBuilder& out) {
    size_t done = 0;  // up to here everything is written
    bool afterWord = false;
    size_t mark = text.find("=?");
    while (mark != kNowhere) {
        const std::optional<EncodedWord> word = encodedWordAt(subtext(text, mark));
        size_t next = mark + 1;
        if (word) {
            const std::string_view run = subtext(text, mark, runLength(subtext(text, mark), *word));
            const std::string_view before = subtext(text, done, mark - done);
            const bool onlyBlanks = afterWord && isAllBlank(before);
            next = mark + run.size();
            if (appendRun(onlyBlanks ? std::string_view{} : before, run, *word, how, out)) {
                done = next;
                afterWord = true;
            }
        }
        mark = text.find("=?", next);
    }
    appendPlain(subtext(text, done), how, out);
}

void appendDecodedTrimmed(std::string_view text, const HeaderText& how, TextBuilder& out) {
    const uint32_t start = out.length();
    appendDecoded(trimmed(text), how, out);
    const std::string_view written = out.since(start);
    const std::string_view kept = trimmed(written);
    const auto leading = static_cast<uint32_t>(kept.data() - written.data());
    out.truncate(start + leading + static_cast<uint32_t>(kept.size()));
    out.erase(start, leading);
}

}  // namespace eml
