#include "tool/text/charset_guess.h"

#ifdef EML_WITH_CHARSET_GUESS

#include <uchardet.h>

#include <algorithm>
#include <memory>

#include "standalone/mime_charsets.h"
#include "tool/loading/shared_library.h"

namespace emltool {

namespace {

struct Library {
    decltype(::uchardet_new)* create = nullptr;
    decltype(::uchardet_delete)* remove = nullptr;
    decltype(::uchardet_handle_data)* feed = nullptr;
    decltype(::uchardet_data_end)* end = nullptr;
    decltype(::uchardet_get_charset)* charset = nullptr;
    bool isLoaded = false;

    Library() {
        isLoaded = SharedLibrary(EML_CHARSET_GUESS_LIBRARY)
                       .get(create, "uchardet_new")
                       .get(remove, "uchardet_delete")
                       .get(feed, "uchardet_handle_data")
                       .get(end, "uchardet_data_end")
                       .get(charset, "uchardet_get_charset")
                       .isComplete();
    }
};

const Library& library() {
    static const Library loaded;
    return loaded;
}

struct Deleter {
    void operator()(uchardet* detector) const { library().remove(detector); }
};

}  // namespace

std::string charsetGuessLack() {
    return library().isLoaded ? "" : "run without " EML_CHARSET_GUESS_LIBRARY ", which cannot be loaded";
}

std::optional<std::string> guessCharset(std::string_view bytes) {
    const auto isEightBit = [](char byte) { return static_cast<unsigned char>(byte) > 0x7F; };
    bytes = bytes.substr(0, kCharsetGuessBytes);
    if (std::count_if(bytes.begin(), bytes.end(), isEightBit) < kCharsetGuessLetters) return std::nullopt;
    if (!library().isLoaded) return std::nullopt;
    const std::unique_ptr<uchardet, Deleter> detector(library().create());
    if (!detector || library().feed(detector.get(), bytes.data(), bytes.size()) != 0) return std::nullopt;
    library().end(detector.get());
    std::string label = library().charset(detector.get());
    if (label == "ASCII" || !emlhost::findMimeCharset(label)) return std::nullopt;
    return label;
}

}  // namespace emltool

#else

namespace emltool {

std::string charsetGuessLack() { return "built without libuchardet"; }

std::optional<std::string> guessCharset(std::string_view) { return std::nullopt; }

}  // namespace emltool

#endif
