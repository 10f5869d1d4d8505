#include "tool/text/rtf_words.h"

#include <algorithm>
#include <array>

namespace emltool {

namespace {

// In the order of their bytes.
constexpr std::array<RtfWord, 69> kWords = {{
    {"ansi", RtfAction::kCodePage, 1252},
    {"ansicpg", RtfAction::kCodePage, 0},
    {"bin", RtfAction::kBinary, 0},
    {"bullet", RtfAction::kCharacter, 0x2022},
    {"cell", RtfAction::kCharacter, '\t'},
    {"colorschememapping", RtfAction::kSkip, 0},
    {"colortbl", RtfAction::kSkip, 0},
    {"cpg", RtfAction::kFontCodePage, 0},
    {"datastore", RtfAction::kSkip, 0},
    {"deff", RtfAction::kDefaultFont, 0},
    {"emdash", RtfAction::kCharacter, 0x2014},
    {"emspace", RtfAction::kCharacter, 0x2003},
    {"endash", RtfAction::kCharacter, 0x2013},
    {"enspace", RtfAction::kCharacter, 0x2002},
    {"f", RtfAction::kFont, 0},
    {"fcharset", RtfAction::kFontCharset, 0},
    {"filetbl", RtfAction::kSkip, 0},
    {"fldinst", RtfAction::kSkip, 0},
    {"fonttbl", RtfAction::kFontTable, 0},
    {"footer", RtfAction::kSkip, 0},
    {"footerf", RtfAction::kSkip, 0},
    {"footerl", RtfAction::kSkip, 0},
    {"footerr", RtfAction::kSkip, 0},
    {"fromhtml", RtfAction::kFromHtml, 0},
    {"generator", RtfAction::kSkip, 0},
    {"header", RtfAction::kSkip, 0},
    {"headerf", RtfAction::kSkip, 0},
    {"headerl", RtfAction::kSkip, 0},
    {"headerr", RtfAction::kSkip, 0},
    {"htmlrtf", RtfAction::kRtfOnly, 0},
    {"htmltag", RtfAction::kHtmlTag, 0},
    {"info", RtfAction::kSkip, 0},
    {"latentstyles", RtfAction::kSkip, 0},
    {"ldblquote", RtfAction::kCharacter, 0x201C},
    {"line", RtfAction::kCharacter, '\n'},
    {"listoverridetable", RtfAction::kSkip, 0},
    {"listtable", RtfAction::kSkip, 0},
    {"lquote", RtfAction::kCharacter, 0x2018},
    {"mac", RtfAction::kCodePage, 10000},
    {"mhtmltag", RtfAction::kSkip, 0},
    {"nestcell", RtfAction::kCharacter, '\t'},
    {"nestrow", RtfAction::kCharacter, '\n'},
    {"nonesttables", RtfAction::kSkip, 0},
    {"nonshppict", RtfAction::kSkip, 0},
    {"objdata", RtfAction::kSkip, 0},
    {"page", RtfAction::kCharacter, '\n'},
    {"par", RtfAction::kCharacter, '\n'},
    {"pc", RtfAction::kCodePage, 437},
    {"pca", RtfAction::kCodePage, 850},
    {"pict", RtfAction::kSkip, 0},
    {"plain", RtfAction::kPlain, 0},
    {"qmspace", RtfAction::kCharacter, 0x2005},
    {"rdblquote", RtfAction::kCharacter, 0x201D},
    {"revtbl", RtfAction::kSkip, 0},
    {"row", RtfAction::kCharacter, '\n'},
    {"rquote", RtfAction::kCharacter, 0x2019},
    {"rsidtbl", RtfAction::kSkip, 0},
    {"sect", RtfAction::kCharacter, '\n'},
    {"shppict", RtfAction::kSkip, 0},
    {"stylesheet", RtfAction::kSkip, 0},
    {"tab", RtfAction::kCharacter, '\t'},
    {"themedata", RtfAction::kSkip, 0},
    {"u", RtfAction::kUnicode, 0},
    {"uc", RtfAction::kUnicodeSkip, 0},
    {"v", RtfAction::kHidden, 0},
    {"zwbo", RtfAction::kCharacter, 0x200B},
    {"zwj", RtfAction::kCharacter, 0x200D},
    {"zwnbo", RtfAction::kCharacter, 0x2060},
    {"zwnj", RtfAction::kCharacter, 0x200C},
}};

constexpr bool byName(const RtfWord& a, const RtfWord& b) { return a.name < b.name; }
static_assert(std::is_sorted(kWords.begin(), kWords.end(), byName));

struct FontCharset {
    int32_t charset;
    uint32_t codePage;
};

// MS-OXRTFEX and the RTF specification 1.9.1. Symbols (2) have no code page.
constexpr std::array<FontCharset, 18> kFontCharsets = {{
    {0, 1252},
    {77, 10000},
    {128, 932},
    {129, 949},
    {130, 1361},
    {134, 936},
    {136, 950},
    {161, 1253},
    {162, 1254},
    {163, 1258},
    {177, 1255},
    {178, 1256},
    {186, 1257},
    {204, 1251},
    {222, 874},
    {238, 1250},
    {254, 437},
    {255, 850},
}};

struct PageLabel {
    uint32_t codePage;
    std::string_view label;
};

// Those that are not called by their number.
constexpr std::array<PageLabel, 16> kPageLabels = {{
    {1200, "utf-16le"},
    {10000, "macintosh"},
    {10007, "x-mac-cyrillic"},
    {20127, "us-ascii"},
    {20866, "koi8-r"},
    {21866, "koi8-u"},
    {50220, "iso-2022-jp"},
    {50221, "iso-2022-jp"},
    {50222, "iso-2022-jp"},
    {50225, "iso-2022-kr"},
    {51932, "euc-jp"},
    {51949, "euc-kr"},
    {52936, "hz-gb-2312"},
    {54936, "gb18030"},
    {65000, "utf-7"},
    {65001, "utf-8"},
}};

}  // namespace

const RtfWord* findRtfWord(std::string_view name) {
    const auto* found = std::lower_bound(kWords.begin(), kWords.end(), RtfWord{name, {}, 0}, byName);
    return found != kWords.end() && found->name == name ? found : nullptr;
}

std::optional<uint32_t> codePageOfFontCharset(int32_t charset) {
    for (const FontCharset& known : kFontCharsets) {
        if (known.charset == charset) return known.codePage;
    }
    return std::nullopt;
}

std::string codePageLabel(uint32_t codePage) {
    constexpr uint32_t kIso8859 = 28590;
    for (const PageLabel& known : kPageLabels) {
        if (known.codePage == codePage) return std::string(known.label);
    }
    if (codePage > kIso8859 && codePage <= kIso8859 + 16)
        return "iso-8859-" + std::to_string(codePage - kIso8859);
    return "cp" + std::to_string(codePage);
}

}  // namespace emltool
