#include "reference/encoded_words.h"

#include "reference/decoders.h"

namespace reference {

Bytes decodeHeaderText(const Bytes& input) {
    const std::string text = textOf(input);
    constexpr size_t kNone = std::string::npos;
    std::string result;
    char encoding = 0;
    for (size_t at = 0;;) {
        const size_t word = text.find("=?", at);
        if (word == kNone) return bytesOf(result + text.substr(at));
        result += text.substr(at, word - at);
        const size_t labelEnd = text.find('?', word + 2);
        if (labelEnd == kNone || labelEnd + 1 == text.size()) return bytesOf(result);
        const char letter = text[labelEnd + 1];
        if (letter == 'q' || letter == 'Q') encoding = 'Q';
        if (letter == 'b' || letter == 'B') encoding = 'B';
        const size_t fieldEnd = text.find('?', labelEnd + 1);
        if (fieldEnd == kNone) return bytesOf(result);
        const size_t close = text.find("?=", fieldEnd + 1);
        const std::string content = text.substr(fieldEnd + 1, close == kNone ? kNone : close - fieldEnd - 1);
        if (!content.empty()) {
            if (encoding == 'Q') result += textOf(decodeQuotedPrintableText(bytesOf(content), true));
            if (encoding == 'B') result += textOf(decodeBase64(bytesOf(content), true));
            if (encoding == 0) result += content;
        }
        if (close == kNone) return bytesOf(result);
        at = close + 2;
    }
}

}  // namespace reference
