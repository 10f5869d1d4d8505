#include "reference/filter_values.h"

#include "reference/charset.h"
#include "reference/filter_text.h"

namespace reference {
namespace {

constexpr uint32_t kDefaultCharset = 7;

bool isBlank(char byte) { return byte == ' ' || byte == '\t'; }

class Decoder {
  public:
    explicit Decoder(std::string_view text) : text_(text) {}

    FilterValue decode() {
        for (;;) {
            decodeLine();
            const size_t after = at_ + lineEndAt(at_);
            const bool folded = after > at_ && after < text_.size() && isBlank(text_[after]);
            if (!folded) break;
            at_ = after;
            skipBlanks();
        }
        value_.records.push_back(lineBreakRecord());
        value_.end = at_;
        return value_;
    }

  private:
    // The width of the line end at `place`.
    [[nodiscard]] size_t lineEndAt(size_t place) const {
        if (text_.substr(place).starts_with("\r\n")) return 2;
        return text_.substr(place).starts_with("\r") || text_.substr(place).starts_with("\n") ? 1 : 0;
    }

    [[nodiscard]] std::string_view restOfLine() const {
        const std::string_view rest = text_.substr(at_);
        return rest.substr(0, rest.find_first_of(std::string_view("\r\n\0", 3)));
    }

    void skipBlanks() {
        while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    }

    void emit(std::string_view text) {
        if (text.empty()) return;
        value_.records.push_back(textRecord(text));
        value_.gathered += text;
    }

    void announce(uint32_t charset) { value_.records.push_back(charsetRecord(charset)); }

    void decodeLine() {
        for (;;) {
            const std::string_view line = restOfLine();
            const size_t word = line.find("=?");
            emit(line.substr(0, word));
            if (word == std::string_view::npos) {
                at_ += line.size();
                return;
            }
            at_ += word + 2;
            decodeWord();
        }
    }

    void decodeWord() {
        const std::string_view rest = restOfLine();
        const size_t nameEnd = rest.find('?');
        const std::string_view name = rest.substr(0, nameEnd).substr(0, 63);
        const uint32_t known = name.empty() ? 0 : charsetId(name, false);
        const uint32_t charset = known == 0 ? kDefaultCharset : known;
        if (charset != kDefaultCharset) announce(charset);
        if (nameEnd == std::string_view::npos) {
            // A word that its line cuts off in the name: nothing more of it is shown, but its charset is.
            at_ += rest.size();
        } else {
            at_ += nameEnd + 1;
            decodeContent();
        }
        if (charset != kDefaultCharset) announce(kDefaultCharset);
        if (restOfLine().starts_with("?")) ++at_;
        if (restOfLine().starts_with("=")) ++at_;
        const size_t after = at_;
        skipBlanks();
        if (!restOfLine().starts_with("=?")) at_ = after;
    }

    void decodeContent() {
        if (restOfLine().empty()) return;
        const char letter = text_[at_++];
        if (restOfLine().starts_with("?")) ++at_;
        const std::string_view rest = restOfLine();
        const std::string_view content = rest.substr(0, rest.find("?="));
        at_ += content.size();
        if (letter == 'Q' || letter == 'q') {
            emitDecoded(filterQuotedPrintable(content));
        } else if (letter == 'B' || letter == 'b') {
            emitDecoded(filterBase64(content));
        } else {
            emit(content);
        }
    }

    // Decoded text takes the way of a body.
    void emitDecoded(std::string decoded) {
        value_.gathered += fieldText(decoded);
        Buffer buffer = bufferOf(size_t{1} << 20);
        (void)convert(decoded, buffer);
        if (!buffer.bytes.empty()) value_.records.push_back(buffer.bytes);
    }

    std::string_view text_;
    size_t at_ = 0;
    FilterValue value_;
};

}  // namespace

FilterValue filterValue(std::string_view text) { return Decoder(text).decode(); }

}  // namespace reference
