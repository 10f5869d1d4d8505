// What the tool makes of texts from strangers: names, text for a terminal, HTML, JSON, dates, and the
// conversions of the stand-alone host. There is nothing to compare with; the rules are those of the headers:
// text is UTF-8, JSON parses, a name is safe, nothing can drive a terminal.
#include <rapidjson/document.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <set>
#include <vector>

#include "check.h"
#include "choices.h"
#include "standalone/charsets.h"
#include "standalone/filter.h"
#include "standalone/input.h"
#include "standalone/iso_2022_jp.h"
#include "standalone/text_records.h"
#include "tool/html/document_text.h"
#include "tool/html/html_document.h"
#include "tool/html/html_text.h"
#include "tool/html/html_tree.h"
#include "tool/html/markdown.h"
#include "tool/html/nesting_limit.h"
#include "tool/message/json_text.h"
#include "tool/message/message_file.h"
#include "tool/message/shown_message.h"
#include "tool/message/tree.h"
#include "tool/text/charset_labels.h"
#include "tool/text/date_text.h"
#include "tool/text/flowed_text.h"
#include "tool/text/name_decoding.h"
#include "tool/text/safe_name.h"
#include "tool/text/text_spans.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"
#include "tool/view/css_text.h"
#include "tool/view/inert_html.h"
#include "utf8_rules.h"

namespace {

using namespace fuzz;

constexpr size_t kHead = 4;
constexpr uint32_t kCharsets[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 16, 17,  19,
                                  21, 22, 23, 24, 35, 51, 52, 53, 54, 55, 66, 69, 81, 82, 94, 1000};

void utf8(Choices&, std::string_view text) {
    require(emltool::isUtf8(text) == isWellFormed(text), "UTF-8 is known as such");
    std::string again;
    for (size_t position = 0; position < text.size();) {
        const size_t before = position;
        const size_t length = characterLength(text.substr(before));
        const char32_t character = emltool::nextCharacter(text, position);
        require(position == before + std::max<size_t>(length, 1), "a character is passed whole");
        require((character == emltool::kNoCharacter) == (length == 0), "a byte of no character is told");
        if (length == 0) {
            again += "\xEF\xBF\xBD";
            continue;
        }
        const size_t size = again.size();
        emltool::appendUtf8(again, character);
        require(again.substr(size) == text.substr(before, length), "a character is written as it was read");
    }
    require(emltool::withoutInvalidBytes(text) == again, "each byte of no character becomes U+FFFD");
}

void requireSafe(const std::string& name) {
    requireHarmless(name, "a safe name is harmless");
    require(!name.empty() && name.size() <= emltool::kMaxNameLength, "a safe name has 1 to 255 bytes");
    require(name.find_first_of("/\\") == std::string::npos, "a safe name is one component");
    const std::string_view ends = ". ";
    require(ends.find(name.front()) == std::string_view::npos, "a safe name begins with a character");
    require(ends.find(name.back()) == std::string_view::npos, "a safe name ends with a character");
}

// Each line of the text is a name.
void safeNames(Choices& choices, std::string_view text) {
    const unsigned number = choices.byte() * 10007U;
    emltool::NameSet names;
    std::set<std::string> taken;
    for (int count = 0; count < 30 && !text.empty(); ++count) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::string name = emltool::safeName(line, "3.1");
        requireSafe(name);
        require(emltool::safeName(name, "1") == name, "a safe name stays as it is");
        requireSafe(emltool::numberedName(name, number));
        const std::string given = names.take(name);
        requireSafe(given);
        require(taken.insert(given).second, "a name is given once");
    }
}

void spans(std::string_view text) {
    size_t next = 1;
    const std::vector<emltool::TextSpan> found = emltool::textSpans(text);
    for (size_t i = 0; i < found.size(); ++i) {
        require(found[i].firstLine == next && found[i].lines > 0, "spans follow each other");
        require(i == 0 || found[i].kind != found[i - 1].kind, "neighbours are of different kinds");
        next += found[i].lines;
    }
    const auto ends = static_cast<size_t>(std::ranges::count(text, '\n'));
    require(next == ends + (text.empty() || text.ends_with('\n') ? 1 : 2), "each line is in a span");
    require(emltool::joinedFlowed(text, false).size() <= 2 * text.size() + 1,
            "a mark adds one blank at most");
}

