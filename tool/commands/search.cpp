// eml search: finds messages in a database that eml batch has made.
#include <CLI/CLI.hpp>
#include <cstdint>

#include "tool/cli/command.h"
#include "tool/database/mail_search.h"
#include "tool/message/json_fields.h"
#include "tool/text/format.h"
#include "tool/text/size_text.h"
#include "tool/text/suggestion.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 3> kSortWords = {"newest", "oldest", "relevance"};
constexpr Choices kSortChoices{"sort", "order", kSortWords};

constexpr const char* kSchema = "eml-search/1";

std::string placeText(const FoundPlace& place) {
    const std::string number = place.index ? formatted("#{}", *place.index + 1) : "";
    return place.path + number + (place.member.empty() ? "" : formatted(" ({})", place.member));
}

// In one line.
std::string oneLine(const std::string& text) {
    std::string line = text;
    for (char& c : line) {
        if (c == '\n' || c == '\t') c = ' ';
    }
    return visible(line);
}

std::string snippetText(const Style& style, const std::vector<SnippetPiece>& pieces) {
    std::string text;
    for (const SnippetPiece& piece : pieces) {
        const std::string shown = oneLine(piece.text);
        text += piece.isHit ? style.label(shown) : shown;
    }
    return text;
}

void printHit(Console& console, const SearchHit& hit) {
    const std::string day = hit.date.empty() ? "no date   " : hit.date.substr(0, 10);
    const std::string sender = hit.sender.empty() ? "no sender" : oneLine(hit.sender);
    const std::string none = hit.error.empty() ? "(no subject)" : "(" + oneLine(hit.error) + ")";
    const std::string subject = hit.subject.empty() ? none : oneLine(hit.subject);
    std::string text = formatted("{}  {}  {}\n    {}", console.style().number(formatted("{}", hit.id)), day,
                                 sender, console.style().label(subject));
    if (hit.attachments > 0)
        text += console.style().note(
            formatted("  [{} attachment{}]", hit.attachments, hit.attachments == 1 ? "" : "s"));
    text += '\n';
    const bool repeatsSubject = snippetText(Style(false), hit.snippet) == subject;
    if (!hit.snippet.empty() && !repeatsSubject) {
        text += "    " + snippetText(console.style(), hit.snippet);
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    text += "    " + console.style().note(visible(placeText(hit.place))) + '\n';
    console.print(text);
}

void printJson(Console& console, const SearchHit& hit) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putField(json, "schema", kSchema);
    json.Key("id");
    json.Int64(hit.id);
    json.Key("source");
    json.StartObject();
    putField(json, "path", hit.place.path);
    if (!isUtf8(hit.place.path)) putField(json, "path_b64", base64(hit.place.path));
    if (!hit.place.member.empty()) putField(json, "member", hit.place.member);
    if (hit.place.index) putNumber(json, "index", *hit.place.index);
    json.EndObject();
    putOptional(json, "date", hit.date);
    putOptional(json, "from", hit.sender);
    putOptional(json, "subject", hit.subject);
    putOptional(json, "error", hit.error);
    json.Key("attachments");
    json.Int64(hit.attachments);
    json.Key("snippet");
    json.StartArray();
    for (const SnippetPiece& piece : hit.snippet) {
        json.StartObject();
        putField(json, "text", piece.text);
        putTruth(json, "hit", piece.isHit);
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    console.print(lineOf(buffer));
}

std::string countText(const SearchResult& result) {
    std::string count = formatted("{}{} message{}", result.areMore ? "more than " : "", result.count,
                                  result.count == 1 ? "" : "s");
    if (result.count <= result.hits.size() && !result.areMore) return count;
    return formatted("{}, of which these are {}; --limit=0 gives all", count, result.hits.size());
}

class SearchRun final : public CommandRun {
  public:
    explicit SearchRun(CLI::App& app) {
        app.add_option("DATABASE", path_, "what \"eml batch -o DATABASE\" has written")

            ->type_name("");
        app.add_option("WORDS", words_, "what is looked for")->type_name("");
        app.add_option("--sort", sort_, "newest (the default), oldest or relevance first")
            ->type_name("ORDER");
        app.add_option("-n,--limit", limit_, "at most N messages; 0 means all (default: 20)")->type_name("N");
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        const auto order = static_cast<SearchOrder>(kSortChoices.parse(sort_));
        const std::optional<unsigned> limit = parseNumber(limit_);
        if (!limit) throw usageProblem(formatted("--limit={}: not a number", limit_));
        if (path_.empty()) throw usageProblem("search: no DATABASE given; see \"eml search --help\"");
        if (words_.empty()) throw usageProblem("search: no WORDS given; see \"eml search --help\"");
        std::string text;
        for (const std::string& word : words_) text += quotedAgain(word) + ' ';
        const SearchQuery query = parseSearch(text);
        if (query.match.empty() && query.exclude.empty() && query.conditions.empty())
            throw usageProblem("search: only punctuation given, and no word to look for");
        MailSearch search(path_);
        const SearchResult result = search.find(query, order, *limit == 0 ? SIZE_MAX : *limit);
        for (const SearchHit& hit : result.hits) {
            if (options.json) {
                printJson(console, hit);
            } else {
                printHit(console, hit);
            }
        }
        console.flush();
        if (!options.json || result.areMore || result.count > result.hits.size())
            console.note(countText(result));
        return ExitCode::kDone;
    }

  private:
    // from:"Ann Meier", of which the shell has taken the quotes.
    static std::string quotedAgain(const std::string& word) {
        const size_t colon = word.find(':');
        const bool isPhrase = colon != std::string::npos && word.find(' ') != std::string::npos &&
                              word.find(' ') > colon && word.find(':', colon + 1) == std::string::npos &&
                              word.find('"') == std::string::npos;
        return isPhrase ? word.substr(0, colon + 1) + '"' + word.substr(colon + 1) + '"' : word;
    }

    std::string path_;
    std::vector<std::string> words_;
    std::string sort_ = "newest";
    std::string limit_ = "20";
};

std::unique_ptr<CommandRun> declareSearch(CLI::App& app) { return std::make_unique<SearchRun>(app); }

}  // namespace

const Command kSearchCommand = {
    "search",
    "finds messages in a database that \"eml batch -o FILE.sqlite\" has made",
    "DATABASE WORDS...",
    "All WORDS must be there: in the subject, the names and addresses, the text or the names of "
    "attachments.\n"
    "Neither case nor accents count. The numbers are those of \"eml show DATABASE#NUMBER\".\n\n"
    "  plan             the word\n"
    "  pla*             words that begin so\n"
    "  \"plan for may\"   these words, one after the other\n"
    "  may OR june      one of the two\n"
    "  plan -draft      without this word; -- comes before it if it is the first\n"
    "  subject:plan body:plan from:ann to:ann people:ann filename:report\n"
    "  after:2024-03 before:2024-03-15   from that day on; earlier than that day; by UTC\n"
    "  has:attachment list:ID thread:ID id:MESSAGE-ID status:warning\n"
    "  is:encrypted is:seen is:replied is:flagged is:trashed is:draft is:passed\n\n"
    "Examples:\n"
    "  eml batch -j 0 -o mail.sqlite archive/\n"
    "  eml search mail.sqlite plan from:ann after:2024\n"
    "  eml search mail.sqlite '\"project plan\"' has:attachment -draft\n"
    "  eml show mail.sqlite#17\n",
    declareSearch,
    {&kSortChoices, 1}};

}  // namespace emltool
