#include "tool/html/css_colour.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

using Kind = CssToken::Kind;

struct NamedColour {
    std::string_view name;
    uint32_t value;
};

constexpr std::array<NamedColour, 148> kNames = {{{"aliceblue", 0xF0F8FF},
                                                  {"antiquewhite", 0xFAEBD7},
                                                  {"aqua", 0x00FFFF},
                                                  {"aquamarine", 0x7FFFD4},
                                                  {"azure", 0xF0FFFF},
                                                  {"beige", 0xF5F5DC},
                                                  {"bisque", 0xFFE4C4},
                                                  {"black", 0x000000},
                                                  {"blanchedalmond", 0xFFEBCD},
                                                  {"blue", 0x0000FF},
                                                  {"blueviolet", 0x8A2BE2},
                                                  {"brown", 0xA52A2A},
                                                  {"burlywood", 0xDEB887},
                                                  {"cadetblue", 0x5F9EA0},
                                                  {"chartreuse", 0x7FFF00},
                                                  {"chocolate", 0xD2691E},
                                                  {"coral", 0xFF7F50},
                                                  {"cornflowerblue", 0x6495ED},
                                                  {"cornsilk", 0xFFF8DC},
                                                  {"crimson", 0xDC143C},
                                                  {"cyan", 0x00FFFF},
                                                  {"darkblue", 0x00008B},
                                                  {"darkcyan", 0x008B8B},
                                                  {"darkgoldenrod", 0xB8860B},
                                                  {"darkgray", 0xA9A9A9},
                                                  {"darkgreen", 0x006400},
                                                  {"darkgrey", 0xA9A9A9},
                                                  {"darkkhaki", 0xBDB76B},
                                                  {"darkmagenta", 0x8B008B},
                                                  {"darkolivegreen", 0x556B2F},
                                                  {"darkorange", 0xFF8C00},
                                                  {"darkorchid", 0x9932CC},
                                                  {"darkred", 0x8B0000},
                                                  {"darksalmon", 0xE9967A},
                                                  {"darkseagreen", 0x8FBC8F},
                                                  {"darkslateblue", 0x483D8B},
                                                  {"darkslategray", 0x2F4F4F},
                                                  {"darkslategrey", 0x2F4F4F},
                                                  {"darkturquoise", 0x00CED1},
                                                  {"darkviolet", 0x9400D3},
                                                  {"deeppink", 0xFF1493},
                                                  {"deepskyblue", 0x00BFFF},
                                                  {"dimgray", 0x696969},
                                                  {"dimgrey", 0x696969},
                                                  {"dodgerblue", 0x1E90FF},
                                                  {"firebrick", 0xB22222},
                                                  {"floralwhite", 0xFFFAF0},
                                                  {"forestgreen", 0x228B22},
                                                  {"fuchsia", 0xFF00FF},
                                                  {"gainsboro", 0xDCDCDC},
                                                  {"ghostwhite", 0xF8F8FF},
                                                  {"gold", 0xFFD700},
                                                  {"goldenrod", 0xDAA520},
                                                  {"gray", 0x808080},
                                                  {"green", 0x008000},
                                                  {"greenyellow", 0xADFF2F},
                                                  {"grey", 0x808080},
                                                  {"honeydew", 0xF0FFF0},
                                                  {"hotpink", 0xFF69B4},
                                                  {"indianred", 0xCD5C5C},
                                                  {"indigo", 0x4B0082},
                                                  {"ivory", 0xFFFFF0},
                                                  {"khaki", 0xF0E68C},
                                                  {"lavender", 0xE6E6FA},
                                                  {"lavenderblush", 0xFFF0F5},
                                                  {"lawngreen", 0x7CFC00},
                                                  {"lemonchiffon", 0xFFFACD},
                                                  {"lightblue", 0xADD8E6},
                                                  {"lightcoral", 0xF08080},
                                                  {"lightcyan", 0xE0FFFF},
                                                  {"lightgoldenrodyellow", 0xFAFAD2},
                                                  {"lightgray", 0xD3D3D3},
                                                  {"lightgreen", 0x90EE90},
                                                  {"lightgrey", 0xD3D3D3},
                                                  {"lightpink", 0xFFB6C1},
                                                  {"lightsalmon", 0xFFA07A},
                                                  {"lightseagreen", 0x20B2AA},
                                                  {"lightskyblue", 0x87CEFA},
                                                  {"lightslategray", 0x778899},
                                                  {"lightslategrey", 0x778899},
                                                  {"lightsteelblue", 0xB0C4DE},
                                                  {"lightyellow", 0xFFFFE0},
                                                  {"lime", 0x00FF00},
                                                  {"limegreen", 0x32CD32},
                                                  {"linen", 0xFAF0E6},
                                                  {"magenta", 0xFF00FF},
                                                  {"maroon", 0x800000},
                                                  {"mediumaquamarine", 0x66CDAA},
                                                  {"mediumblue", 0x0000CD},
                                                  {"mediumorchid", 0xBA55D3},
                                                  {"mediumpurple", 0x9370DB},
                                                  {"mediumseagreen", 0x3CB371},
                                                  {"mediumslateblue", 0x7B68EE},
                                                  {"mediumspringgreen", 0x00FA9A},
                                                  {"mediumturquoise", 0x48D1CC},
                                                  {"mediumvioletred", 0xC71585},
                                                  {"midnightblue", 0x191970},
                                                  {"mintcream", 0xF5FFFA},
                                                  {"mistyrose", 0xFFE4E1},
                                                  {"moccasin", 0xFFE4B5},
                                                  {"navajowhite", 0xFFDEAD},
                                                  {"navy", 0x000080},
                                                  {"oldlace", 0xFDF5E6},
                                                  {"olive", 0x808000},
                                                  {"olivedrab", 0x6B8E23},
                                                  {"orange", 0xFFA500},
                                                  {"orangered", 0xFF4500},
                                                  {"orchid", 0xDA70D6},
                                                  {"palegoldenrod", 0xEEE8AA},
                                                  {"palegreen", 0x98FB98},
                                                  {"paleturquoise", 0xAFEEEE},
                                                  {"palevioletred", 0xDB7093},
                                                  {"papayawhip", 0xFFEFD5},
                                                  {"peachpuff", 0xFFDAB9},
                                                  {"peru", 0xCD853F},
                                                  {"pink", 0xFFC0CB},
                                                  {"plum", 0xDDA0DD},
                                                  {"powderblue", 0xB0E0E6},
                                                  {"purple", 0x800080},
                                                  {"rebeccapurple", 0x663399},
                                                  {"red", 0xFF0000},
                                                  {"rosybrown", 0xBC8F8F},
                                                  {"royalblue", 0x4169E1},
                                                  {"saddlebrown", 0x8B4513},
                                                  {"salmon", 0xFA8072},
                                                  {"sandybrown", 0xF4A460},
                                                  {"seagreen", 0x2E8B57},
                                                  {"seashell", 0xFFF5EE},
                                                  {"sienna", 0xA0522D},
                                                  {"silver", 0xC0C0C0},
                                                  {"skyblue", 0x87CEEB},
                                                  {"slateblue", 0x6A5ACD},
                                                  {"slategray", 0x708090},
                                                  {"slategrey", 0x708090},
                                                  {"snow", 0xFFFAFA},
                                                  {"springgreen", 0x00FF7F},
                                                  {"steelblue", 0x4682B4},
                                                  {"tan", 0xD2B48C},
                                                  {"teal", 0x008080},
                                                  {"thistle", 0xD8BFD8},
                                                  {"tomato", 0xFF6347},
                                                  {"turquoise", 0x40E0D0},
                                                  {"violet", 0xEE82EE},
                                                  {"wheat", 0xF5DEB3},
                                                  {"white", 0xFFFFFF},
                                                  {"whitesmoke", 0xF5F5F5},
                                                  {"yellow", 0xFFFF00},
                                                  {"yellowgreen", 0x9ACD32}}};

