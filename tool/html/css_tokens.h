// The words of a style sheet (CSS Syntax Module Level 3, section 4), with escapes resolved.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace emltool {

struct CssToken {
    enum class Kind {
        kWord,      // color
        kFunction,  // rgb(, whose end is a kSign ")"
        kAtWord,    // @media
        kHash,      // #fff
        kString,    // "x"
        kUrl,       // url(x), url("x")
        kNumber,    // 12px, 1.5, 50%
        kBlank,     // blanks and comments
        kSign,      // one other character
        kBroken,    // a string or a URL that is cut off by a line end
    };

    Kind kind = Kind::kSign;
    std::string text;  // kWord to kHash: without the mark. kString, kUrl: what it says
    double number = 0;
    std::string unit;  // of a number: "px", "%", lower case; empty without one

    bool is(char sign) const { return kind == Kind::kSign && text.size() == 1 && text[0] == sign; }
};

// Linear in the length of `css`. "<!--" and "-->" are left out.
std::vector<CssToken> cssTokens(std::string_view css);

// Tokens as text that is read as the same tokens, and stands safely inside <style> and, escaped for HTML, in a `style`
// attribute. URLs are left out; a caller that has something for them writes them itself.
std::string cssText(const CssToken& token);

// `text` as a string of CSS, with its quotes.
std::string cssString(std::string_view text);

}  // namespace emltool
