// eml show: header and text, as a person reads them.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <vector>

#include "standalone/filter.h"
#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/html/html_text.h"
#include "tool/message/filter_file.h"
#include "tool/message/json_text.h"
#include "tool/message/left_out.h"
#include "tool/message/message_file.h"
#include "tool/message/message_markdown.h"
#include "tool/message/read_message.h"
#include "tool/message/shown_message.h"
#include "tool/text/folded_text.h"
#include "tool/text/format.h"
#include "tool/text/name_decoding.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kLabelWidth = 14;

constexpr std::array<std::string_view, 3> kLinkWords = {"none", "inline", "footnotes"};  // LinkStyle
constexpr Choices kLinkChoices{"links", "style", kLinkWords};

// A line with its tabs unchanged and everything else made visible.
std::string visibleLine(std::string_view line) {
    std::string shown;
    for (;;) {
        size_t tab = line.find('\t');
        shown += visible(line.substr(0, tab));
        if (tab == std::string_view::npos) return shown;
        shown += '\t';
        line.remove_prefix(tab + 1);
    }
}

// Prints while it reads. HTML is collected first, since its line ends mean nothing.
class Printer final : public MessageReader {
  public:
    Printer(Console& console, bool withFields, bool withBody, const TextForm& form)
        : console_(console), withFields_(withFields), withBody_(withBody), form_(form) {}

    void field(std::string_view name, std::string_view value) override {
        std::string label = visible(name) + ":";
        bool isList = label == "Attachment:";
        if (isList) label = "Attachments:";
        size_t width = displayWidth(label);
        std::string gap(width < kLabelWidth ? kLabelWidth - width : 1, ' ');
        std::string line = console_.style().label(label);
        // The names of attachments are as the message writes them.
        if (!value.empty()) line += gap + visible(isList ? decodeName(value, EML_CHARSET_UNKNOWN) : value);
        console_.print(line + "\n");
    }

    void bodyBegins() override {}

    void line(std::string_view text) override {
        if (!withBody_) return;
        bool isEmpty = text.find_first_not_of(" \t\r") == std::string_view::npos;
        if (isEmpty && !anyLine_) return;  // the empty line between header and body is printed anyway
        if (!anyLine_) begin(text);
        if (html_) {
            (htmlText_ += text) += '\n';
        } else if (isEmpty) {
            ++emptyLines_;
        } else {
            console_.print(std::string(emptyLines_, '\n') + visibleLine(text) + "\n");
            emptyLines_ = 0;
        }
    }

    // What was left out or guessed in the text of HTML.
    std::vector<Warning> finish() {
        if (!html_) return {};
        HtmlText read = textOfHtml(htmlText_, form_.links);
        html_ = false;
        wasHtml_ = true;
        text(read.text);
        return std::move(read.warnings);
    }

    // All of the body at once.
    void text(std::string_view body) {
        while (!body.empty()) {
            const size_t end = std::min(body.find('\n'), body.size());
            line(body.substr(0, end));
            body.remove_prefix(std::min(end + 1, body.size()));
        }
    }

    // The same without what the sender did not write.
    void foldedText(std::string_view body, std::span<const TextSpan> spans) {
        for (const FoldedLine& each : foldedLines(body, spans)) {
            if (each.isNote) {
                note(each.text);
            } else {
                line(each.text);
            }
        }
    }

    bool isHtml() const { return wasHtml_; }

  private:
    void note(std::string_view text) {
        if (!anyLine_) begin(text);
        console_.print(std::string(emptyLines_, '\n') + console_.style().note(text) + "\n");
        emptyLines_ = 0;
    }
    void begin(std::string_view firstLine) {
        if (withFields_) console_.print("\n");
        html_ = !form_.source && looksLikeHtml(firstLine);
        anyLine_ = true;
    }

    Console& console_;
    bool withFields_;
    bool withBody_;
    TextForm form_;
    bool anyLine_ = false;
    bool html_ = false;
    bool wasHtml_ = false;
    size_t emptyLines_ = 0;  // held back, so that none is at the end
    std::string htmlText_;
};

