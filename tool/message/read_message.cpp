#include "tool/message/read_message.h"

#include <emlreader/mime.hpp>

#include "tool/html/html_text.h"
#include "tool/message/defect_warnings.h"
#include "tool/message/mime_fields.h"
#include "tool/message/mime_text.h"
#include "tool/message/rendering.h"
#include "tool/message/signed_message.h"
#include "tool/message/tree.h"
#include "tool/text/charset_labels.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

// Knows the names, and reads no content.
class NamesVisitor final : public AttachmentVisitor {
  public:
    void visit(SubFileContent&, SubFileEntry&) override {}
    bool opens(const SubFileEntry&) const override { return false; }
};

void addFields(const std::vector<MetadataField>& metadata, ShownMessage& shown) {
    for (const char* name : {"From", "To", "Cc", "Bcc", "Subject", "Sent", "Priority"}) {
        for (const MetadataField& field : metadata) {
            if (field.name == name && field.text) shown.fields.emplace_back(name, *field.text);
        }
    }
}

void addWarnings(std::vector<Warning> warnings, ShownMessage& shown) {
    for (Warning& warning : warnings) shown.warnings.push_back(std::move(warning));
}

void addNames(const std::vector<std::string>& names, ShownMessage& shown) {
    if (!names.empty()) shown.fields.emplace_back("Attachments", joined(names, "; "));
}

}  // namespace

ShownMessage shownByMime(MessageFile& file, const TextForm& form) {
    ShownMessage shown;
    withMime(file, [&](const emlreader::mime::Message& message) {
        addFields(readMetadata(message, 0), shown);
        const SignedMessage content(message, 0);
        const emlreader::mime::Message& body = content.inside() != nullptr ? *content.inside() : message;
        shown.encrypted = content.isEncrypted();
        shown.protection = content.notice();
        if (!shown.protection.empty() && !shown.encrypted) {
            shown.fields.emplace_back("Protection", shown.protection);
        }
        std::vector<std::string> names;
        for (const emlreader::mime::Part& part : body.files()) names.push_back(part.name());
        addNames(names, shown);
        if (!shown.encrypted) {
            BodyText text = readBody(body, 0, form);
            if (!form.source) shown.spans = spansOf(text);
            shown.text = std::move(text.text);
            shown.isFromHtml = text.isFromHtml && !form.source;
            addWarnings(std::move(text.warnings), shown);
        }
        if (!content.problem().empty()) shown.warnings.push_back(signatureWarning(content));
        addWarnings(hiddenPartWarnings(body, 0), shown);
        addWarnings(defectWarnings(message), shown);
        if (&body != &message) addWarnings(defectWarnings(body), shown);
    });
    file.checkReads();
    return shown;
}

ShownMessage shownByContainer(MessageFile& file, const TextForm& form) {
    ShownMessage shown;
    NamesVisitor visitor;
    MessageTree tree = readTree(file, visitor, Reading::kContainer);
    addFields(tree.metadata, shown);
    std::vector<std::string> names;
    for (const SubFileEntry& entry : tree.subFiles) {
        if (!entry.isMessage) names.push_back(entry.name);
    }
    addNames(names, shown);
    shown.warnings = std::move(tree.warnings);
    shown.encrypted = tree.encrypted;
    shown.protection = tree.protection;
    if (tree.encrypted) return shown;
    emlhost::MemoryOutput output;
    file.message().extract(0, output, EML_EXTRACT_BODY_ONLY);
    file.checkReads();
    if (output.error()) throw outOfMemory(file.name());
    const std::string_view bytes(reinterpret_cast<const char*>(output.bytes().data()), output.bytes().size());
    shown.text = withoutInvalidBytes(fromUnlabelledCharset(bytes, tree.charset));
    if (formOf(file.message(), EML_EXTRACT_BODY_ONLY) != Form::kHtml || form.source) return shown;
    shown.isFromHtml = true;
    HtmlText read = textOfHtml(shown.text, form.links);
    shown.text = std::move(read.text);
    addWarnings(std::move(read.warnings), shown);
    return shown;
}

}  // namespace emltool
