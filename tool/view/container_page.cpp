#include "tool/view/page.h"

#include <algorithm>
#include <string_view>

#include "tool/message/opening_limits.h"
#include "tool/message/rendering.h"
#include "tool/message/text.h"
#include "tool/message/tree.h"
#include "tool/text/base64_text.h"
#include "tool/text/charset_labels.h"
#include "tool/text/format.h"
#include "tool/text/safe_name.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"
#include "tool/view/inert_html.h"
#include "tool/view/mail_body.h"
#include "tool/view/page_parts.h"

namespace emltool {

namespace {

std::string_view textOf(const emlhost::MemoryOutput& output) {
    return {reinterpret_cast<const char*>(output.bytes().data()), output.bytes().size()};
}

// Keeps the bytes of attachments that are small enough, by their number.
class BytesVisitor final : public AttachmentVisitor {
  public:
    explicit BytesVisitor(uint64_t maxSize) : maxSize_(maxSize) {}

    void visit(SubFileContent& content, SubFileEntry& entry) override {
        auto number = static_cast<size_t>(entry.path.back());
        bytes_.resize(std::max(bytes_.size(), number + 1));
        entry.size = decodedSize(content);
        if (!entry.size || *entry.size > maxSize_) return;
        emlhost::MemoryOutput output;
        content.extract(output);
        if (output.error()) throw outOfMemory("");
        bytes_[number] = output.take();
    }
    bool opens(const SubFileEntry&) const override { return false; }

    const std::vector<uint8_t>& of(const SubFileEntry& entry) const {
        return bytes_[static_cast<size_t>(entry.path.back())];
    }

  private:
    uint64_t maxSize_;
    std::vector<std::vector<uint8_t>> bytes_;
};

class PageBuilder {
  public:
    PageBuilder(const ViewOptions& options, uint64_t messageSize) : options_(options), limits_(messageSize) {}

    ViewPage build(MessageFile& file);

  private:
    std::string article(MessageFile& file, const SubFilePath& path, std::string& tree);
    std::string body(MessageFile& file, const MessageTree& tree);
    std::string attachment(const SubFileEntry& entry, const BytesVisitor& bytes, const SubFilePath& path,
                           std::string& tree, std::string& inner);
    void embedded(const SubFileEntry& entry, const BytesVisitor& bytes, const SubFilePath& path,
                  std::string& tree, std::string& inner);

