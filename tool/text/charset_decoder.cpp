#include "tool/text/charset_decoder.h"

#include <algorithm>

#include "standalone/mime_charsets.h"
#include "tool/text/utf8.h"

namespace emltool {

void CharsetDecoder::Closer::operator()(void* conversion) const { emlhost::mimeConvert()->close(conversion); }

CharsetDecoder::CharsetDecoder(std::string_view label) {
    const EmlMimeConvert* convert = emlhost::mimeConvert();
    conversion_.reset(convert->open(convert->host, std::string(label).c_str()));
}

std::string CharsetDecoder::decode(std::string_view bytes) {
    constexpr size_t kAtOnce = size_t{1} << 20;
    std::string text;
    for (;;) {
        char piece[4096];
        const auto given = static_cast<uint32_t>(std::min(bytes.size(), kAtOnce));
        uint32_t used = given;
        uint32_t written = sizeof piece;
        replaced_ += emlhost::mimeConvert()->convert(conversion_.get(), bytes.data(), &used, piece, &written,
                                                     given == bytes.size() ? 1 : 0);
        text.append(piece, written);
        bytes.remove_prefix(used);
        if (used == 0 && written == 0) break;
    }
    // Whatever iconv returns, the result is valid UTF-8.
    return isUtf8(text) ? text : withoutInvalidBytes(text);
}

std::optional<std::string> toUtf8(std::string_view bytes, std::string_view label) {
    CharsetDecoder decoder(label);
    if (!decoder.known()) return std::nullopt;
    return decoder.decode(bytes);
}

}  // namespace emltool
