#include "tool/text/rtf_text.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "tool/text/charset_decoder.h"
#include "tool/text/rtf_words.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr int32_t kNoFont = -1;
constexpr uint32_t kWestern = 1252;
constexpr size_t kMaxFonts = 10000;
constexpr size_t kMaxDecoders = 64;

// What ends with the group.
struct Group {
    int32_t font = kNoFont;
    uint16_t substitutes = 1;  // characters after one by its number that only others read
    bool skipped = false;
    bool fontTable = false;
    bool hidden = false;
    bool rtfOnly = false;
    bool htmlTag = false;
};

// A control word with its parameter.
struct Word {
    std::string_view name;
    int32_t parameter = 0;
    bool hasParameter = false;

    bool on() const { return !hasParameter || parameter != 0; }
};

constexpr bool isLetter(uint8_t byte) { return (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z'; }
constexpr bool isDigit(uint8_t byte) { return byte >= '0' && byte <= '9'; }

int hexValue(uint8_t byte) {
    if (isDigit(byte)) return byte - '0';
    const int letter = byte | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// Bytes in some code page become UTF-8 when a run of them ends.
class PageText {
  public:
    void add(uint8_t byte, uint32_t codePage) {
        if (codePage != codePage_) end();
        codePage_ = codePage;
        run_ += static_cast<char>(byte);
        ascii_ = ascii_ && byte < 0x80;
    }
    void add(char32_t character) {
        end();
        appendUtf8(text_, character);
    }
    bool empty() const { return run_.empty() && text_.empty(); }
    std::string take() {
        end();
        return std::move(text_);
    }

  private:
    void end() {
        text_ += ascii_ ? run_ : decoder(codePage_).decode(run_);
        run_.clear();
        ascii_ = true;
    }

    // An unknown code page is read as Western. There are as many as the sender likes, so not all are kept.
    CharsetDecoder& decoder(uint32_t codePage) {
        if (decoders_.size() >= kMaxDecoders && !decoders_.contains(codePage)) codePage = kWestern;
        std::unique_ptr<CharsetDecoder>& decoder = decoders_[codePage];
        if (!decoder) decoder = std::make_unique<CharsetDecoder>(codePageLabel(codePage));
        if (!decoder->known()) decoder = std::make_unique<CharsetDecoder>(codePageLabel(kWestern));
        if (!decoder->known()) decoder = std::make_unique<CharsetDecoder>("utf-8");  // iconv lacks its tables
        return *decoder;
    }

    std::string text_;
    std::string run_;
    bool ascii_ = true;
    uint32_t codePage_ = kWestern;
    std::map<uint32_t, std::unique_ptr<CharsetDecoder>> decoders_;
};

class RtfReader {
  public:
    explicit RtfReader(Bytes rtf) : rest_(rtf) { groups_.reserve(kMaxRtfDepth); }

    void read();
    bool fromHtml() const { return fromHtml_; }
    std::string take() { return text_.take(); }

  private:
    Group& group() { return groups_.back(); }
    bool isDropped() {
        const Group& now = group();
        return now.skipped || now.hidden || (fromHtml_ && now.rtfOnly);
    }
    uint8_t next() {
        const uint8_t byte = rest_.front();
        rest_ = rest_.subspan(1);
        return byte;
    }

    void openGroup();
    bool closeGroup();
    void readControl();
    void readHexByte();
    Word readWord();
    void obey(const Word& word);
    void obey(const RtfWord& known, const Word& word);
    void chooseFont(int32_t number);
    void declareFont(uint32_t codePage);
    void skipGroup();
    void readUnicode(int32_t number);
    void putByte(uint8_t byte);
    void putCharacter(char32_t character);
    uint32_t codePage();
    bool isSubstitute();
    bool standsForSubstitute(const RtfWord& known);
    void endSurrogate();

    Bytes rest_;
    std::vector<Group> groups_;
    size_t deeper_ = 0;  // open groups beyond those
    PageText text_;
    bool fromHtml_ = false;
    bool optional_ = false;     // "\*" came
    unsigned substitutes_ = 0;  // still to be left out
    char32_t surrogate_ = 0;    // the first half of a pair
    uint32_t ansiCodePage_ = kWestern;
    int32_t defaultFont_ = 0;
    int32_t declaredFont_ = kNoFont;
    std::unordered_map<int32_t, uint32_t> fonts_;
};

void RtfReader::read() {
    constexpr std::string_view kSignature = "{\\rtf";
    if (rest_.size() < kSignature.size() || !std::equal(kSignature.begin(), kSignature.end(), rest_.begin()))
        return;
    while (!rest_.empty()) {
        const uint8_t byte = next();
        switch (byte) {
            case '{':
                openGroup();
                break;
            case '}':
                if (!closeGroup()) return;
                break;
            case '\\':
                readControl();
                break;
            case '\r':
            case '\n':
            case '\0':
                break;
            default:
                if (!isSubstitute()) putByte(byte);
        }
    }
}

void RtfReader::openGroup() {
    substitutes_ = 0;
    optional_ = false;
    if (groups_.empty()) {
        groups_.emplace_back();
    } else if (groups_.size() == kMaxRtfDepth) {
        ++deeper_;
    } else {
        groups_.push_back(group());
    }
}

// False at the end of the document; anything may follow it.
bool RtfReader::closeGroup() {
    substitutes_ = 0;
    optional_ = false;
    if (deeper_ > 0) {
        --deeper_;
        return true;
    }
    groups_.pop_back();
    return !groups_.empty();
}

void RtfReader::readControl() {
    if (rest_.empty()) return;
    if (isLetter(rest_.front())) return obey(readWord());
    const uint8_t symbol = next();
    if (symbol == '*') {
        optional_ = true;
        return;
    }
    if (symbol == '\'') return readHexByte();
    if (isSubstitute()) return;
    switch (symbol) {
        case '\\':
        case '{':
        case '}':
            return putByte(symbol);
        case '~':
            return putCharacter(0x00A0);
        case '_':
            return putCharacter(0x2011);
        case '\r':
            if (!rest_.empty() && rest_.front() == '\n') next();
            [[fallthrough]];
        case '\n':
            return putCharacter('\n');
        case '\t':
            return putCharacter('\t');
        default:  // among them "\-", where a word may be divided
            return;
    }
}

void RtfReader::readHexByte() {
    int value = 0;
    for (int i = 0; i < 2; ++i) {
        const int digit = rest_.empty() ? -1 : hexValue(rest_.front());
        if (digit < 0) return;
        next();
        value = value * 16 + digit;
    }
    if (!isSubstitute()) putByte(static_cast<uint8_t>(value));
}

Word RtfReader::readWord() {
    constexpr size_t kMaxDigits = 10;
    Word word;
    const auto* begin = reinterpret_cast<const char*>(rest_.data());
    size_t length = 0;
    while (!rest_.empty() && isLetter(rest_.front())) {
        next();
        ++length;
    }
    word.name = {begin, length};
    const bool negative = rest_.size() > 1 && rest_[0] == '-' && isDigit(rest_[1]);
    if (negative) next();
    int64_t number = 0;
    for (size_t digits = 0; digits < kMaxDigits && !rest_.empty() && isDigit(rest_.front()); ++digits) {
        number = number * 10 + (next() - '0');
        word.hasParameter = true;
    }
    word.parameter = static_cast<int32_t>(std::min<int64_t>(number, INT32_MAX));
    if (negative) word.parameter = -word.parameter;
    if (!rest_.empty() && rest_.front() == ' ') next();
    return word;
}

void RtfReader::obey(const Word& word) {
    const RtfWord* known = findRtfWord(word.name);
    const bool isOptional = optional_;
    optional_ = false;
    if (known != nullptr && known->action == RtfAction::kBinary) {
        // Its bytes are skipped even if they stand for a character.
        const auto count = static_cast<size_t>(std::max(word.parameter, 0));
        rest_ = rest_.subspan(std::min(count, rest_.size()));
        isSubstitute();
        return;
    }
    if (known != nullptr && standsForSubstitute(*known)) return;
    // Nobody has to know the group, and its text is not the document's.
    if (isOptional && (known == nullptr || known->action != RtfAction::kHtmlTag || !fromHtml_))
        return skipGroup();
    if (known != nullptr) obey(*known, word);
}

void RtfReader::obey(const RtfWord& known, const Word& word) {
    Group& now = group();
    switch (known.action) {
        case RtfAction::kCharacter:
            return putCharacter(known.value);
        case RtfAction::kCodePage:
            if (known.value != 0 || word.parameter > 0)
                ansiCodePage_ = known.value != 0 ? known.value : static_cast<uint32_t>(word.parameter);
            return;
        case RtfAction::kSkip:
            return skipGroup();
        case RtfAction::kFontTable:
            now.fontTable = true;
            return skipGroup();
        case RtfAction::kFont:
            return chooseFont(word.parameter);
        case RtfAction::kDefaultFont:
            defaultFont_ = word.parameter;
            return;
        case RtfAction::kFontCharset:
            if (std::optional<uint32_t> page = codePageOfFontCharset(word.parameter)) declareFont(*page);
            return;
        case RtfAction::kFontCodePage:
            if (word.parameter > 0) declareFont(static_cast<uint32_t>(word.parameter));
            return;
        case RtfAction::kPlain:
            now.font = kNoFont;
            now.hidden = false;
            return;
        case RtfAction::kUnicode:
            return readUnicode(word.parameter);
        case RtfAction::kUnicodeSkip:
            now.substitutes = static_cast<uint16_t>(std::clamp(word.parameter, 0, 0xFFFF));
            return;
        case RtfAction::kHidden:
            now.hidden = word.on();
            return;
        case RtfAction::kFromHtml:
            fromHtml_ = fromHtml_ || (word.on() && text_.empty());
            return;
        case RtfAction::kRtfOnly:
            now.rtfOnly = word.on();
            return;
        case RtfAction::kHtmlTag:
            now.htmlTag = true;
            return;
        case RtfAction::kBinary:
            return;
    }
}

void RtfReader::chooseFont(int32_t number) {
    if (group().fontTable) {
        declaredFont_ = number;
    } else {
        group().font = number;
    }
}

void RtfReader::declareFont(uint32_t codePage) {
    if (group().fontTable && fonts_.size() < kMaxFonts) fonts_[declaredFont_] = codePage;
}

void RtfReader::skipGroup() {
    // The document itself is no such group, and those beyond the limit are not told apart.
    if (groups_.size() > 1 && deeper_ == 0) group().skipped = true;
}

void RtfReader::readUnicode(int32_t number) {
    substitutes_ = group().substitutes;
    if (isDropped()) return;
    const auto character = static_cast<char32_t>(number < 0 && number >= -0x8000 ? number + 0x10000 : number);
    if (surrogate_ != 0 && character >= 0xDC00 && character <= 0xDFFF) {
        text_.add(0x10000 + ((surrogate_ - 0xD800) << 10) + (character - 0xDC00));
        surrogate_ = 0;
        return;
    }
    endSurrogate();
    if (character >= 0xD800 && character <= 0xDBFF) {
        surrogate_ = character;
    } else {
        putCharacter(character > 0x10FFFF || (character >= 0xDC00 && character <= 0xDFFF) ? U'\uFFFD'
                                                                                          : character);
    }
}

// A first half that has stayed alone.
void RtfReader::endSurrogate() {
    if (surrogate_ != 0) text_.add(U'\uFFFD');
    surrogate_ = 0;
}

// Whether the character or word that has just been read only stands for one by its number.
bool RtfReader::isSubstitute() {
    if (substitutes_ == 0) return false;
    --substitutes_;
    return true;
}

// Programs write "\u8220\ldblquote". A word that ends a line, or another number, stands for itself; and nothing in
// place of the substitute has been written then.
bool RtfReader::standsForSubstitute(const RtfWord& known) {
    if (known.action == RtfAction::kCharacter && known.value >= 0x80) return isSubstitute();
    if (known.action == RtfAction::kCharacter || known.action == RtfAction::kUnicode) substitutes_ = 0;
    return false;
}

uint32_t RtfReader::codePage() {
    if (group().htmlTag) return ansiCodePage_;
    const int32_t font = group().font == kNoFont ? defaultFont_ : group().font;
    const auto found = fonts_.find(font);
    return found == fonts_.end() ? ansiCodePage_ : found->second;
}

void RtfReader::putByte(uint8_t byte) {
    if (isDropped()) return;
    endSurrogate();
    text_.add(byte, codePage());
}

void RtfReader::putCharacter(char32_t character) {
    if (isDropped()) return;
    endSurrogate();
    text_.add(character);
}

}  // namespace

std::string rtfToText(Bytes rtf) {
    RtfReader reader(rtf);
    reader.read();
    return reader.fromHtml() ? "" : reader.take();
}

std::optional<std::string> htmlInRtf(Bytes rtf) {
    RtfReader reader(rtf);
    reader.read();
    if (!reader.fromHtml()) return std::nullopt;
    return reader.take();
}

}  // namespace emltool