    const ViewOptions& options_;
    OpeningLimits limits_;
    std::string title_;
    std::vector<Warning> warnings_;
    ViewSummary summary_;
};

std::string idOf(const SubFilePath& path) { return path.empty() ? "message" : "part-" + dotted(path); }

const std::string* fieldText(const MessageTree& tree, std::string_view name) {
    for (const MetadataField& field : tree.metadata) {
        if (field.name == name && field.text) return &*field.text;
    }
    return nullptr;
}

std::string subjectOf(const MessageTree& tree) {
    const std::string* subject = fieldText(tree, "Subject");
    return subject == nullptr || subject->empty() ? "(no subject)" : *subject;
}

std::string headerTable(const MessageTree& tree) {
    std::string rows;
    for (const MetadataField& field : tree.metadata) {
        if (field.name == "Subject" || !field.text) continue;
        rows += formatted("<dt>{}</dt><dd>{}</dd>\n", shown(field.name), shown(*field.text));
    }
    return "<dl>\n" + rows + "</dl>\n";
}

std::string htmlOf(MessageFile& file, const MessageTree& tree) {
    emlhost::MemoryOutput output;
    file.message().extract(0, output, EML_EXTRACT_PREFER_RICH | EML_EXTRACT_BODY_ONLY);
    file.checkReads();
    if (output.error()) throw outOfMemory(file.name());
    return withoutInvalidBytes(fromUnlabelledCharset(textOf(output), tree.charset));
}

std::string PageBuilder::body(MessageFile& file, const MessageTree& tree) {
    if (tree.encrypted) return note("The message is encrypted (S/MIME): only its header can be shown.");
    Form form = formOf(file.message(), EML_EXTRACT_PREFER_RICH);
    std::optional<BodyText> text;
    try {
        text = bodyText(file, Reading::kContainer);
        if (text) std::move(text->warnings.begin(), text->warnings.end(), std::back_inserter(warnings_));
    } catch (const Problem& problem) {
        if (problem.exit == ExitCode::kInternal) throw;
        warnings_.push_back({problem.code, problem.text});
    }
    std::string plain = text ? textBody(text->text) : "";
    if (form == Form::kHtml) {
        std::string section = htmlBody(htmlOf(file, tree), {});
        if (!plain.empty()) section += "<details><summary>As plain text</summary>\n" + plain + "</details>\n";
        return section;
    }
    if (form == Form::kRtf) plain += note("The message also has an RTF form: eml render --to=rtf.");
    return plain.empty() ? note("No text.") : plain;
}

// An embedded message becomes an article of its own after the one that contains it.
void PageBuilder::embedded(const SubFileEntry& entry, const BytesVisitor& bytes, const SubFilePath& path,
                           std::string& tree, std::string& inner) {
    const std::vector<uint8_t>& content = bytes.of(entry);
    if (!entry.isEmbeddedMessage || content.empty()) return;
    if (!limits_.mayOpen(path, content.size(), warnings_)) return;
    MessageFile file(std::make_unique<emlhost::MemoryInput>(content), entry.name, true);
    inner += article(file, path, tree);
}

std::string PageBuilder::attachment(const SubFileEntry& entry, const BytesVisitor& bytes,
                                    const SubFilePath& path, std::string& tree, std::string& inner) {
    std::string name = entry.name.empty() ? "(no name)" : entry.name;
    std::string size = entry.size ? humanSize(*entry.size) : "not in the message";
    bool isHere = entry.size && *entry.size <= options_.maxEmbed;
    tree += formatted("<li><a href=\"#{}\">{}</a>", idOf(path), shown(name));
    std::string item;
    if (isHere) {
        const std::vector<uint8_t>& content = bytes.of(entry);
        std::string data = base64({reinterpret_cast<const char*>(content.data()), content.size()});
        // One type for all, so that the browser saves it and does not show it.
        item = formatted("<a download=\"{}\" href=\"data:application/octet-stream;base64,{}\">{}</a>",
                         escapeHtml(safeName(entry.name, dotted(path))), data, shown(name));
    } else {
        item = shown(name);
    }
    item = formatted("<li id=\"{}\"><span>{}</span> <small>{}{}</small></li>\n",
                     entry.isEmbeddedMessage ? "file-" + dotted(path) : idOf(path), item, size,
                     entry.size && !isHere ? ", too large for this page: eml extract" : "");
    embedded(entry, bytes, path, tree, inner);
    tree += "</li>\n";
    return item;
}

std::string PageBuilder::article(MessageFile& file, const SubFilePath& path, std::string& tree) {
    BytesVisitor bytes(std::max(options_.maxEmbed, uint64_t{4} << 20));
    MessageTree message = readTree(file, bytes, Reading::kContainer);
    for (const Warning& warning : message.warnings) warnings_.push_back(warning);
    std::string subject = subjectOf(message);
    if (path.empty()) {
        title_ = subject;
        tree += formatted("<li><a href=\"#message\">{}</a>", shown(subject));
    }
    std::string items;
    std::string inner;
    std::string subTree;
    for (const SubFileEntry& entry : message.subFiles) {
        if (entry.isMessage) continue;
        SubFilePath entryPath = path;
        entryPath.push_back(entry.path.back());
        items += attachment(entry, bytes, entryPath, subTree, inner);
    }
    if (!subTree.empty()) tree += "\n<ul>\n" + subTree + "</ul>\n";
    if (path.empty()) tree += "</li>\n";

    std::string text = formatted("<article id=\"{}\">\n", idOf(path));
    text += formatted("<h{0}>{1}</h{0}>\n", path.empty() ? 1 : 2, shown(subject));
    text += headerTable(message) + body(file, message);
    if (!items.empty()) text += "<h3>Attachments</h3>\n<ul class=\"files\">\n" + items + "</ul>\n";
    return text + "</article>\n" + inner;
}

ViewPage PageBuilder::build(MessageFile& file) {
    PageContent content;
    content.articles = article(file, {}, content.tree);
    content.title = title_;
    content.warnings = warnings_;
    summary_.subject = title_;
    return {wholePage(content, {}), std::move(warnings_), std::move(summary_)};
}

}  // namespace

ViewPage buildContainerPage(MessageFile& file, const ViewOptions& options) {
    return PageBuilder(options, file.input().size()).build(file);
}

}  // namespace emltool
