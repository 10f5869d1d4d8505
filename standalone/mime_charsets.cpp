#include "standalone/mime_charsets.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "standalone/iso_2022_jp.h"

namespace emlhost {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Labels that mail has besides those of the standard, by letters and digits. What iconv knows by the very name is
// not here.
constexpr std::array<CharsetLabel, 27> kMoreLabels = {{
    {"unicode11utf7", "UTF-7", CharsetForm::kIconv},
    {"csunicode11utf7", "UTF-7", CharsetForm::kIconv},
    {"xunicode20utf7", "UTF-7", CharsetForm::kIconv},
    {"utf7", "UTF-7", CharsetForm::kIconv},
    {"utf16", "UTF-16", CharsetForm::kIconv},
    {"iso2022jp1", "EUC-JP-MS", CharsetForm::kIso2022Jp},
    {"iso2022jpms", "EUC-JP-MS", CharsetForm::kIso2022Jp},
    {"iso2022jpesc", "EUC-JP-MS", CharsetForm::kIso2022Jp},
    {"cp50220", "EUC-JP-MS", CharsetForm::kIso2022Jp},
    {"cp50221", "EUC-JP-MS", CharsetForm::kIso2022Jp},
    {"cp50222", "EUC-JP-MS", CharsetForm::kIso2022Jp},
    {"hz", "GB18030", CharsetForm::kHz},
    {"cp936", "GB18030", CharsetForm::kIconv},
    {"windows936", "GB18030", CharsetForm::kIconv},
    {"cp950", "BIG5", CharsetForm::kIconv},
    {"windows950", "BIG5", CharsetForm::kIconv},
    {"cp932", "CP932", CharsetForm::kIconv},
    {"cp949", "CP949", CharsetForm::kIconv},
    {"xwindows949", "CP949", CharsetForm::kIconv},
    {"xeuc", "EUC-JP-MS", CharsetForm::kIconv},
    {"xjohab", "JOHAB", CharsetForm::kIconv},
    {"cp1361", "JOHAB", CharsetForm::kIconv},
    {"xmacce", "MAC-CENTRALEUROPE", CharsetForm::kIconv},
    {"xmacroman", "MACINTOSH", CharsetForm::kIconv},
    {"xviettcvn", "TCVN", CharsetForm::kIconv},
    {"cp20866", "KOI8-R", CharsetForm::kIconv},
    {"cp21866", "KOI8-U", CharsetForm::kIconv},
}};

char lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte; }

bool isLetterOrDigit(char byte) {
    return (lower(byte) >= 'a' && lower(byte) <= 'z') || (byte >= '0' && byte <= '9');
}

