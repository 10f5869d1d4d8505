#include "tool/html/html_parser.h"

#include <algorithm>
#include <chrono>
#include <new>

#include "standalone/write_all.h"
#include "tool/html/nesting_limit.h"
#include "tool/system/child_process.h"
#include "tool/system/isolated_work.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

// A page of this size is none that a person reads, and its tree takes fifty times as much memory.
constexpr size_t kMaxHtml = size_t{64} << 20;

constexpr std::string_view kTooLarge = "its HTML is too large to be read";

// The reply of the process that parses: its result, and the tree.
bool sendTree(std::string_view html, HtmlReader reader, int descriptor) {
    HtmlTree tree;
    const HtmlResult result = reader(html, tree);
    if (result == HtmlResult::kNoMemory) throw std::bad_alloc();
    std::string bytes(1, static_cast<char>(result));
    if (result == HtmlResult::kRead) bytes += tree.encode();
    return emlhost::writeAll(descriptor, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}) == 0;
}

// A page of ours is read by the rules of today, so the message in it is, too.
LimitedHtml prepared(std::string_view html) {
    std::string whole("<!DOCTYPE html>");
    whole += html;
    std::erase(whole, '\0');
    return limitNesting(whole);
}

ParsedHtml unread(std::string_view problem) {
    ParsedHtml parsed;
    parsed.problem = problem;
    return parsed;
}

ParsedHtml parseHere(std::string_view html) {
    const LimitedHtml limited = prepared(html);
    ParsedHtml parsed;
    parsed.isNestedTooDeep = limited.anyLeftOut;
    switch (parseWithLibrary(limited.html, parsed.tree)) {
        case HtmlResult::kRead:
            break;
        case HtmlResult::kTooLarge:
            parsed.problem = kTooLarge;
            break;
        case HtmlResult::kNoMemory:
            throw std::bad_alloc();
    }
    return parsed;
}

}  // namespace

ParsedHtml parseHtmlIsolated(std::string_view html, HtmlReader reader) {
    const LimitedHtml limited = prepared(html);
    const uint64_t size = limited.html.size();
    const IsolationLimits limits{(uint64_t{128} << 20) + 400 * size, 20, std::chrono::minutes(2),
                                 static_cast<size_t>((uint64_t{16} << 20) + 100 * size)};
    const IsolatedReply reply =
        workIsolated([&](int descriptor) { return sendTree(limited.html, reader, descriptor); }, limits);
    if (!reply.done()) return unread(formatted("the reader of its HTML {}", reply.failure));
    constexpr std::string_view kInvalid = "the reader of its HTML gave an answer that makes no sense";
    if (reply.bytes.empty()) return unread(kInvalid);
    if (reply.bytes.front() == static_cast<uint8_t>(HtmlResult::kTooLarge)) return unread(kTooLarge);
    std::optional<HtmlTree> tree = HtmlTree::decode(std::span(reply.bytes).subspan(1));
    if (!tree || reply.bytes.front() != static_cast<uint8_t>(HtmlResult::kRead)) return unread(kInvalid);
    return {std::move(*tree), limited.anyLeftOut, ""};
}

ParsedHtml parseHtml(std::string_view html) {
    if (const std::string lack = htmlLack(); !lack.empty()) {
        return unread("its HTML cannot be read: this program was " + lack);
    }
    if (html.size() > kMaxHtml) return unread(kTooLarge);
    return isWorker() ? parseHere(html) : parseHtmlIsolated(html, parseWithLibrary);
}

}  // namespace emltool