void visibleText(Choices&, std::string_view text) {
    spans(text);
    const std::string shown = emltool::visible(text);
    requireHarmless(shown, "visible text is harmless");
    const bool harmless = isWellFormed(text) && shown == text;
    if (harmless) require(emltool::visible(shown) == shown, "harmless text stays");
    require(emltool::displayWidth(text) <= 2 * text.size(), "a byte takes two columns at most");
    const std::string word = emltool::shellWord(text);
    requireHarmless(word, "a word for a shell is harmless");
    // What a shell reads it as.
    std::string read;
    bool quoted = false;
    for (size_t i = 0; i < word.size(); ++i) {
        if (word[i] == '\'') {
            quoted = !quoted;
        } else if (!quoted && word[i] == '\\' && i + 1 < word.size()) {
            read += word[++i];
        } else {
            require(quoted || std::string_view(" \t;&|<>()$`\"*?[]#~!{}").find(word[i]) == std::string::npos,
                    "a shell finds nothing to do in a word");
            read += word[i];
        }
    }
    require(!quoted && read == shown, "a shell reads a word as the text that is shown");
}

void names(Choices& choices, std::string_view text) {
    const uint32_t charset = kCharsets[choices.below(std::size(kCharsets))];
    require(isWellFormed(emltool::decodeName(text, charset)), "a decoded name is UTF-8");
    const std::string plain = emltool::fromUnlabelledCharset(text, charset);
    require(isWellFormed(plain), "text of no label becomes UTF-8");
    // Escape sequences are Japanese text, and UTF-7 is ASCII on its face.
    const bool isElse = text.find('\x1B') != std::string_view::npos || charset == EML_CHARSET_UTF_7;
    if (isWellFormed(text) && !isElse) require(plain == text, "UTF-8 stays");
    const size_t cut = text.find('\n');
    if (cut == std::string_view::npos) return;
    if (const auto labelled = emltool::fromLabelledCharset(text.substr(0, cut), text.substr(cut + 1)))
        require(isWellFormed(*labelled), "text of a label becomes UTF-8");
}

// The parser is a library of others, and not in this build: what is ours before and after it is.
void html(Choices&, std::string_view text) {
    (void)emltool::looksLikeHtml(text.substr(0, text.find('\n')));
    const emltool::LimitedHtml limited = emltool::limitNesting(text);
    require(limited.html.size() <= text.size(), "nothing comes in addition");
    require(limited.anyLeftOut || limited.html == text, "what is kept is kept as it is");
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    if (const auto tree = emltool::HtmlTree::decode(bytes)) {
        for (size_t i = 0; i < tree->size(); ++i) require((*tree)[i].end <= tree->size(), "nodes are inside");
        (void)emltool::documentText(emltool::readHtml(*tree).content, emltool::LinkStyle::kFootnotes);
        (void)emltool::makeInert(*tree);
    }
}

void css(Choices&, std::string_view text) {
    emltool::CssFindings findings;
    for (const std::string& inert :
         {emltool::inertStyleSheet(text, {}, findings), emltool::inertDeclarations(text, {}, findings)}) {
        require(inert.find('<') == std::string::npos, "no tag is in a style sheet");
    }
}

void markdown(Choices&, std::string_view text) {
    const std::string made = emltool::markdownOf(emltool::plainDocument(text));
    require(!isWellFormed(text) || isWellFormed(made), "UTF-8 stays UTF-8");
    for (size_t at = made.find('<'); at != std::string::npos; at = made.find('<', at + 1)) {
        require(at != 0 && made[at - 1] == '\\', "no tag is in Markdown");
    }
}

