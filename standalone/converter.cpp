// Conversion in two stages, source -> UTF-32 -> target, so that an invalid byte and a character that the
// target lacks can be told apart: iconv reports both the same way.
#include <emlreader/eml_host.h>
#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "standalone/charsets.h"
#include "standalone/iso_2022_jp.h"

namespace emlhost {

namespace {

// iconv's name for UTF-32 as wide characters, in the byte order of the machine.
constexpr const char* kWideName = "WCHAR_T";
static_assert(sizeof(wchar_t) == sizeof(char32_t), "wide characters hold any code point");

std::string_view bytesOf(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

const Charset& charsetOrWestern(uint32_t id) {
    const Charset* charset = findCharset(id);
    return charset != nullptr ? *charset : *findCharset(EML_CHARSET_WESTERN);
}

std::string swapBytePairs(std::string_view text) {
    std::string swapped(text);
    for (size_t i = 0; i + 1 < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
    return swapped;
}

// The text as the decoder needs it; `storage` holds it if it differs from `text`.
std::string_view prepare(uint32_t charset, std::string_view text, std::string& storage) {
    if (charset == EML_CHARSET_ISO_2022_JP) return storage = eucFromIso2022Jp(text);
    if (charset == EML_CHARSET_UTF_16) {
        if (text.starts_with("\xFF\xFE")) return text.substr(2);
        if (text.starts_with("\xFE\xFF")) return storage = swapBytePairs(text.substr(2));
    }
    return text;
}

// glibc reads UTF-8 of four bytes up to U+1FFFFF. Unicode ends at U+10FFFF, so each byte of a higher code is
// invalid.
void replaceBehindUnicode(std::wstring& wide, wchar_t substitute) {
    constexpr wchar_t kLast = 0x10FFFF;
    constexpr size_t kBytes = 4;
    auto isBehind = [](wchar_t character) { return character > kLast; };
    if (std::none_of(wide.begin(), wide.end(), isBehind)) return;
    std::wstring replaced;
    for (wchar_t character : wide) {
        if (isBehind(character)) {
            replaced.append(kBytes, substitute);
        } else {
            replaced += character;
        }
    }
    wide = std::move(replaced);
}

// Bytes to skip after an invalid one, so that text of 16-bit units stays aligned.
size_t unitSize(uint32_t charset) {
    return charset == EML_CHARSET_UTF_16 || charset == EML_CHARSET_TEXT_16 ? 2 : 1;
}

}  // namespace

// One iconv descriptor.
class Converter::Stage {
  public:
    enum class Stop { kAtEnd, kAtInvalid, kAtTruncated };

    Stage(const char* toName, const char* fromName) : descriptor_(::iconv_open(toName, fromName)) {
        if (descriptor_ == reinterpret_cast<iconv_t>(-1)) {
            throw std::system_error(errno, std::system_category(), "iconv_open");
        }
    }
    ~Stage() { ::iconv_close(descriptor_); }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // Drops what an earlier text has left.
    void reset() { ::iconv(descriptor_, nullptr, nullptr, nullptr, nullptr); }

    // Appends what the descriptor holds back, and what brings the target back to its initial state.
    template <typename Text>
    void finish(Text& target) {
        std::string_view nothing;
        run(nullptr, nothing, target);
    }

    // Converts from the front of `source`, and removes what it has converted.
    template <typename Text>
    Stop convert(std::string_view& source, Text& target) {
        char* position = const_cast<char*>(source.data());  // iconv's old signature; it does not write
        return run(&position, source, target);
    }

  private:
    template <typename Text>
    Stop run(char** position, std::string_view& source, Text& target) {
        constexpr size_t kPiece = 2048;
        std::array<typename Text::value_type, kPiece> piece;
        for (;;) {
            char* output = reinterpret_cast<char*>(piece.data());
            size_t room = sizeof piece;
            size_t left = source.size();
            size_t result = ::iconv(descriptor_, position, &left, &output, &room);
            int cause = result == static_cast<size_t>(-1) ? errno : 0;
            size_t written = sizeof piece - room;
            bool progress = written != 0 || left != source.size();
            target.append(piece.data(), written / sizeof piece[0]);
            source.remove_prefix(source.size() - left);
            if (cause == 0) return Stop::kAtEnd;
            if (cause == EINVAL) return Stop::kAtTruncated;
            if (cause != E2BIG || !progress) return Stop::kAtInvalid;
        }
    }

    iconv_t descriptor_;
};

Converter::Converter(uint32_t fromId, uint32_t toId)
    : fromId_(fromId),
      toId_(toId),
      decoder_(std::make_unique<Stage>(kWideName, charsetOrWestern(fromId).decodeName)),
      encoder_(std::make_unique<Stage>(charsetOrWestern(toId).encodeName, kWideName)) {}

Converter::~Converter() = default;
Converter::Converter(Converter&&) noexcept = default;
Converter& Converter::operator=(Converter&&) noexcept = default;

std::string Converter::convert(std::string_view text, char32_t substitute) {
    return encode(decode(text, static_cast<wchar_t>(substitute)), static_cast<wchar_t>(substitute));
}

std::wstring Converter::decode(std::string_view text, wchar_t substitute) {
    std::string storage;
    std::string_view rest = prepare(fromId_, text, storage);
    std::wstring wide;
    wide.reserve(rest.size() / unitSize(fromId_));
    decoder_->reset();
    while (!rest.empty()) {
        Stage::Stop stop = decoder_->convert(rest, wide);
        decoder_->finish(wide);  // a character that waits for a combining one comes before the substitute
        if (stop == Stage::Stop::kAtEnd) break;
        wide += substitute;
        if (stop == Stage::Stop::kAtTruncated) break;
        rest.remove_prefix(std::min(rest.size(), unitSize(fromId_)));
    }
    replaceBehindUnicode(wide, substitute);
    return wide;
}

std::string Converter::encode(const std::wstring& wide, wchar_t substitute) {
    const std::wstring substituteText(1, substitute);
    const std::wstring questionMark(1, L'?');
    std::string_view rest = bytesOf(wide);
    std::string result;
    result.reserve(wide.size());
    encoder_->reset();
    while (encoder_->convert(rest, result) != Stage::Stop::kAtEnd) {
        std::string_view instead = bytesOf(substituteText);
        if (encoder_->convert(instead, result) != Stage::Stop::kAtEnd) {
            instead = bytesOf(questionMark);
            encoder_->convert(instead, result);
        }
        rest.remove_prefix(std::min(rest.size(), sizeof(wchar_t)));
    }
    encoder_->finish(result);
    return result;
}

std::string convert(std::string_view text, uint32_t fromId, uint32_t toId, char32_t substitute) {
    return Converter(fromId, toId).convert(text, substitute);
}

}  // namespace emlhost
