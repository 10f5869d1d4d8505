#include "tool/html/html_tree.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace emltool {

namespace {

// What an encoded tree begins with, and then for each node or attribute.
struct EncodedCounts {
    uint64_t nodes;
    uint64_t characters;
};

struct EncodedNode {
    uint32_t depth;
    uint32_t isElement;
    uint32_t space;
    uint32_t attributes;
    uint64_t length;
};

struct EncodedAttribute {
    uint64_t nameLength;
    uint64_t valueLength;
};

template <typename Record>
void append(std::string& bytes, const Record& record) {
    bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
}

class Reader {
  public:
    explicit Reader(std::span<const uint8_t> bytes) : rest_(bytes) {}

    template <typename Record>
    bool take(Record& record) {
        if (rest_.size() < sizeof record) return false;
        std::memcpy(&record, rest_.data(), sizeof record);
        rest_ = rest_.subspan(sizeof record);
        return true;
    }

    bool take(uint64_t length, std::string_view& text) {
        if (rest_.size() < length) return false;
        text = {reinterpret_cast<const char*>(rest_.data()), static_cast<size_t>(length)};
        rest_ = rest_.subspan(static_cast<size_t>(length));
        return true;
    }

    bool empty() const { return rest_.empty(); }

  private:
    std::span<const uint8_t> rest_;
};

bool decodeAttributes(Reader& reader, uint32_t count, HtmlTree& tree) {
    for (uint32_t i = 0; i < count; ++i) {
        EncodedAttribute attribute{};
        std::string_view name;
        std::string_view value;
        if (!reader.take(attribute) || !reader.take(attribute.nameLength, name) ||
            !reader.take(attribute.valueLength, value)) {
            return false;
        }
        tree.addAttribute(name, value);
    }
    return true;
}

bool decodeNode(Reader& reader, HtmlTree& tree) {
    EncodedNode node{};
    std::string_view text;
    if (!reader.take(node) || !reader.take(node.length, text)) return false;
    const bool isInside = node.depth <= tree.depth() && (node.depth != 0 || tree.empty());
    if (!isInside || node.depth > kMaxTreeDepth || node.space > 2 || node.isElement > 1) return false;
    while (tree.depth() > node.depth) tree.close();
    if (node.isElement == 0) {
        if (node.depth == 0 || node.attributes != 0) return false;
        tree.addText(text);
        return true;
    }
    tree.open(static_cast<HtmlNamespace>(node.space), text);
    return decodeAttributes(reader, node.attributes, tree);
}

}  // namespace

HtmlAttribute HtmlTree::attribute(size_t node, size_t index) const {
    const Attribute& attribute = attributes_[nodes_[node].attributes + index];
    return {view(attribute.name, attribute.nameLength), view(attribute.value, attribute.valueLength)};
}

std::optional<std::string_view> HtmlTree::find(size_t node, std::string_view attribute) const {
    for (size_t i = 0; i < attributeCount(node); ++i) {
        const HtmlAttribute each = this->attribute(node, i);
        if (each.name == attribute) return each.value;
    }
    return std::nullopt;
}

size_t HtmlTree::keep(std::string_view text) {
    const size_t begin = characters_.size();
    characters_ += text;
    return begin;
}

void HtmlTree::add(bool isElement, HtmlNamespace space, std::string_view text) {
    const auto number = static_cast<uint32_t>(nodes_.size());
    const uint32_t parent = open_.empty() ? number : open_.back();
    nodes_.push_back({isElement, space, static_cast<uint16_t>(open_.size()), parent, number + 1,
                      static_cast<uint32_t>(attributes_.size()), 0, keep(text), text.size()});
}

void HtmlTree::open(HtmlNamespace space, std::string_view name) {
    add(true, space, name);
    open_.push_back(static_cast<uint32_t>(nodes_.size() - 1));
}

void HtmlTree::addAttribute(std::string_view name, std::string_view value) {
    constexpr size_t kMaxName = 1000;
    name = name.substr(0, kMaxName);
    const size_t nameBegin = keep(name);
    attributes_.push_back({nameBegin, keep(value), static_cast<uint32_t>(name.size()), value.size()});
    ++nodes_.back().attributeCount;
}

void HtmlTree::addText(std::string_view text) {
    if (text.empty() || open_.empty()) return;
    HtmlNode& last = nodes_.back();
    if (!last.isElement && last.parent == open_.back()) {
        keep(text);  // it is the last that was kept
        last.length += text.size();
    } else {
        add(false, HtmlNamespace::kHtml, text);
    }
}

void HtmlTree::close() {
    nodes_[open_.back()].end = static_cast<uint32_t>(nodes_.size());
    open_.pop_back();
}

std::string HtmlTree::encode() const {
    std::string bytes;
    append(bytes, EncodedCounts{nodes_.size(), characters_.size()});
    for (size_t i = 0; i < nodes_.size(); ++i) {
        const HtmlNode& node = nodes_[i];
        append(bytes, EncodedNode{node.depth, node.isElement ? 1U : 0U, static_cast<uint32_t>(node.space),
                                  node.attributeCount, node.length});
        bytes += text(i);
        for (size_t k = 0; k < node.attributeCount; ++k) {
            const HtmlAttribute each = attribute(i, k);
            append(bytes, EncodedAttribute{each.name.size(), each.value.size()});
            bytes.append(each.name).append(each.value);
        }
    }
    return bytes;
}

std::optional<HtmlTree> HtmlTree::decode(std::span<const uint8_t> bytes) {
    Reader reader(bytes);
    EncodedCounts counts{};
    if (!reader.take(counts) || counts.nodes > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    HtmlTree tree;
    tree.characters_.reserve(static_cast<size_t>(std::min<uint64_t>(counts.characters, bytes.size())));
    for (uint64_t i = 0; i < counts.nodes; ++i) {
        if (!decodeNode(reader, tree)) return std::nullopt;
    }
    while (tree.depth() != 0) tree.close();
    if (!reader.empty()) return std::nullopt;
    return tree;
}

}  // namespace emltool