// Both answers are one line that parses, and say the same.
void requireJson(const std::string& line) {
    require(line.ends_with('\n') && line.find('\n') == line.size() - 1, "an answer is one line");
    requireHarmless(std::string_view(line).substr(0, line.size() - 1), "an answer is harmless");
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str());
    require(!document.HasParseError(), "an answer is JSON");
    const std::string_view schema = document["schema"].GetString();
    require(schema == "eml/1" || schema == "eml/2", "an answer names its schema");
}

// A tree whose texts are the lines of the text.
void json(Choices& choices, std::string_view text) {
    emltool::MessageTree tree;
    const auto next = [&text] {
        const std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        return line;
    };
    tree.name = next();
    tree.charset = kCharsets[choices.below(std::size(kCharsets))];
    tree.date = next();
    tree.metadata.push_back({"From", next(), std::nullopt});
    tree.metadata.push_back({"Subject", next(), next()});
    tree.warnings.push_back({"too-deep", next()});
    emltool::SubFileEntry entry;
    entry.path = {1, 2};
    entry.name = next();
    entry.safeName = next();
    entry.isEmbeddedMessage = (choices.byte() & 1) != 0;
    entry.type = next();
    tree.subFiles.push_back(std::move(entry));
    const std::string source = next();
    const emltool::AnswerForm form{1 + static_cast<int>(choices.byte() & 1), emltool::Reading::kMime};
    requireJson(emltool::jsonLine(form, {source}, &tree, nullptr));
    const emltool::Problem problem(emltool::ExitCode::kInput, next(), next(), next());
    requireJson(emltool::jsonLine(form, {source}, nullptr, &problem));
}

void date(Choices& choices, std::string_view text) {
    int64_t seconds = 0;
    std::memcpy(&seconds, text.data(), std::min(text.size(), sizeof seconds));
    seconds >>= choices.byte() % 64;
    text.remove_prefix(std::min(text.size(), sizeof seconds));
    const std::string shown = emltool::dateText(seconds, text);
    if (shown.empty()) return;
    const std::string_view form = "dddd-dd-ddTdd:dd:ddsdd:dd";
    require(shown.size() == form.size(), "a date has 25 characters");
    for (size_t i = 0; i < form.size(); ++i) {
        const bool digit = shown[i] >= '0' && shown[i] <= '9';
        const bool sign = shown[i] == '+' || shown[i] == '-';
        require(form[i] == 'd' ? digit : form[i] == 's' ? sign : shown[i] == form[i], "a date has its form");
    }
}

void conversions(Choices& choices, std::string_view text) {
    const uint32_t from = kCharsets[choices.below(std::size(kCharsets))];
    const uint32_t to = kCharsets[choices.below(std::size(kCharsets))];
    const std::string direct = emlhost::convert(text, from, to);
    require(direct.size() <= 16 * text.size() + 64, "a conversion is limited");
    const std::string wide = emlhost::convert(text, from, EML_CHARSET_UTF_8);
    require(isWellFormed(wide), "a conversion to UTF-8 gives UTF-8");
    emlhost::Converter converter(from, to);
    require(converter.convert(text) == direct, "a converter converts");
    require(converter.convert(text) == direct, "each call starts anew");
    for (const uint32_t id : {EML_CHARSET_TEXT_16, EML_CHARSET_GB18030}) {
        // A byte order mark in front is no character of 16-bit text.
        if (!isWellFormed(text) || text.starts_with("\xEF\xBB\xBF")) break;
        const std::string there = emlhost::convert(text, EML_CHARSET_UTF_8, id);
        requireSame<std::string_view>(text, emlhost::convert(there, id, EML_CHARSET_UTF_8),
                                      "there and back gives the text");
    }
}

void iso2022(Choices&, std::string_view text) {
    const std::string euc = emlhost::eucFromIso2022Jp(text);
    require(euc.size() <= 2 * text.size(), "no character becomes longer than two for one");
    const bool ascii = std::all_of(text.begin(), text.end(), [](char byte) {
        return static_cast<uint8_t>(byte) < 0x80 && byte != '\x1B';
    });
    if (ascii) require(euc == text, "ASCII stays");
    require(isWellFormed(emlhost::convert(text, EML_CHARSET_ISO_2022_JP, EML_CHARSET_UTF_8)),
            "Japanese text becomes UTF-8");
}