static_assert(std::is_sorted(kNames.begin(), kNames.end(),
                             [](const NamedColour& a, const NamedColour& b) { return a.name < b.name; }));

Colour fromNumber(uint32_t value) {
    return {static_cast<int>(value >> 16 & 0xFF), static_cast<int>(value >> 8 & 0xFF),
            static_cast<int>(value & 0xFF), 1};
}

std::optional<Colour> byName(std::string_view word) {
    const std::string name = lowerCase(word);
    if (name == "transparent") return Colour{0, 0, 0, 0};
    const auto* const found =
        std::lower_bound(kNames.begin(), kNames.end(), name,
                         [](const NamedColour& each, const std::string& key) { return each.name < key; });
    if (found == kNames.end() || found->name != name) return std::nullopt;
    return fromNumber(found->value);
}

std::optional<Colour> fromHex(std::string_view digits) {
    std::string full;
    const bool isShort = digits.size() == 3 || digits.size() == 4;
    for (const char digit : digits) full.append(isShort ? 2 : 1, digit);
    if (full.size() != 6 && full.size() != 8) return std::nullopt;
    uint32_t value = 0;
    const auto [end, failure] = std::from_chars(full.data(), full.data() + full.size(), value, 16);
    if (failure != std::errc{} || end != full.data() + full.size()) return std::nullopt;
    if (full.size() == 6) return fromNumber(value);
    Colour colour = fromNumber(value >> 8);
    colour.alpha = (value & 0xFF) / 255.0;
    return colour;
}

