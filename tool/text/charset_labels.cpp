// Text in a charset that a message names.
#include <emlreader/eml_host.h>
#include <iconv.h>
#include <strings.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

#include "standalone/charsets.h"
#include "tool/text/charset_labels.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

struct Label {
    const char* label;
    uint32_t charset;
};

// Labels whose text is better read in one of the host's charsets than in the one that they name: mail names
// the standard and means the vendor's superset. All other labels are left to iconv.
constexpr std::array<Label, 20> kLabels = {{
    {"ascii", EML_CHARSET_WESTERN},
    {"us-ascii", EML_CHARSET_WESTERN},
    {"iso-8859-1", EML_CHARSET_WESTERN},
    {"latin1", EML_CHARSET_WESTERN},
    {"utf-8", EML_CHARSET_UTF_8},
    {"utf8", EML_CHARSET_UTF_8},
    {"shift_jis", EML_CHARSET_SHIFT_JIS},
    {"shift-jis", EML_CHARSET_SHIFT_JIS},
    {"x-sjis", EML_CHARSET_SHIFT_JIS},
    {"windows-31j", EML_CHARSET_SHIFT_JIS},
    {"iso-2022-jp", EML_CHARSET_ISO_2022_JP},
    {"euc-jp", EML_CHARSET_EUC_JP},
    {"gb2312", EML_CHARSET_GB2312},
    {"gbk", EML_CHARSET_GB2312},
    {"x-gbk", EML_CHARSET_GB2312},
    {"big5", EML_CHARSET_BIG5},
    {"x-x-big5", EML_CHARSET_BIG5},
    {"ks_c_5601-1987", EML_CHARSET_KSC_5601},
    {"euc-kr", EML_CHARSET_EUC_KR},
    {"iso-8859-9", EML_CHARSET_TURKISH},
}};

std::string fromHostCharset(std::string_view bytes, uint32_t charset) {
    try {
        return emlhost::convert(bytes, charset, EML_CHARSET_UTF_8, U'\uFFFD');
    } catch (const std::system_error&) {
        return withoutInvalidBytes(bytes);  // iconv's tables are not installed
    }
}

// Only a plain name is passed to iconv as a label: after "//" it reads options.
bool isPlainLabel(std::string_view label) {
    constexpr std::string_view kLetters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.:";
    constexpr size_t kMaxLength = 40;
    return !label.empty() && label.size() <= kMaxLength &&
           label.find_first_not_of(kLetters) == std::string_view::npos;
}

class Iconv {
  public:
    explicit Iconv(const char* from) : handle_(::iconv_open("UTF-8", from)) {}
    ~Iconv() {
        if (valid()) ::iconv_close(handle_);
    }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    bool valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

    std::string convert(std::string_view bytes) {
        std::string text;
        std::string input(bytes);
        char* from = input.data();
        size_t left = input.size();
        while (left > 0) {
            char piece[512];
            char* to = piece;
            size_t room = sizeof piece;
            size_t result = ::iconv(handle_, &from, &left, &to, &room);
            int failure = result == static_cast<size_t>(-1) ? errno : 0;
            text.append(piece, sizeof piece - room);
            if (failure == E2BIG) continue;
            if (failure != 0) {
                appendUtf8(text, U'\uFFFD');
                ++from;
                --left;
                ::iconv(handle_, nullptr, nullptr, nullptr, nullptr);
            }
        }
        char last[64];  // what a charset with combining marks has held back
        char* to = last;
        size_t room = sizeof last;
        ::iconv(handle_, nullptr, nullptr, &to, &room);
        return text.append(last, sizeof last - room);
    }

  private:
    iconv_t handle_;
};

// ISO-2022-JP is made of ASCII bytes; its escape sequences distinguish it from ASCII and UTF-8.
bool isIso2022Jp(std::string_view bytes) {
    return bytes.find("\x1b$") != std::string_view::npos && bytes.find("\x1b(") != std::string_view::npos;
}

}  // namespace

std::optional<std::string> fromLabelledCharset(std::string_view label, std::string_view bytes) {
    std::string name(label.substr(0, label.find('*')));  // a language may follow: "utf-8*en"
    for (const Label& known : kLabels) {
        if (::strcasecmp(name.c_str(), known.label) == 0) return fromHostCharset(bytes, known.charset);
    }
    if (!isPlainLabel(name)) return std::nullopt;
    Iconv converter(name.c_str());
    if (!converter.valid()) return std::nullopt;
    // Whatever iconv returns, the result is valid UTF-8.
    return withoutInvalidBytes(converter.convert(bytes));
}

std::string fromUnlabelledCharset(std::string_view bytes, uint32_t charset) {
    if (isIso2022Jp(bytes)) return fromHostCharset(bytes, EML_CHARSET_ISO_2022_JP);
    if (isUtf8(bytes) && charset != EML_CHARSET_UTF_7) return std::string(bytes);
    // A name is bytes, so a charset of 16-bit units cannot be meant. Bytes that are invalid in a message that
    // claims to be UTF-8 are usually Western.
    bool useless = charset == EML_CHARSET_UNKNOWN || charset == EML_CHARSET_UTF_8 ||
                   charset == EML_CHARSET_UTF_16 || charset == EML_CHARSET_TEXT_16;
    return fromHostCharset(bytes, useless ? EML_CHARSET_WESTERN : charset);
}

uint32_t charsetIdOf(std::string_view label) {
    constexpr uint32_t kIds = 256;
    const std::string name(label);
    for (const Label& known : kLabels) {
        if (::strcasecmp(name.c_str(), known.label) == 0) return known.charset;
    }
    for (uint32_t id = 1; id < kIds; ++id) {
        const emlhost::Charset* charset = emlhost::findCharset(id);
        if (charset != nullptr && ::strcasecmp(name.c_str(), charset->label) == 0) return id;
    }
    return 0;
}

}  // namespace emltool
