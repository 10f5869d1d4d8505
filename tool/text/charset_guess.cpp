#include "tool/text/charset_guess.h"

#ifdef EML_WITH_CHARSET_GUESS

#include <uchardet.h>

#include <algorithm>
#include <memory>

#include "standalone/mime_charsets.h"

namespace emltool {

namespace {

struct Deleter {
    void operator()(uchardet* detector) const { ::uchardet_delete(detector); }
};

}  // namespace

bool guessesCharsets() { return true; }

std::optional<std::string> guessCharset(std::string_view bytes) {
    const auto isEightBit = [](char byte) { return static_cast<unsigned char>(byte) > 0x7F; };
    bytes = bytes.substr(0, kCharsetGuessBytes);
    if (std::count_if(bytes.begin(), bytes.end(), isEightBit) < kCharsetGuessLetters) return std::nullopt;
    const std::unique_ptr<uchardet, Deleter> detector(::uchardet_new());
    if (!detector || ::uchardet_handle_data(detector.get(), bytes.data(), bytes.size()) != 0)
        return std::nullopt;
    ::uchardet_data_end(detector.get());
    std::string label = ::uchardet_get_charset(detector.get());
    if (label == "ASCII" || !emlhost::findMimeCharset(label)) return std::nullopt;
    return label;
}

}  // namespace emltool

#else

namespace emltool {

bool guessesCharsets() { return false; }

std::optional<std::string> guessCharset(std::string_view) { return std::nullopt; }

}  // namespace emltool

#endif
