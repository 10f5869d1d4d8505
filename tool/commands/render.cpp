// eml render: the message as one document.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "standalone/charsets.h"
#include "tool/cli/command.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/message_file.h"
#include "tool/message/message_markdown.h"
#include "tool/message/rendering.h"
#include "tool/system/document_file.h"
#include "tool/system/write_pieces.h"
#include "tool/text/format.h"
#include "tool/text/size_text.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 4> kFormWords = {"html", "rtf", "text", "markdown"};  // Form
constexpr Choices kFormChoices{"to", "form", kFormWords};

std::string_view nameOf(Form form) { return kFormWords[static_cast<size_t>(form)]; }

// What the library is asked for; or a text that it does not have.
struct Rendering {
    uint32_t options = 0;
    uint32_t charset = 0;
    std::optional<std::string> text = std::nullopt;
};

class RenderRun final : public CommandRun {
  public:
    explicit RenderRun(CLI::App& app) : messages_(app, MessageArguments::Count::kOne) {
        app.add_option("--to", to_, "html, rtf, text (the default) or markdown")->type_name("FORM");
        app.add_option("--charset", charset_,
                       "charset id of the text; 0 leaves it unchanged (default: 53, UTF-8)")
            ->type_name("ID");
        app.add_flag("--body-only", bodyOnly_, "leave out the header block");
        app.add_flag("--attachments", withAttachments_,
                     "markdown: add the text of attachments that are text");
        app.add_option("-o,--output", outputPath_, "file to write; - is standard output (the default)")
            ->type_name("OUT");
        app.add_flag("--overwrite", overwrite_, "replace the file if it exists");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        if (options.json) throw usageProblem("render has no JSON form; see \"eml --json info\"");
        if (outputPath_ == "-") outputPath_.clear();
        Form form = static_cast<Form>(kFormChoices.parse(to_));
        std::optional<uint32_t> charset = parseNumber(charset_);
        if (!charset || (*charset != 0 && emlhost::findCharset(*charset) == nullptr)) {
            throw usageProblem(
                formatted("--charset={}: no such charset id; 53 is UTF-8, 7 Western, 51 UTF-16, 0 leaves "
                          "the text as it is",
                          charset_));
        }
        if (withAttachments_ && form != Form::kMarkdown) {
            throw usageProblem("--attachments belongs to --to=markdown");
        }
        if (form == Form::kMarkdown && options.reading != Reading::kMime) {
            throw usageProblem("--to=markdown is what the MIME reader gives");
        }
        MessageFile file(messages_.message(), messages_.force());
        if (form == Form::kMarkdown) return write(console, file, markdown(console, file, *charset), form);
        if ((file.message().describe(0).flags & EML_SUB_FILE_ENCRYPTED) != 0) {
            throw Problem(ExitCode::kEncrypted, "encrypted", file.name(),
                          "encrypted (S/MIME); only the header can be shown");
        }
        return write(console, file, choose(console, file, form, *charset), form);
    }

  private:
    ExitCode write(Console& console, MessageFile& file, const Rendering& rendering, Form form) const {
        bool toTerminal = outputPath_.empty() && ::isatty(STDOUT_FILENO) != 0;
        if (form == Form::kHtml && (toTerminal || !outputPath_.empty())) {
            console.warn(
                file.name(),
                "the sender's HTML, scripts and all; open it only in a sandbox, as \"eml view\" does");
        }
        if (toTerminal) {
            printVisibly(console, file, rendering);
        } else if (outputPath_.empty()) {
            emlhost::DescriptorOutput output(STDOUT_FILENO);
            extract(file, rendering, output);
        } else {
            writeFile(file, rendering);
        }
        return ExitCode::kDone;
    }

    Rendering markdown(Console& console, MessageFile& file, uint32_t charset) const {
        std::optional<MarkdownText> made = messageMarkdown(file, {bodyOnly_, withAttachments_});
        if (!made) {
            throw Problem(ExitCode::kEncrypted, "encrypted", file.name(),
                          "encrypted; only the header can be shown");
        }
        for (const Warning& warning : made->warnings) console.warn(file.name(), warning.text);
        return {0, 0, inCharset(std::move(made->text), file, charset)};
    }

