// The elements and texts of an HTML document, as a browser would have them: every element is closed, tables have rows,
// paragraphs hold no blocks (WHATWG HTML, section 13.2).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// Elements inside more than these stand beside each other.
inline constexpr size_t kMaxTreeDepth = 600;

enum class HtmlNamespace : uint8_t { kHtml, kSvg, kMathMl };

struct HtmlAttribute {
    std::string_view name;   // lower case in HTML
    std::string_view value;  // UTF-8, without character references
};

// One node. Nodes are in the order of the document, so those inside one come right after it.
struct HtmlNode {
    bool isElement;
    HtmlNamespace space;  // of an element
    uint16_t depth;       // 0 for the root
    uint32_t parent;      // itself for the root
    uint32_t end;         // the first node that is not inside this one
    uint32_t attributes;  // where they begin, of an element
    uint32_t attributeCount;
    size_t text;  // where the text, or the name of the element, begins
    size_t length;
};

class HtmlTree {
  public:
    HtmlTree() = default;

    bool empty() const { return nodes_.empty(); }
    size_t size() const { return nodes_.size(); }
    const HtmlNode& operator[](size_t node) const { return nodes_[node]; }

    // The text of a text node, or the name of an element: lower case in HTML.
    std::string_view text(size_t node) const { return view(nodes_[node].text, nodes_[node].length); }
    std::string_view name(size_t node) const { return nodes_[node].isElement ? text(node) : ""; }

    size_t attributeCount(size_t node) const { return nodes_[node].attributeCount; }
    HtmlAttribute attribute(size_t node, size_t index) const;

    // The value of the attribute with this name; nothing without one.
    std::optional<std::string_view> find(size_t node, std::string_view attribute) const;

    // Building: what is added goes into the element that is open.
    void open(HtmlNamespace space, std::string_view name);
    void addAttribute(std::string_view name, std::string_view value);  // right after open()
    void addText(std::string_view text);                               // is joined with a text before it
    void close();
    size_t depth() const { return open_.size(); }

    // The tree as bytes for another process that is the same program, and back. Nothing if the bytes are no such tree.
    std::string encode() const;
    static std::optional<HtmlTree> decode(std::span<const uint8_t> bytes);

  private:
    struct Attribute {
        size_t name;
        size_t value;
        uint32_t nameLength;
        size_t valueLength;
    };

    std::string_view view(size_t begin, size_t length) const {
        return std::string_view(characters_).substr(begin, length);
    }
    size_t keep(std::string_view text);
    void add(bool isElement, HtmlNamespace space, std::string_view text);

    std::vector<HtmlNode> nodes_;
    std::vector<Attribute> attributes_;
    std::string characters_;
    std::vector<uint32_t> open_;
};

}  // namespace emltool
