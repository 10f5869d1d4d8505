// The rules of a style sheet (CSS Syntax Module Level 3, section 5; Selectors Level 3; Media Queries Level 3).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tool/html/css_tokens.h"

namespace emltool {

struct CssDeclaration {
    std::string property;         // lower case
    std::vector<CssToken> value;  // without blanks at both ends and without "!important"
    bool isImportant = false;
};

// What one element must be to be meant by a part of a selector.
struct CssCompound {
    struct Attribute {
        std::string name;
        std::string value;
        char relation;  // '=', '~', '|', '^', '$', '*'; '\0' if it need only be there
        bool anyCase;
    };
    enum class Pseudo { kNever, kRoot, kLink, kFirstChild, kLastChild, kOnlyChild, kNthChild, kEmpty };
    struct Test {
        Pseudo pseudo;
        int step = 0;  // of kNthChild: an+b
        int start = 0;
        std::string text;  // as it is written in a sheet
    };

    char combinator = ' ';  // to the compound before it: ' ', '>', '+', '~'
    std::string element;    // lower case; empty for any
    std::vector<std::string> ids;
    std::vector<std::string> classes;
    std::vector<Attribute> attributes;
    std::vector<Test> tests;
};

struct CssSelector {
    std::vector<CssCompound> compounds;
    uint32_t specificity = 0;
};

struct CssRule {
    std::vector<std::vector<CssToken>> media;  // of the rules around it; each must be met
    std::vector<CssSelector> selectors;
    std::vector<CssDeclaration> declarations;
};

// The rules that can be read; others are left out, as a browser does. @media is read, other at-rules are not, and
// `imports` counts those among them that would load something: @import, @font-face.
struct CssSheet {
    std::vector<CssRule> rules;
    size_t imports = 0;
};

CssSheet readSheet(std::string_view css);

// The value of an attribute `style`.
std::vector<CssDeclaration> readDeclarations(std::string_view css);

// Whether a screen of a desktop in light colours meets the media query list.
bool meetsMedia(const std::vector<CssToken>& query);

}  // namespace emltool
