#include "tool/html/html_parser.h"

#ifdef EML_WITH_HTML

#include <gumbo.h>

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "tool/loading/shared_library.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

struct Library {
    decltype(::gumbo_parse_with_options)* parse = nullptr;
    decltype(::gumbo_normalized_tagname)* tagName = nullptr;
    decltype(::gumbo_tag_from_original_text)* cutTag = nullptr;
    decltype(::gumbo_normalize_svg_tagname)* svgName = nullptr;
    bool isLoaded = false;

    Library() {
        isLoaded = SharedLibrary(EML_HTML_LIBRARY)
                       .get(parse, "gumbo_parse_with_options")
                       .get(tagName, "gumbo_normalized_tagname")
                       .get(cutTag, "gumbo_tag_from_original_text")
                       .get(svgName, "gumbo_normalize_svg_tagname")
                       .isComplete();
    }
};

const Library& library() {
    static const Library loaded;
    return loaded;
}

// The memory of one parse. The library neither looks whether it gets any nor frees a deep tree without recursion. So
// all of it is freed at once, and where there is no more, the parse is left from here: the library is C, and has nothing
// to clean up.
class Arena {
  public:
    explicit Arena(size_t limit) : left_(limit) {}
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena() {
        while (chunks_ != nullptr) {
            Chunk* const chunk = chunks_;
            chunks_ = chunk->before;
            std::free(chunk);
        }
    }

    void* take(size_t size) {
        constexpr size_t kAlignment = alignof(std::max_align_t);
        if (size > left_) giveUp(HtmlResult::kTooLarge);
        size = (size + kAlignment - 1) / kAlignment * kAlignment;
        if (size > free_) addChunk(size);
        void* const block = next_;
        next_ += size;
        free_ -= size;
        left_ -= std::min(left_, size);
        return block;
    }

    std::jmp_buf& exit() { return exit_; }

  private:
    struct alignas(std::max_align_t) Chunk {
        Chunk* before;
    };

    [[noreturn]] void giveUp(HtmlResult result) { std::longjmp(exit_, static_cast<int>(result)); }

    void addChunk(size_t size) {
        constexpr size_t kChunk = size_t{256} << 10;
        const size_t content = std::max(size, kChunk);
        auto* const chunk = static_cast<Chunk*>(std::malloc(sizeof(Chunk) + content));
        if (chunk == nullptr) giveUp(HtmlResult::kNoMemory);
        chunk->before = chunks_;
        chunks_ = chunk;
        next_ = reinterpret_cast<unsigned char*>(chunk + 1);
        free_ = content;
    }

    std::jmp_buf exit_{};
    size_t left_;
    Chunk* chunks_ = nullptr;
    unsigned char* next_ = nullptr;
    size_t free_ = 0;  // from next_ on
};

void* takeBlock(void* arena, size_t size) { return static_cast<Arena*>(arena)->take(size); }
void freeBlock(void*, void*) {}

// No object with a destructor may come into being here.
HtmlResult parse(Arena& arena, std::string_view html, GumboOutput*& output) {
    GumboOptions options{};
    options.allocator = takeBlock;
    options.deallocator = freeBlock;
    options.userdata = &arena;
    options.tab_stop = 8;
    options.stop_on_first_error = false;
    options.max_errors = 0;
    options.fragment_context = GUMBO_TAG_LAST;
    options.fragment_namespace = GUMBO_NAMESPACE_HTML;
    const int failure = setjmp(arena.exit());  // NOLINT(cert-err52-cpp): no exception can pass through C
    if (failure != 0) return static_cast<HtmlResult>(failure);
    output = library().parse(&options, html.data(), html.size());
    return HtmlResult::kRead;
}

std::string elementName(const GumboElement& element) {
    GumboStringPiece original = element.original_tag;
    library().cutTag(&original);
    if (element.tag_namespace == GUMBO_NAMESPACE_SVG && original.data != nullptr) {
        if (const char* const name = library().svgName(&original)) return name;
    }
    if (element.tag != GUMBO_TAG_UNKNOWN) return library().tagName(element.tag);
    return original.data == nullptr ? "" : lowerCase({original.data, original.length});
}

void addElement(const GumboElement& element, HtmlTree& tree) {
    tree.open(static_cast<HtmlNamespace>(element.tag_namespace), elementName(element));
    for (unsigned i = 0; i < element.attributes.length; ++i) {
        const auto* const attribute = static_cast<const GumboAttribute*>(element.attributes.data[i]);
        tree.addAttribute(attribute->name, attribute->value);
    }
}

// Without recursion: how deep the tree is, the sender says.
void addNodes(const GumboNode& root, HtmlTree& tree) {
    struct Open {
        const GumboVector* children;
        unsigned next;
        bool isAdded;  // else what is inside stands beside it
    };
    std::vector<Open> open;
    const auto enter = [&](const GumboNode& node) {
        const bool fits = tree.depth() < kMaxTreeDepth;
        addElement(node.v.element, tree);
        if (!fits) tree.close();
        open.push_back({&node.v.element.children, 0, fits});
    };
    enter(root);
    while (!open.empty()) {
        Open& last = open.back();
        if (last.next == last.children->length) {
            if (last.isAdded) tree.close();
            open.pop_back();
            continue;
        }
        const auto& child = *static_cast<const GumboNode*>(last.children->data[last.next++]);
        switch (child.type) {
            case GUMBO_NODE_ELEMENT:
            case GUMBO_NODE_TEMPLATE:
                enter(child);
                break;
            case GUMBO_NODE_TEXT:
            case GUMBO_NODE_WHITESPACE:
            case GUMBO_NODE_CDATA:
                tree.addText(child.v.text.text);
                break;
            case GUMBO_NODE_DOCUMENT:
            case GUMBO_NODE_COMMENT:
                break;
        }
    }
}

}  // namespace

std::string htmlLack() {
    return library().isLoaded ? "" : "run without " EML_HTML_LIBRARY ", which cannot be loaded";
}

HtmlResult parseWithLibrary(std::string_view html, HtmlTree& tree) {
    // The smallest elements take about so many times their own size.
    Arena arena((size_t{16} << 20) + 300 * html.size());
    GumboOutput* output = nullptr;
    const HtmlResult result = parse(arena, html, output);
    if (result == HtmlResult::kRead) addNodes(*output->root, tree);
    return result;
}

}  // namespace emltool

#else

namespace emltool {

std::string htmlLack() { return "built without libgumbo"; }

HtmlResult parseWithLibrary(std::string_view, HtmlTree&) { return HtmlResult::kTooLarge; }

}  // namespace emltool

#endif