// Takes what a reader is given. In the stream a line end that a word encodes looks like the end of a value, so
// that a sender can make fields come behind the body: their order is no rule.
class Lines final : public emltool::MessageReader {
  public:
    void field(std::string_view name, std::string_view value) override {
        require(isWellFormed(name) && isWellFormed(value), "a field is UTF-8");
    }
    void bodyBegins() override {}
    void line(std::string_view text) override { require(isWellFormed(text), "a line is UTF-8"); }
};

void readRecords(std::span<const uint8_t> bytes, emltool::RecordReader& reader) {
    emlhost::RecordWalker walker(bytes);
    emlhost::TextRecord record;
    while (walker.next(record)) {
        const uint8_t* const end = bytes.data() + bytes.size();
        const bool inside =
            record.payload.data() >= bytes.data() && record.payload.data() + record.payload.size() <= end;
        require(record.payload.empty() || inside, "a record lies inside its buffer");
        reader.take(record);
    }
}

void records(Choices&, std::string_view text) {
    const Exact block(text);
    Lines lines;
    emltool::RecordReader reader(lines);
    // A stream that is damaged anywhere is read without harm, though not in order.
    try {
        readRecords({block.begin(), block.end()}, reader);
        reader.finish();
    } catch (const std::system_error&) {
        fail("every charset id of a record can be converted");
    }
}

class OpensAll final : public emltool::AttachmentVisitor {
  public:
    void visit(emltool::SubFileContent&, emltool::SubFileEntry& entry) override {
        entry.safeName = emltool::safeName(entry.name, emltool::dotted(entry.path));
        requireSafe(entry.safeName);
    }
    [[nodiscard]] bool opens(const emltool::SubFileEntry&) const override { return true; }
};

// A message, as `eml show` and `eml info --json` read it.
void message(Choices&, std::string_view text) {
    const Exact block(text);
    const std::span<const uint8_t> bytes(block.begin(), block.end());
    try {
        emltool::MessageFile file(std::make_unique<emlhost::MemoryInput>(bytes), "message", true);
        for (const emltool::Reading reading : {emltool::Reading::kContainer, emltool::Reading::kMime}) {
            OpensAll visitor;
            const emltool::MessageTree tree = emltool::readTree(file, visitor, reading);
            requireJson(emltool::jsonLine({2, reading}, {"message"}, &tree, nullptr));
            for (const emltool::MetadataField& field : tree.metadata)
                require(!field.text || isWellFormed(*field.text), "metadata is UTF-8");
        }
    } catch (const emltool::Problem& problem) {
        requireJson(emltool::jsonLine({}, {"message"}, nullptr, &problem));
    }
    emlhost::MemoryInput input(bytes);
    emlhost::Services services;
    emlhost::MessageFilter filter(input, services);
    Lines lines;
    emltool::RecordReader reader(lines);
    std::vector<uint8_t> buffer(1000);
    while (!filter.finished()) readRecords(filter.fill(buffer), reader);
    reader.finish();
}

void paths(Choices&, std::string_view text) {
    (void)emltool::hasHeaderField(text);
    const auto path = emltool::parseSubFilePath(text);
    if (!path) return;
    const auto again = emltool::parseSubFilePath(emltool::dotted(*path));
    require(again && *again == *path, "a path is written as it is read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr void (*kTexts[])(Choices&, std::string_view) = {
        &utf8,        &safeNames, &visibleText, &names,   &html,  &json, &date,
        &conversions, &iso2022,   &records,     &message, &paths, &css,  &markdown};
    Choices choices(data, size, kHead);
    const uint32_t kind = choices.below(std::size(kTexts));
    kTexts[kind](choices, choices.restText());
    return 0;
}
