// The tags and texts of HTML, split as browsers split them (WHATWG HTML, section 13.2.5). Nothing is interpreted.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

struct HtmlAttribute {
    std::string name;        // lower case
    std::string_view value;  // as written: with character references
};

struct HtmlToken {
    enum class Kind { kText, kRawText, kStart, kEnd };

    Kind kind = Kind::kText;
    std::string_view text;  // kText: with character references. kRawText: without, the content of `name`
    std::string name;       // of a tag, lower case
    std::vector<HtmlAttribute> attributes;

    // The value of the first attribute with this name, as written; nothing without one.
    const std::string_view* find(std::string_view attribute) const;
};

// Comments, declarations and processing instructions are left out. Linear in the length of the text.
class HtmlTokenizer {
  public:
    explicit HtmlTokenizer(std::string_view html) : html_(html) {}

    // False at the end. The views in `token` are parts of the HTML.
    bool next(HtmlToken& token);

  private:
    bool takeMarkup(HtmlToken& token);
    void skipComment();
    void takeTag(HtmlToken& token, HtmlToken::Kind kind);
    void takeAttribute(HtmlToken& token);
    bool takeRawText(HtmlToken& token);
    void skipBlanks();
    char at(size_t position) const { return position < html_.size() ? html_[position] : '\0'; }

    std::string_view html_;
    size_t position_ = 0;
    std::string rawName_;  // of the element whose content follows and has no tags; empty outside of one
};

// `text` with the character references resolved that stand for ASCII characters: by number, and by the names that
// such characters have. Others are left as they are.
std::string withoutReferences(std::string_view text);

}  // namespace emltool
