#include "tool/html/inline_run.h"

#include <algorithm>
#include <utility>

#include "tool/text/utf8.h"

namespace emltool {

namespace {

using Kind = Inline::Kind;

// Characters that are never seen, and mean nothing between letters: fillers of newsletters.
bool isFiller(char32_t c) {
    return c == 0xAD || c == 0x34F || c == 0x180E || c == 0x200B || (c >= 0x2060 && c <= 0x2064) ||
           c == 0xFEFF;
}

// They join letters or keep them apart, and fill where there are none.
bool isJoiner(char32_t c) { return c == 0x200C || c == 0x200D; }

bool isTag(char32_t c) { return c >= 0xE0000 && c <= 0xE007F; }

bool isBlank(char32_t c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == 0xA0 || c == 0x2002 ||
           c == 0x2003 || c == 0x2007 || c == 0x2009 || c == 0x200A || c == 0x202F || c == 0x3000;
}

// In HTML these alone are collapsed; the others are blanks of their own.
bool isCollapsed(char32_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }

Kind endOf(Kind begin) { return static_cast<Kind>(static_cast<int>(begin) + 1); }

bool isBegin(Kind kind) {
    return kind == Kind::kLinkBegin || kind == Kind::kStrongBegin || kind == Kind::kEmphasisBegin ||
           kind == Kind::kCodeBegin;
}

}  // namespace

void InlineRun::append(std::string_view text) {
    if (inlines_.empty() || inlines_.back().kind != Kind::kText) inlines_.push_back({Kind::kText, "", ""});
    inlines_.back().text += text;
    atLineStart_ = false;
}

void InlineRun::flushBlank() {
    if (blank_ && !atLineStart_) append(" ");
    blank_ = false;
}

// Whether a joiner that stands between these is only a filler.
bool InlineRun::isFillingJoiner(char32_t before, std::string_view rest) {
    size_t at = 0;
    const char32_t after = rest.empty() ? ' ' : nextCharacter(rest, at);
    return isBlank(before) || isBlank(after) || isFiller(after) || isJoiner(after);
}

void InlineRun::addCharacter(char32_t c, std::string_view bytes, bool keepsBlanks, bool keepsLines) {
    if (c == '\n' && keepsLines) {
        addBreak();
    } else if (keepsBlanks && isCollapsed(c)) {
        if (c != '\r') append(bytes);
    } else if (isBlank(c)) {
        blank_ = true;
    } else {
        flushBlank();
        append(bytes);
        hasContent_ = true;
        breaks_ = 0;
    }
}

size_t InlineRun::addText(std::string_view text, bool keepsBlanks, bool keepsLines, std::string& smuggled) {
    size_t seen = 0;
    char32_t before = ' ';
    for (size_t at = 0; at < text.size();) {
        const size_t begin = at;
        const char32_t c = nextCharacter(text, at);
        const std::string_view bytes = text.substr(begin, at - begin);
        if (isTag(c)) {
            // A flag is made of these; otherwise they hide a text from people.
            const bool isFlag = before == 0x1F3F4;
            if (isFlag) append(bytes);
            if (!isFlag && c >= 0xE0020 && c < 0xE007F) smuggled += static_cast<char>(c - 0xE0000);
            continue;
        }
        if (isFiller(c) || (isJoiner(c) && isFillingJoiner(before, text.substr(at)))) continue;
        before = c;
        addCharacter(c, bytes, keepsBlanks, keepsLines);
        if (!isBlank(c)) ++seen;
    }
    return seen;
}

void InlineRun::addBreak() {
    blank_ = false;
    atLineStart_ = true;
    ++breaks_;
    inlines_.push_back({Kind::kBreak, "", ""});
}

void InlineRun::addImage(std::string alternative) {
    flushBlank();
    inlines_.push_back({Kind::kImage, std::move(alternative), ""});
    atLineStart_ = false;
    hasContent_ = true;
    breaks_ = 0;
}

void InlineRun::begin(Kind kind, std::string url) {
    if (kind == Kind::kLinkBegin || kind == Kind::kStrongBegin || kind == Kind::kEmphasisBegin) flushBlank();
    inlines_.push_back({kind, "", url});
    open_.push_back({kind, std::move(url)});
}

void InlineRun::end(Kind kind) {
    if (open_.empty() || endOf(open_.back().begin) != kind) return;
    open_.pop_back();
    if (!inlines_.empty() && isBegin(inlines_.back().kind)) {
        inlines_.pop_back();  // it is empty
    } else {
        inlines_.push_back({kind, "", ""});
    }
}

std::vector<Inline> InlineRun::take() {
    // What is open is closed here, and begins anew.
    const std::vector<Open> open = open_;
    while (!open_.empty()) end(endOf(open_.back().begin));
    const auto isEmptyEnd = [](const Inline& each) {
        return each.kind == Kind::kBreak ||
               (each.kind == Kind::kText && each.text.find_first_not_of(" \t") == std::string::npos);
    };
    while (!inlines_.empty() && isEmptyEnd(inlines_.back())) inlines_.pop_back();
    const auto first = std::find_if_not(inlines_.begin(), inlines_.end(),
                                        [](const Inline& each) { return each.kind == Kind::kBreak; });
    inlines_.erase(inlines_.begin(), first);
    std::vector<Inline> taken = std::exchange(inlines_, {});
    blank_ = hasContent_ = false;
    atLineStart_ = true;
    breaks_ = 0;
    for (const Open& each : open) begin(each.begin, each.url);
    return taken;
}

}  // namespace emltool