std::string lowerOf(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

std::string lettersOf(std::string_view label) {
    std::string letters;
    for (const char byte : label) {
        if (isLetterOrDigit(byte)) letters += lower(byte);
    }
    return letters;
}

const CharsetLabel* findLabel(std::string_view label) {
    const auto labels = charsetLabels();
    const auto found =
        std::lower_bound(labels.begin(), labels.end(), label,
                         [](const CharsetLabel& row, std::string_view text) { return row.label < text; });
    return found != labels.end() && found->label == label ? &*found : nullptr;
}

const CharsetLabel* findLetters(std::string_view letters) {
    for (const CharsetLabel& row : kMoreLabels) {
        if (row.label == letters) return &row;
    }
    for (const CharsetLabel& row : charsetLabels()) {
        if (lettersOf(row.label) == letters) return &row;
    }
    return nullptr;
}

// "win1251" and "ms1251" are "cp1251".
std::string codePageOf(const std::string& letters) {
    for (const std::string_view prefix : {"windows", "microsoftcp", "xcp", "win", "ms"}) {
        if (letters.starts_with(prefix)) return "cp" + letters.substr(prefix.size());
    }
    return letters;
}

// A name that may be given to iconv as it stands: nothing in it asks for more than a charset ("//TRANSLIT").
bool isPlainName(std::string_view label) {
    return !label.empty() && std::all_of(label.begin(), label.end(), [](char byte) {
        return isLetterOrDigit(byte) || std::string_view("-_.:+()").find(byte) != std::string_view::npos;
    });
}

// One iconv descriptor that gives UTF-8.
class Descriptor {
  public:
    explicit Descriptor(const char* name) noexcept : descriptor_(::iconv_open("UTF-8", name)) {}
    ~Descriptor() {
        if (isOpen()) ::iconv_close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool isOpen() const noexcept { return descriptor_ != reinterpret_cast<iconv_t>(-1); }

    // 0, or errno. What has been used and written is taken off both. With NULL as the source: writes what is held
    // back.
    int run(std::string_view* source, char*& out, size_t& room) noexcept {
        char* position =
            source != nullptr ? const_cast<char*>(source->data()) : nullptr;  // it does not write
        size_t left = source != nullptr ? source->size() : 0;
        const size_t result =
            ::iconv(descriptor_, source != nullptr ? &position : nullptr, &left, &out, &room);
        const int cause = result == static_cast<size_t>(-1) ? errno : 0;
        if (source != nullptr) source->remove_prefix(source->size() - left);
        return cause;
    }

  private:
    iconv_t descriptor_;
};

// HZ (RFC 1843) in pieces, as EUC-CN. What is no valid text becomes the byte 0xFF.
class HzReader {
  public:
    size_t read(std::string_view text, bool last, std::string& euc) {
        size_t used = 0;
        while (used < text.size()) {
            const size_t length = readOne(text.substr(used), last, euc);
            if (length == 0) break;
            used += length;
        }
        return used;
    }

  private:
    static bool isGraphic(char byte) { return byte > 0x20 && byte < 0x7F; }

    // Bytes used; 0: more are needed.
    size_t readOne(std::string_view text, bool last, std::string& euc) {
        const char first = text[0];
        const bool needsTwo = first == '~' || (chinese_ && isGraphic(first));
        if (needsTwo && text.size() < 2 && !last) return 0;
        const char second = text.size() > 1 ? text[1] : '\0';
        if (first == '~' && (second == '{' || second == '}')) {
            chinese_ = second == '{';
            return 2;
        }
        if (!chinese_ && first == '~' && second == '\n') return 2;  // the line goes on
        if (!chinese_ && first == '~' && second == '~') {
            euc += '~';
            return 2;
        }
        if (chinese_ && isGraphic(first) && isGraphic(second)) {
            euc += static_cast<char>(first | '\x80');
            euc += static_cast<char>(second | '\x80');
            return 2;
        }
        if (first == '\n') chinese_ = false;  // each line starts in ASCII
        const bool invalid = static_cast<unsigned char>(first) >= 0x80 || (chinese_ && isGraphic(first));
        euc += invalid ? '\xFF' : first;
        return 1;
    }

    bool chinese_ = false;
};

// One conversion of the library's.
class Conversion {
  public:
    Conversion(const FoundCharset& charset, const std::string& name)
        : form_(charset.form),
          keepsState_(name.starts_with("ISO-2022") || name.starts_with("UTF-") || name.starts_with("UCS-")),
          unit_(name.starts_with("UTF-16") || name.starts_with("UCS-2")   ? 2
                : name.starts_with("UTF-32") || name.starts_with("UCS-4") ? 4
                                                                          : 1),
          descriptor_(form_ == CharsetForm::kUserDefined ? "US-ASCII" : name.c_str()) {}

    bool isOpen() const noexcept { return descriptor_.isOpen(); }

    uint32_t convert(std::string_view& source, char*& out, size_t& room, bool last) {
        replaced_ = 0;
        if (form_ == CharsetForm::kUserDefined) {
            convertUserDefined(source, out, room);
        } else if (form_ == CharsetForm::kIconv) {
            run(source, out, room, last, last);
        } else {
            convertStaged(source, out, room, last);
        }
        return replaced_;
    }

  private:
    static void convertUserDefined(std::string_view& source, char*& out, size_t& room) {
        while (!source.empty() && room >= kReplacement.size()) {
            const auto byte = static_cast<unsigned char>(source.front());
            source.remove_prefix(1);
            if (byte < 0x80) {
                put(std::string_view(reinterpret_cast<const char*>(&byte), 1), out, room);
            } else {
                const unsigned low = 0xF780u - 0x80u + byte;
                const std::array<char, 3> character = {static_cast<char>(0xE0 | low >> 12),
                                                       static_cast<char>(0x80 | (low >> 6 & 0x3F)),
                                                       static_cast<char>(0x80 | (low & 0x3F))};
                put({character.data(), character.size()}, out, room);
            }
        }
    }

    static void put(std::string_view text, char*& out, size_t& room) {
        std::memcpy(out, text.data(), text.size());
        out += text.size();
        room -= text.size();
    }

    // Runs iconv over the source. `whole`: what it leaves at the end as incomplete is invalid. `flush`: then what it
    // holds back is written.
    void run(std::string_view& source, char*& out, size_t& room, bool whole, bool flush) {
        while (!source.empty()) {
            const int cause = descriptor_.run(&source, out, room);
            if (cause == 0) break;
            if (cause != EILSEQ && !(cause == EINVAL && whole)) return;
            // A character that waits for a combining one comes before the replacement.
            if (!keepsState_ && descriptor_.run(nullptr, out, room) != 0) return;
            if (room < kReplacement.size()) return;
            put(kReplacement, out, room);
            ++replaced_;
            source.remove_prefix(cause == EINVAL ? source.size() : std::min(source.size(), unit_));
        }
        if (flush) descriptor_.run(nullptr, out, room);
    }

    void convertStaged(std::string_view& source, char*& out, size_t& room, bool last) {
        constexpr size_t kAtOnce = 1024;
        for (;;) {
            if (staged_.empty()) {
                const std::string_view piece = source.substr(0, kAtOnce);
                const bool lastPiece = last && piece.size() == source.size();
                const size_t used = form_ == CharsetForm::kHz ? hz_.read(piece, lastPiece, staged_)
                                                              : iso2022Jp_.read(piece, lastPiece, staged_);
                source.remove_prefix(used);
                if (used == 0) break;
            }
            std::string_view rest = staged_;
            run(rest, out, room, true, false);
            staged_.erase(0, staged_.size() - rest.size());
            if (!staged_.empty()) return;  // no room
        }
        if (last) descriptor_.run(nullptr, out, room);
    }

    CharsetForm form_;
    bool keepsState_;
    size_t unit_;  // bytes to go on after an invalid one
    uint32_t replaced_ = 0;
    std::string staged_;  // read, and not converted yet
    Iso2022JpReader iso2022Jp_;
    HzReader hz_;
    Descriptor descriptor_;
};

void* openConversion(void* /*host*/, const char* label) noexcept {
    try {
        const std::optional<FoundCharset> charset = findMimeCharset(label);
        if (!charset) return nullptr;
        auto conversion = std::make_unique<Conversion>(*charset, std::string(charset->iconvName));
        return conversion->isOpen() ? conversion.release() : nullptr;
    } catch (...) {
        return nullptr;
    }
}

uint32_t runConversion(void* conversion, const void* source, uint32_t* sourceLength, void* destination,
                       uint32_t* destinationLength, int32_t last) noexcept {
    std::string_view rest(static_cast<const char*>(source), *sourceLength);
    auto* out = static_cast<char*>(destination);
    size_t room = *destinationLength;
    uint32_t replaced = 0;
    try {
        replaced = static_cast<Conversion*>(conversion)->convert(rest, out, room, last != 0);
    } catch (...) {  // no memory: what was done until here stands
    }
    *sourceLength -= static_cast<uint32_t>(rest.size());
    *destinationLength -= static_cast<uint32_t>(room);
    return replaced;
}

void closeConversion(void* conversion) noexcept { delete static_cast<Conversion*>(conversion); }

constexpr EmlMimeConvert kConvert = {nullptr, openConversion, runConversion, closeConversion};

}  // namespace

const EmlMimeConvert* mimeConvert() noexcept { return &kConvert; }

std::optional<FoundCharset> findMimeCharset(std::string_view label) {
    const auto found = [](const CharsetLabel& row) { return FoundCharset{row.iconvName, row.form}; };
    if (const CharsetLabel* row = findLabel(lowerOf(label))) return found(*row);
    const std::string letters = lettersOf(label);
    if (const CharsetLabel* row = findLetters(letters)) return found(*row);
    if (const CharsetLabel* row = findLetters(codePageOf(letters))) return found(*row);
    if (isPlainName(label) && Descriptor(std::string(label).c_str()).isOpen()) {
        return FoundCharset{label, CharsetForm::kIconv};
    }
    return std::nullopt;
}

}  // namespace emlhost