    // The library chooses among the bodies that the message has: rich asks for HTML, then RTF, first.
    Rendering choose(Console& console, MessageFile& file, Form form, uint32_t charset) const {
        uint32_t options = form == Form::kText ? 0 : EML_EXTRACT_PREFER_RICH;
        Form given = formOf(file.message(), options);
        if (form == Form::kText && given != form) {
            console.warn(file.name(), formatted("has no text body; this is the text of its {} body",
                                                given == Form::kHtml ? "HTML" : "RTF"));
            std::vector<Warning> warnings;
            std::string text = madeText(file, bodyOnly_, warnings);
            for (const Warning& warning : warnings) console.warn(file.name(), warning.text);
            return {0, 0, inCharset(std::move(text), file, charset)};
        }
        if (given != form) {
            throw Problem(
                ExitCode::kNoSubFile, "no-such-form", file.name(),
                formatted("has no {} body; --to={} gives what it has", nameOf(form), nameOf(given)));
        }
        if (bodyOnly_) options |= EML_EXTRACT_BODY_ONLY;
        if (form != Form::kText) return {options, 0};
        if (charset == EML_CHARSET_UTF_8 && !isUtf8Form(file.message(), options, charset)) {
            console.warn(file.name(), "not all of the text is UTF-8; U+FFFD stands for the rest");
            emlhost::MemoryOutput output;
            extract(file, {options, charset}, output);
            return {0, 0, withoutInvalidBytes(textOf(output))};
        }
        return {options, charset};
    }

    // Id 0 is the charset of the message.
    static std::string inCharset(std::string text, MessageFile& file, uint32_t charset) {
        const uint32_t wanted = charset == 0 ? file.message().charset() : charset;
        if (wanted == EML_CHARSET_UTF_8 || emlhost::findCharset(wanted) == nullptr) return text;
        return emlhost::convert(text, EML_CHARSET_UTF_8, wanted);
    }

    static std::string_view textOf(const emlhost::MemoryOutput& output) {
        return {reinterpret_cast<const char*>(output.bytes().data()), output.bytes().size()};
    }

    void extract(MessageFile& file, const Rendering& rendering, emlhost::Output& output) const {
        emlhost::Extraction extraction;
        if (rendering.text) {
            const auto* const bytes = reinterpret_cast<const uint8_t*>(rendering.text->data());
            writeWhole(output, {bytes, rendering.text->size()});
        } else {
            extraction = file.message().extract(0, output, rendering.options, rendering.charset);
        }
        file.checkReads();
        if (output.error() == std::errc::broken_pipe) throw BrokenPipe{};
        if (output.error()) {
            bool toFile = !outputPath_.empty();
            throw Problem(ExitCode::kOutput, "write-failed", toFile ? outputPath_ : "standard output",
                          describe(output.error()) + (toFile ? "; partial file removed" : ""));
        }
        if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file.name());
        if (extraction.status != EML_OK && extraction.status != EML_INPUT_UNUSABLE) {
            throw Problem(ExitCode::kInput, "cannot-read", file.name(),
                          formatted("the body cannot be read (result {} of the reader)", extraction.status));
        }
    }

    // No byte of the sender may control a terminal.
    void printVisibly(Console& console, MessageFile& file, const Rendering& rendering) const {
        emlhost::MemoryOutput output;
        extract(file, rendering, output);
        std::string_view text = textOf(output);
        while (!text.empty()) {
            size_t end = std::min(text.find('\n'), text.size());
            std::string_view line = text.substr(0, end);
            if (line.ends_with('\r')) line.remove_suffix(1);
            console.print(visible(line) + "\n");
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    void writeFile(MessageFile& file, const Rendering& rendering) const {
        auto output = createDocument(outputPath_);
        extract(file, rendering, *output);
        keepDocument(*output, outputPath_, overwrite_);
    }

    MessageArguments messages_;
    std::string to_ = "text";
    std::string outputPath_;
    std::string charset_ = "53";
    bool bodyOnly_ = false;
    bool withAttachments_ = false;
    bool overwrite_ = false;
};

std::unique_ptr<CommandRun> declareRender(CLI::App& app) { return std::make_unique<RenderRun>(app); }

}  // namespace

const Command kRenderCommand = {
    "render",
    "the message as one document: HTML, RTF, text or Markdown",
    "FILE",
    "A header block and the body, in a form that the message has; or Markdown, made from any of them.\n"
    "The HTML is the sender's, scripts and all, with header values unescaped: never open it outside a\n"
    "sandbox.\n\n"
    "Examples:\n"
    "  eml render message.eml\n"
    "  eml render --to=html -o message.html message.eml\n"
    "  eml render --to=markdown message.eml\n",
    declareRender,
    {&kFormChoices, 1}};

}  // namespace emltool
