#include "tool/html/html_parser.h"

#include <gtest/gtest.h>

#include <csignal>
#include <new>
#include <string>

#include "tool/html/nesting_limit.h"

namespace emltool {
namespace {

// "html(head,body(p[class=x](#a)))"
std::string described(const HtmlTree& tree, size_t node = 0) {
    if (tree.empty()) return "";
    if (!tree[node].isElement) return "#" + std::string(tree.text(node));
    std::string text(tree.name(node));
    for (size_t i = 0; i < tree.attributeCount(node); ++i) {
        const HtmlAttribute attribute = tree.attribute(node, i);
        text += "[" + std::string(attribute.name) + "=" + std::string(attribute.value) + "]";
    }
    std::string inside;
    for (size_t child = node + 1; child < tree[node].end; child = tree[child].end) {
        inside += (inside.empty() ? "" : ",") + described(tree, child);
    }
    return inside.empty() ? text : text + "(" + inside + ")";
}

class HtmlParser : public testing::Test {
  protected:
    void SetUp() override {
        if (!readsHtml()) GTEST_SKIP() << htmlLack();
    }
};

TEST_F(HtmlParser, MakesTheTreeThatBrowsersMake) {
    struct {
        std::string html;
        const char* tree;
    } const cases[] = {
        {"", "html(head,body)"},
        {"a<b c='d&amp;e'>f", "html(head,body(#a,b[c=d&e](#f)))"},
        {"<p>a<p>b", "html(head,body(p(#a),p(#b)))"},
        {"<table>x<td>y", "html(head,body(#x,table(tbody(tr(td(#y))))))"},
        {"<b><p>x</b>y", "html(head,body(b,p(b(#x),#y)))"},
        {"<svg viewbox=1><FOREIGNOBJECT><p>x", "html(head,body(svg[viewBox=1](foreignObject(p(#x)))))"},
        {"<template><p>x</template>", "html(head(template(p(#x))),body)"},
        {"<!-- a --><p>b<!-- c -->d", "html(head,body(p(#bd)))"},
        {"<unknown-one>x", "html(head,body(unknown-one(#x)))"},
        {std::string("<p>a\0b", 6), "html(head,body(p(#ab)))"},
    };
    for (const auto& c : cases) {
        const ParsedHtml parsed = parseHtml(c.html);
        EXPECT_EQ(parsed.problem, "") << c.html;
        EXPECT_EQ(described(parsed.tree), c.tree) << c.html;
        HtmlTree here;
        EXPECT_EQ(parseWithLibrary(limitNesting(c.html).html, here), HtmlResult::kRead);
    }
}

TEST_F(HtmlParser, TreesAreNeverDeeperThanPromised) {
    std::string deep;
    for (size_t i = 0; i < 400; ++i) deep += "<div><b><i>";
    for (const std::string& html : {deep, "<p>" + deep, "<svg>" + deep, deep + "<table><tr><td>" + deep}) {
        const HtmlTree tree = parseHtml(html + "x").tree;
        ASSERT_FALSE(tree.empty());
        for (size_t i = 0; i < tree.size(); ++i) {
            ASSERT_LE(tree[i].depth, kMaxTreeDepth);
            ASSERT_LE(tree[i].end, tree.size());
            ASSERT_LE(tree[i].parent, i);
        }
    }
}

TEST_F(HtmlParser, WhatWouldTakeTooMuchMemoryIsNotRead) {
    // Each paragraph would have all of the elements again.
    std::string html = "<p>";
    for (size_t i = 0; i < 500; ++i) html += "<font a" + std::to_string(i) + ">";
    html += "</p>";
    for (size_t i = 0; i < 400000; ++i) html += "<p>x</p>";
    EXPECT_EQ(parseHtml(html).problem, "its HTML is too large to be read");
}

HtmlResult crash(std::string_view, HtmlTree&) {
    std::raise(SIGSEGV);
    return HtmlResult::kRead;
}
HtmlResult noMemory(std::string_view, HtmlTree&) { return HtmlResult::kNoMemory; }
HtmlResult throws(std::string_view, HtmlTree&) { throw std::bad_alloc(); }
HtmlResult nothing(std::string_view, HtmlTree&) { return HtmlResult::kRead; }

TEST(IsolatedHtml, AReaderThatFailsHarmsNobody) {
    EXPECT_EQ(parseHtmlIsolated("<p>", crash).problem, "the reader of its HTML crashed (SIGSEGV)");
    EXPECT_EQ(parseHtmlIsolated("<p>", noMemory).problem, "the reader of its HTML ran out of memory");
    EXPECT_EQ(parseHtmlIsolated("<p>", throws).problem, "the reader of its HTML ran out of memory");
    EXPECT_TRUE(parseHtmlIsolated("<p>", nothing).tree.empty());
}

HtmlTree smallTree() {
    HtmlTree tree;
    tree.open(HtmlNamespace::kHtml, "html");
    tree.open(HtmlNamespace::kHtml, "p");
    tree.addAttribute("class", "x");
    tree.addText("a");
    tree.addText("b");
    tree.close();
    tree.addText("c");
    tree.close();
    return tree;
}

TEST(HtmlTree, ComesBackAsItWasSent) {
    const HtmlTree tree = smallTree();
    EXPECT_EQ(described(tree), "html(p[class=x](#ab),#c)");
    const std::string bytes = tree.encode();
    const auto back = HtmlTree::decode({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    ASSERT_TRUE(back);
    EXPECT_EQ(described(*back), described(tree));
}

// The process that sends it may have been taken over.
TEST(HtmlTree, BytesThatAreNoTreeAreRefused) {
    const std::string bytes = smallTree().encode();
    for (size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(HtmlTree::decode({reinterpret_cast<const uint8_t*>(bytes.data()), length})) << length;
    }
    for (size_t at = 0; at < bytes.size(); ++at) {
        for (const int value : {0, 1, 2, 0x7F, 0xFF}) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(value);
            const auto tree =
                HtmlTree::decode({reinterpret_cast<const uint8_t*>(changed.data()), changed.size()});
            if (!tree) continue;
            for (size_t i = 0; i < tree->size(); ++i) {
                ASSERT_LE((*tree)[i].end, tree->size());
                ASSERT_LE((*tree)[i].depth, kMaxTreeDepth);
            }
            described(*tree);
        }
    }
}

TEST(HtmlTree, TreesThatAreTooDeepAreRefused) {
    for (const size_t depth : {kMaxTreeDepth, kMaxTreeDepth + 1, kMaxTreeDepth + 2}) {
        HtmlTree tree;
        for (size_t i = 0; i < depth; ++i) tree.open(HtmlNamespace::kHtml, "b");
        tree.addText("x");
        while (tree.depth() != 0) tree.close();
        const std::string bytes = tree.encode();
        const auto back = HtmlTree::decode({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
        EXPECT_EQ(back.has_value(), depth <= kMaxTreeDepth) << depth;
    }
}

TEST(NestingLimit, LeavesOutTagsAndKeepsText) {
    const auto times = [](size_t count, const std::string& text) {
        std::string all;
        for (size_t i = 0; i < count; ++i) all += text;
        return all;
    };
    struct {
        const char* rule;
        std::string html;
        std::string limited;
    } const cases[] = {
        {"as many as there may be", times(512, "<div>") + "x", times(512, "<div>") + "x"},
        {"one more", times(513, "<div>") + "x</div>y", times(512, "<div>") + "xy"},
        {"elements without content", times(1000, "<br>"), times(1000, "<br>")},
        {"elements that end each other", times(1000, "<p><li><td>"), times(1000, "<p><li><td>")},
        {"elements that are ended", times(1000, "<div></div>"), times(1000, "<div></div>")},
        {"an end behind a barrier ends nothing", times(512, "<div><object></div></object>"),
         times(511, "<div><object></div></object>") + "<div></object>"},
        {"tags in comments are none", times(1000, "<!--<div>-->"), times(1000, "<!--<div>-->")},
        {"an end in a comment ends nothing", times(513, "<div><!--</div>-->"),
         times(512, "<div><!--</div>-->") + "<!--</div>-->"},
        {"an end in a quoted attribute ends nothing", times(513, "<div title='</div>'>"),
         times(512, "<div title='</div>'>")},
        {"a sign that begins no tag", times(1000, "< 3 "), times(1000, "< 3 ")},
    };
    for (const auto& c : cases) {
        const LimitedHtml limited = limitNesting(c.html);
        EXPECT_EQ(limited.html, c.limited) << c.rule;
        EXPECT_EQ(limited.anyLeftOut, c.limited != c.html) << c.rule;
    }
    std::string attributes;
    for (size_t i = 0; i < 300; ++i) attributes += " a" + std::to_string(i);
    const std::string cut = limitNesting("<p" + attributes + ">x").html;
    EXPECT_TRUE(cut.ends_with(" a255 >x")) << cut;
}

}  // namespace
}  // namespace emltool