int channel(double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, 255.0))); }

// CSS Color Module Level 3, section 4.2.4.
double hueChannel(double low, double high, double hue) {
    hue -= std::floor(hue);
    if (hue * 6 < 1) return low + (high - low) * hue * 6;
    if (hue * 2 < 1) return high;
    return hue * 3 < 2 ? low + (high - low) * (2.0 / 3 - hue) * 6 : low;
}

Colour fromHsl(double hue, double saturation, double lightness) {
    saturation = std::clamp(saturation, 0.0, 1.0);
    lightness = std::clamp(lightness, 0.0, 1.0);
    const double high =
        lightness <= 0.5 ? lightness * (saturation + 1) : lightness + saturation - lightness * saturation;
    const double low = lightness * 2 - high;
    return {channel(255 * hueChannel(low, high, hue + 1.0 / 3)), channel(255 * hueChannel(low, high, hue)),
            channel(255 * hueChannel(low, high, hue - 1.0 / 3)), 1};
}

// rgb(), hsl() and their like; `value` begins with the function.
std::optional<Colour> fromFunction(std::span<const CssToken> value) {
    const std::string& name = value[0].text;
    const bool isRgb = name == "rgb" || name == "rgba";
    if (!isRgb && name != "hsl" && name != "hsla") return std::nullopt;
    std::array<const CssToken*, 4> numbers{};
    size_t count = 0;
    for (const CssToken& token : value.subspan(1)) {
        if (token.is(')')) break;
        if (token.kind != Kind::kNumber) continue;
        if (count == numbers.size()) return std::nullopt;
        numbers[count++] = &token;
    }
    if (count < 3) return std::nullopt;
    const auto share = [](const CssToken& token) {
        return token.unit == "%" ? token.number / 100 : token.number;
    };
    Colour colour;
    if (isRgb) {
        const auto level = [&](const CssToken& token) {
            return channel(token.unit == "%" ? share(token) * 255 : token.number);
        };
        colour = {level(*numbers[0]), level(*numbers[1]), level(*numbers[2]), 1};
    } else {
        colour = fromHsl(numbers[0]->number / 360, share(*numbers[1]), share(*numbers[2]));
    }
    if (count == 4) colour.alpha = std::clamp(share(*numbers[3]), 0.0, 1.0);
    return colour;
}

}  // namespace

std::optional<Colour> findColour(std::span<const CssToken> value) {
    for (size_t i = 0; i < value.size(); ++i) {
        std::optional<Colour> colour;
        if (value[i].kind == Kind::kHash) colour = fromHex(value[i].text);
        if (value[i].kind == Kind::kWord) colour = byName(value[i].text);
        if (value[i].kind == Kind::kFunction) colour = fromFunction(value.subspan(i));
        if (colour) return colour;
    }
    return std::nullopt;
}

std::optional<Colour> attributeColour(std::string_view value) {
    const size_t begin = std::min(value.find_first_not_of(" \t\r\n"), value.size());
    value = value.substr(begin, value.find_last_not_of(" \t\r\n") + 1 - begin);
    if (value.starts_with('#')) return fromHex(value.substr(1));
    const std::optional<Colour> named = byName(value);
    return named ? named : fromHex(value);
}

bool looksSame(const Colour& text, const Colour& ground) {
    constexpr int kNotice = 16;
    const auto seen = [&](int channel, int below) { return text.alpha * channel + (1 - text.alpha) * below; };
    const auto differs = [&](int channel, int below) {
        return std::fabs(seen(channel, below) - below) > kNotice;
    };
    return !differs(text.red, ground.red) && !differs(text.green, ground.green) &&
           !differs(text.blue, ground.blue);
}

}  // namespace emltool
