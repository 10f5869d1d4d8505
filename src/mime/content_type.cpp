#include "mime/content_type.h"

#include <emlreader/eml_mime.h>

#include <algorithm>
#include <array>

#include "bytes/ascii.h"
#include "bytes/subtext.h"

namespace eml {

namespace {

bool isBlankOrLineEnd(char character) {
    const auto byte = static_cast<uint8_t>(character);
    return isBlank(byte) || isLineEnd(byte);
}

bool isOneOf(char character, std::string_view set) { return set.find(character) != std::string_view::npos; }

bool equalWords(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           equalNoCase(reinterpret_cast<const uint8_t*>(left.data()), right.data(), left.size());
}

// The length of the comment at the beginning of `text`, which comments inside may nest in; 0 when it does not end.
size_t commentLength(std::string_view text) {
    uint32_t depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\')
            ++i;
        else if (text[i] == '(')
            ++depth;
        else if (text[i] == ')' && --depth == 0)
            return i + 1;
    }
    return 0;
}

// Without blanks, line ends and comments in front. A "(" that does not end is passed over alone, and so are all that
// follow it: text is looked at twice at most.
std::string_view afterComments(std::string_view text) {
    bool open = false;
    while (!text.empty()) {
        if (isBlankOrLineEnd(text.front())) {
            text.remove_prefix(1);
            continue;
        }
        if (text.front() != '(') break;
        const size_t length = open ? 0 : commentLength(text);
        open = open || length == 0;
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return text;
}

// Takes a token from the front of `text`; quotes around it go.
std::string_view takeToken(std::string_view& text) {
    constexpr std::string_view kEnds = ";/(\"=,";
    if (text.starts_with('"')) text.remove_prefix(1);
    size_t end = 0;
    while (end < text.size() && !isBlankOrLineEnd(text[end]) && !isOneOf(text[end], kEnds)) ++end;
    const std::string_view token = subtext(text, 0, end);
    text.remove_prefix(end);
    if (text.starts_with('"')) text.remove_prefix(1);
    return token;
}

std::string_view defaultSubtype(std::string_view type) {
    if (equalWords(type, "text")) return "plain";
    if (equalWords(type, "multipart")) return "mixed";
    return {};
}

struct KnownEncoding {
    std::string_view name;
    uint32_t encoding;
};

constexpr std::array<KnownEncoding, 11> kEncodings = {{
    {"7bit", EML_MIME_ENCODING_7BIT},
    {"8bit", EML_MIME_ENCODING_8BIT},
    {"binary", EML_MIME_ENCODING_BINARY},
    {"base64", EML_MIME_ENCODING_BASE64},
    {"quoted-printable", EML_MIME_ENCODING_QUOTED_PRINTABLE},
    {"x-uuencode", EML_MIME_ENCODING_UUENCODE},
    {"uuencode", EML_MIME_ENCODING_UUENCODE},
    {"x-uue", EML_MIME_ENCODING_UUENCODE},
    {"uue", EML_MIME_ENCODING_UUENCODE},
    {"x-yenc", EML_MIME_ENCODING_YENC},
    {"yenc", EML_MIME_ENCODING_YENC},
}};

// What programs write besides, by letters and digits alone.
constexpr std::array<KnownEncoding, 6> kMisspelt = {{
    {"7bits", EML_MIME_ENCODING_7BIT},
    {"8bits", EML_MIME_ENCODING_8BIT},
    {"quotedprintable", EML_MIME_ENCODING_QUOTED_PRINTABLE},
    {"xbase64", EML_MIME_ENCODING_BASE64},
    {"xuuencode", EML_MIME_ENCODING_UUENCODE},
    {"xyenc", EML_MIME_ENCODING_YENC},
}};

uint32_t encodingNamed(std::string_view word) {
    const auto* found =
        std::find_if(kEncodings.begin(), kEncodings.end(),
                     [word](const KnownEncoding& known) { return equalWords(known.name, word); });
    return found == kEncodings.end() ? EML_MIME_ENCODING_UNKNOWN : found->encoding;
}

bool isLetterOrDigit(char character) {
    const uint8_t lower = toLower(static_cast<uint8_t>(character));
    return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9');
}

// The same by letters and digits: "base 64", "8-bit".
uint32_t encodingLike(std::string_view text) {
    std::array<char, 20> letters{};
    size_t count = 0;
    for (const char character : text) {
        if (!isLetterOrDigit(character)) continue;
        if (count == letters.size()) return EML_MIME_ENCODING_UNKNOWN;
        letters[count++] = character;
    }
    const std::string_view word(letters.data(), count);
    for (const KnownEncoding& known : kMisspelt) {
        if (equalWords(known.name, word)) return known.encoding;
    }
    return encodingNamed(word);
}

// The text up to a ";" or the first comment, without blanks and quotes at its end.
std::string_view wordsOf(std::string_view text) {
    std::string_view words = subtext(text, 0, text.find_first_of(";("));
    while (!words.empty() && isBlankOrLineEnd(words.back())) words.remove_suffix(1);
    return words;
}

}  // namespace

MediaType readMediaType(std::string_view value) {
    const std::string_view start = afterComments(value);
    std::string_view rest = start;
    MediaType media{};
    media.type = takeToken(rest);
    const std::string_view afterType = rest;
    rest = afterComments(rest);
    if (rest.starts_with('=')) return {{}, {}, start};  // a parameter: the type is missing
    if (rest.starts_with('/')) {
        rest = afterComments(subtext(rest, 1));
        media.subtype = takeToken(rest);
        media.parameters = rest;
    } else {
        media.parameters = afterType;
    }
    if (media.subtype.empty()) media.subtype = defaultSubtype(media.type);
    if (media.type.empty() || media.subtype.empty()) media.type = media.subtype = {};
    return media;
}

TokenAndParameters readToken(std::string_view value) {
    const std::string_view start = afterComments(value);
    std::string_view rest = start;
    const std::string_view token = takeToken(rest);
    if (afterComments(rest).starts_with('=')) return {{}, start};  // a parameter: the token is missing
    return {token, rest};
}

EncodingName readTransferEncoding(std::string_view value) {
    const std::string_view text = afterComments(value);
    const std::string_view words = wordsOf(text);
    const std::string_view after = afterComments(subtext(text, words.size()));
    EncodingName name{encodingNamed(words), words, !after.empty()};
    if (words.empty()) name.encoding = EML_MIME_ENCODING_NONE;
    if (name.encoding != EML_MIME_ENCODING_UNKNOWN) return name;
    name.encoding = encodingLike(words);
    if (name.encoding == EML_MIME_ENCODING_UNKNOWN) {
        name.encoding = encodingNamed(subtext(words, 0, words.find_first_of(" \t\r\n,")));
    }
    name.irregular = name.encoding != EML_MIME_ENCODING_UNKNOWN;
    return name;
}

void appendLower(std::string_view text, TextBuilder& out) {
    for (const char character : text) out.append(toLower(static_cast<uint8_t>(character)));
}

}  // namespace eml