class ShowRun final : public CommandRun {
  public:
    explicit ShowRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        app.add_flag("--body-only", bodyOnly_, "leave out header fields");
        app.add_flag("--source", source_, "show HTML source, not its text; and plain text as it was sent");
        app.add_flag("--unquoted", unquoted_, "fold quotes, signatures and footers into a line each");
        app.add_option("--links", linksWord_,
                       "where links of HTML lead: footnotes (the default), inline or none")
            ->type_name("STYLE");
        app.add_flag("--markdown", markdown_, "as Markdown, as \"render --to=markdown\" does");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        if (markdown_ && options.reading != Reading::kMime) {
            throw usageProblem("--markdown is what the MIME reader gives");
        }
        if (markdown_ && (source_ || unquoted_)) {
            throw usageProblem("show: --markdown goes with neither --source nor --unquoted");
        }
        links_ = static_cast<LinkStyle>(kLinkChoices.parse(linksWord_));
        if (options.json) throw usageProblem("show has no JSON form; see \"eml --json info\" or \"records\"");
        if (unquoted_) checkUnquoted(options.reading);
        FileHeadings headings(console, messages_.files().size());
        return forEachFile(console, messages_, [&](const MessageSource& source) {
            show(console, source, headings, options.reading);
        });
    }

  private:
    void checkUnquoted(Reading reading) const {
        if (reading != Reading::kMime) {
            throw usageProblem("show: --unquoted belongs to the MIME reader; leave out --reader");
        }
        if (source_) throw usageProblem("show: --unquoted folds what --source shows; choose one of them");
    }

    void show(Console& console, const MessageSource& source, FileHeadings& headings, Reading reading) const {
        if (reading == Reading::kFilter) {
            showFiltered(console, source, headings);
            return;
        }
        MessageFile file(source, messages_.force());
        if (headings.print(source)) console.print("\n");
        if (markdown_) return showMarkdown(console, file);
        ShownMessage shown =
            reading == Reading::kMime ? shownByMime(file, form()) : shownByContainer(file, form());
        Printer printer(console, !bodyOnly_, !shown.encrypted, {true, links_});
        if (!bodyOnly_) {
            for (const auto& [name, value] : shown.fields) printer.field(name, value);
        }
        for (const Warning& warning : shown.warnings) console.warn(file.name(), warning.text);
        if (shown.encrypted) throw encrypted(file.name(), shown.protection);
        if (unquoted_) {
            printer.foldedText(shown.text, shown.spans);
        } else {
            printer.text(shown.text);
        }
        if (shown.isFromHtml && console.verbose()) noteHtml(console, file.name());
    }

    void showMarkdown(Console& console, MessageFile& file) const {
        const std::optional<MarkdownText> made = messageMarkdown(file, {bodyOnly_, false});
        if (!made) throw encrypted(file.name(), "encrypted");
        for (const Warning& warning : made->warnings) console.warn(file.name(), warning.text);
        Printer(console, false, true, {true, links_}).text(made->text);
    }

    static Problem encrypted(const std::string& name, std::string_view how) {
        return {ExitCode::kEncrypted, "encrypted", name, formatted("{}; only the header can be shown", how)};
    }

    static void noteHtml(Console& console, const std::string& name) {
        console.note(formatted("{}: the text of an HTML message; --source shows it as it is", visible(name)));
    }

    // What the message filter gives, as it comes.
    void showFiltered(Console& console, const MessageSource& source, FileHeadings& headings) const {
        MessageFile opened(source, messages_.force());
        FilterFile file(opened, !bodyOnly_);
        const auto warning = file.isEncrypted() ? std::nullopt : leftOutWarning(opened, Reading::kFilter);
        if (warning) console.warn(opened.name(), warning->text);
        if (headings.print(source)) console.print("\n");
        Printer printer(console, !bodyOnly_, !file.isEncrypted(), form());
        RecordReader reader(printer);
        file.read([&](const emlhost::TextRecord& record) {
            reader.take(record);
            return !file.isEncrypted() || !reader.inBody();
        });
        reader.finish();
        if (file.isEncrypted()) {
            throw encrypted(file.name(), "encrypted (S/MIME)");
        }
        for (const Warning& each : printer.finish()) console.warn(file.name(), each.text);
        if (printer.isHtml() && console.verbose()) noteHtml(console, file.name());
    }

    TextForm form() const { return {source_, links_}; }

    MessageArguments messages_;
    bool bodyOnly_ = false;
    bool source_ = false;
    bool markdown_ = false;
    std::string linksWord_ = "footnotes";
    LinkStyle links_ = LinkStyle::kFootnotes;
    bool unquoted_ = false;
};

std::unique_ptr<CommandRun> declareShow(CLI::App& app) { return std::make_unique<ShowRun>(app); }

}  // namespace

const Command kShowCommand = {"show",
                              "show header and text, as a person reads them",
                              "FILE...",
                              "\"eml FILE\" does the same. For an HTML message, its text is shown.\n\n"
                              "Examples:\n"
                              "  eml message.eml\n"
                              "  eml show --body-only message.eml | less\n"
                              "  eml show --unquoted message.eml\n"
                              "  eml show box.mbox#17\n",
                              declareShow,
                              {&kLinkChoices, 1}};

}  // namespace emltool
