
#include <algorithm>
#include <deque>
#include <emlreader/mime.hpp>
#include <system_error>
#include <unordered_map>

#include "tool/message/defect_warnings.h"
#include "tool/message/header_in_utf8.h"
#include "tool/message/mime_text.h"
#include "tool/message/signed_message.h"
#include "tool/message/tnef.h"
#include "tool/message/tnef_text.h"
#include "tool/terminal/problem.h"
#include "tool/text/base64_text.h"
#include "tool/text/format.h"
#include "tool/text/safe_name.h"
#include "tool/text/utf8.h"
#include "tool/view/calendar_card.h"
#include "tool/view/calendar_text.h"
#include "tool/view/mail_body.h"
#include "tool/view/mime_header.h"
#include "tool/view/page.h"
#include "tool/view/pictures.h"

namespace emltool {

namespace {

using emlreader::mime::Message;
using emlreader::mime::Part;

constexpr size_t kMaxArticles = 300;  // messages on one page
constexpr size_t kMaxEncoded = 16;    // messages that are encoded, inside each other

// A message that is encoded inside another one.
struct Encoded {
    std::string bytes;
    std::string path;  // of its part: "3", "3.2"
    size_t depth;      // of such messages
};

class MimePage {
  public:
    MimePage(const ViewOptions& options, uint64_t messageSize)
        : options_(options), toOpen_(messageSize * kMaxEncoded) {}

    ViewPage build(emlhost::Input& input, const PageLinks& links);

  private:
    void addMessage(const Message& message, const std::string& path, size_t depth,
                    const Part* outer = nullptr);
    bool addInside(const Message& message, uint32_t root);
    void addArticle(const Message& message, const Part& root, const Part* outer,
                    const std::vector<Part>& parts, Pictures& pictures);
    std::string body(const Message& message, uint32_t root, const std::vector<Part>& parts,
                     Pictures& pictures, bool hasEvent);
    static std::string bodyPart(const Part& part, Pictures& pictures);
    static std::string events(const std::vector<Part>& parts);
    std::string files(const Message& message, const std::vector<Part>& parts, const Pictures& pictures);
    static std::string fileItem(const std::string& name, const std::string& id, std::string_view bytes);
    std::string tnefItems(const Part& part, std::string_view bytes);
    std::string file(const Message& message, const Part& part);
    void encodedMessage(const Part& part);
    void addDefects(const Message& message);
    void addToTree(const std::string& id, std::string_view text, size_t level);
    void warn(std::string code, std::string text) { warnings_.push_back({std::move(code), std::move(text)}); }
    std::string idOf(const Part& part) const { return path_ + std::to_string(part.number()); }

    const ViewOptions& options_;
    uint64_t toOpen_;  // bytes of encoded messages that may still be opened
    uint64_t pictureBudget_ = kMaxPictureCharacters;
    size_t articles_ = 0;
    size_t files_ = 0;  // of the article
    size_t treeItems_ = 0;
    std::string path_;  // of the message in the file: "", "3-"
    size_t depth_ = 0;  // of encoded messages
    size_t level_ = 0;  // of the article in the tree
    std::deque<Encoded> encoded_;
    PageContent content_;
    ViewSummary summary_;
    std::vector<Warning> warnings_;
};

bool isBodyText(const Part& part) {
    return (part.isTextBody() || part.isHtmlBody()) && (part.type() == "text" || part.type() == "multipart");
}

bool isCalendar(const Part& part) { return part.is("text", "calendar") || part.is("application", "ics"); }

void MimePage::addToTree(const std::string& id, std::string_view text, size_t level) {
    ++treeItems_;
    content_.tree += formatted("<li class=\"level-{}\"><a href=\"#{}\">{}</a></li>\n",
                               std::min<size_t>(level, 3), id, text);
}

std::string protectionNote(const Part& part) {
    switch (part.protection()) {
        case EML_MIME_SMIME_ENVELOPED:
            return note("The message is encrypted (S/MIME): only its header can be shown.");
        case EML_MIME_PGP_ENCRYPTED:
        case EML_MIME_PGP_INLINE_ENCRYPTED:
            return note("The message is encrypted (OpenPGP).");
        case EML_MIME_ENCRYPTED_OTHER:
            return note("The message is encrypted.");
        case EML_MIME_SMIME_OTHER:
            return note(
                "The message is wrapped (S/MIME), and most likely encrypted: only its header can be shown.");
        case EML_MIME_SMIME_OPAQUE:
            return note("A part is inside a signature (S/MIME), which is not unwrapped here.");
        case EML_MIME_SMIME_SIGNED:
        case EML_MIME_PGP_SIGNED:
        case EML_MIME_SIGNED_OTHER:
        case EML_MIME_PGP_INLINE_SIGNED:
            return note("Signed; the signature was not checked.");
        default:
            return "";
    }
}

// One part of the body. A sound or a film stays a file.
std::string MimePage::bodyPart(const Part& part, Pictures& pictures) {
    if (part.is("text", "html")) {
        return htmlBody(textOfPart(part),
                        [&](std::string_view reference) { return pictures.find(reference, part); });
    }
    if (isBodyText(part)) return textBody(textOfPart(part));
    const std::optional<std::string> url = pictures.dataUrl(part);
    if (!url) return "";
    return formatted("<figure><img alt=\"\" src=\"{}\"><figcaption>{}</figcaption></figure>\n", *url,
                     shown(part.name()));
}

std::string MimePage::events(const std::vector<Part>& parts) {
    std::string cards;
    std::vector<std::string> known;  // the same event may be there as an alternative and as a file
    for (const Part& part : parts) {
        if (!isCalendar(part)) continue;
        Calendar calendar = readCalendar(calendarText(part));
        std::erase_if(calendar.events, [&](const CalendarEvent& event) {
            const std::string key = event.id + '\n' + whenText(event) + '\n' + event.summary;
            const bool isKnown = std::find(known.begin(), known.end(), key) != known.end();
            if (!isKnown && known.size() < 100) known.push_back(key);
            return isKnown;
        });
        cards += calendarCards(calendar);
    }
    return cards;
}

std::string MimePage::fileItem(const std::string& name, const std::string& id, std::string_view bytes) {
    // One type for all, so that the browser saves it and does not show it.
    return formatted(
        "<li id=\"part-{}\"><a download=\"{}\" href=\"data:application/octet-stream;base64,{}\">{}</a> "
        "<small>{}</small></li>\n",
        id, escapeHtml(safeName(name, id)), base64(bytes), shown(name), humanSize(bytes.size()));
}

// What a winmail.dat says of its message; it may differ from what the header says.
std::string tnefFields(const TnefContent& tnef) {
    const std::pair<const char*, const std::string&> fields[] = {{"From", tnef.from},
                                                                 {"To", tnef.to},
                                                                 {"Cc", tnef.cc},
                                                                 {"Subject", tnef.subject},
                                                                 {"Sent", tnef.sent}};
    std::string texts;
    for (const auto& [name, text] : fields) {
        if (!text.empty()) texts += formatted("{}{}: {}", texts.empty() ? "" : "; ", name, shown(text));
    }
    return texts.empty() ? "" : formatted("<li><small>winmail.dat: {}</small></li>\n", texts);
}

// What is in a winmail.dat.
std::string MimePage::tnefItems(const Part& part, std::string_view bytes) {
    if (bytes.size() > kMaxTnefSize || !readsTnef()) return "";
    const TnefContent tnef = unpackTnef({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    if (!tnef.problem.empty()) warn("tnef", formatted("{}: {}", part.name(), tnef.problem));
    std::string items = tnefFields(tnef);
    size_t number = 0;
    for (const TnefFile& each : tnef.files) {
        if (each.bytes.size() > options_.maxEmbed) continue;
        const std::string id = formatted("{}-{}", idOf(part), ++number);
        const std::string name = each.name.empty() ? "file " + std::to_string(number) : each.name;
        addToTree("part-" + id, shown(name), level_ + 2);
        items += fileItem(name, id, {reinterpret_cast<const char*>(each.bytes.data()), each.bytes.size()});
    }
    return items;
}

void MimePage::encodedMessage(const Part& part) {
    if (depth_ == kMaxEncoded || articles_ + encoded_.size() >= kMaxArticles) {
        warn("too-deep", formatted("{}: not opened; messages lie too deep inside each other", part.name()));
        return;
    }
    std::optional<std::string> bytes = smallContent(part, toOpen_);
    if (!bytes) {
        warn("too-large", formatted("{}: not opened; what is inside would be too large", part.name()));
        return;
    }
    toOpen_ -= bytes->size();
    encoded_.push_back({std::move(*bytes), idOf(part), depth_ + 1});
}

std::string MimePage::file(const Message& message, const Part& part) {
    const std::string name = part.name();
    const std::string id = idOf(part);
    ++files_;
    if (part.isMessage() || part.isEncodedMessage()) {
        if (part.isEncodedMessage()) encodedMessage(part);
        const std::string target =
            part.isMessage() ? path_ + std::to_string(part.info().firstChild) : id + "-0";
        const std::string title = part.isNamed() || part.children().empty()
                                      ? shown(name)
                                      : shownSubject(HeaderInUtf8(message, part.info().firstChild).part());
        return formatted("<li><a href=\"#message-{}\">{}</a> <small>message</small></li>\n", target, title);
    }
    addToTree("part-" + id, shown(name), level_ + 1);
    const std::optional<std::string> bytes = smallContent(part, options_.maxEmbed);
    if (!bytes) {
        return formatted(
            "<li id=\"part-{}\"><span>{}</span> <small>{}, too large for this page: eml "
            "extract</small></li>\n",
            id, shown(name), humanSize(part.measure().size));
    }
    return fileItem(name, id, *bytes) + (maybeTnef(part) ? tnefItems(part, *bytes) : "");
}

std::string MimePage::files(const Message& message, const std::vector<Part>& parts,
                            const Pictures& pictures) {
    std::string items;
    std::string shownNames;
    for (const Part& part : parts) {
        const bool isText = isBodyText(part) && !part.isAttachment();
        if (part.isMultipart() || isText) continue;
        if (pictures.isShown(part.number())) {
            shownNames += (shownNames.empty() ? "" : ", ") + shown(part.name());
            continue;
        }
        items += file(message, part);
    }
    std::string text;
    if (!items.empty()) text = "<h3>Attachments</h3>\n<ul class=\"files\">\n" + items + "</ul>\n";
    if (!shownNames.empty()) text += "<p class=\"shown\">Shown in the message: " + shownNames + "</p>\n";
    return text;
}

std::string MimePage::body(const Message& message, uint32_t root, const std::vector<Part>& parts,
                           Pictures& pictures, bool hasEvent) {
    const bool hasHtml = std::any_of(parts.begin(), parts.end(), [](const Part& part) {
        return part.isHtmlBody() && part.is("text", "html");
    });
    std::string text;
    std::string plain;
    for (const Part& part : parts) {
        const bool isChosen = hasHtml ? part.isHtmlBody() : part.isTextBody();
        // A picture that the HTML shows already is not shown once more.
        if (isChosen && !pictures.isShown(part.number())) text += bodyPart(part, pictures);
        if (!isChosen && part.isTextBody() && isBodyText(part)) plain += textBody(textOfPart(part));
    }
    if (text.empty() && plain.empty() && !hasEvent) {
        // RTF, text of other types, or what is inside a winmail.dat.
        BodyText other = readBody(message, root);
        for (Warning& warning : other.warnings) warn(std::move(warning.code), std::move(warning.text));
        text = other.text.empty() ? note("No text.") : textBody(other.text);
    }
    if (!plain.empty()) text += "<details><summary>As plain text</summary>\n" + plain + "</details>\n";
    return text;
}

// `outer` has the header of the message if it was inside a signature.
void MimePage::addArticle(const Message& message, const Part& root, const Part* outer,
                          const std::vector<Part>& parts, Pictures& pictures) {
    const HeaderInUtf8 inner(message, root.number());
    const Part& header = outer != nullptr ? *outer : inner.part();
    const bool isFirst = articles_++ == 0;
    files_ = 0;
    const std::string id = isFirst ? "message" : "message-" + idOf(root);
    const std::string subject = shownSubject(header);
    level_ = isFirst ? 0 : 1;
    addToTree(id, subject, level_);
    std::string text = formatted("<article id=\"{}\">\n", id);
    if (!isFirst) text += "<p class=\"inside\">Message inside the message</p>\n";
    text += formatted("<h{0}>{1}</h{0}>\n", isFirst ? 1 : 2, subject) + headerTable(header);
    if (outer != nullptr) {
        text += note("The message is inside a signature (S/MIME); the signature was not checked.");
    }
    for (const Part& part : parts) text += protectionNote(part);
    const std::string cards = events(parts);
    text += cards + body(message, root.number(), parts, pictures, !cards.empty());
    text += files(message, parts, pictures) + "</article>\n";
    content_.articles += text;
    if (isFirst) {
        summary_ = summaryOf(header);
        summary_.attachments = files_;
        content_.title = summary_.subject.empty() ? "(no subject)" : summary_.subject;
    }
}

void MimePage::addDefects(const Message& message) {
    for (const Warning& warning : defectWarnings(message)) {
        const bool isKnown = std::any_of(warnings_.begin(), warnings_.end(),
                                         [&](const Warning& each) { return each.code == warning.code; });
        if (!isKnown) warnings_.push_back(warning);
    }
}

// Takes what is inside the signature for the message. False if there is no signature around it, or none that can be
// opened.
bool MimePage::addInside(const Message& message, uint32_t root) {
    if (depth_ == kMaxEncoded) return false;
    const SignedMessage content(message, root);
    if (!content.problem().empty()) warnings_.push_back(signatureWarning(content));
    if (content.inside() == nullptr) return false;
    const HeaderInUtf8 header(message, root);
    const std::string outerPath = path_;
    const size_t outerDepth = depth_;
    addMessage(*content.inside(), idOf(message.part(root)), depth_ + 1, &header.part());
    path_ = outerPath;
    depth_ = outerDepth;
    return true;
}

// A message and those inside it that are not encoded. `outer` has its header if it was inside a signature.
void MimePage::addMessage(const Message& message, const std::string& path, size_t depth, const Part* outer) {
    path_ = path.empty() ? "" : path + "-";
    depth_ = depth;
    std::unordered_map<uint32_t, std::vector<Part>> byMessage;
    std::vector<uint32_t> roots;
    for (const Part& part : message.parts()) {
        if (part.isRoot()) roots.push_back(part.number());
        byMessage[part.info().message].push_back(part);
    }
    Pictures pictures(message, options_.maxEmbed, pictureBudget_);
    for (uint32_t root : roots) {
        if (articles_ == kMaxArticles) {
            warn("too-many-messages",
                 formatted("only the first {} messages inside it are shown", kMaxArticles));
            break;
        }
        const Part part = message.part(root);
        const bool isInside = outer != nullptr && root == roots.front();
        if (isInside || !addInside(message, root)) {
            addArticle(message, part, isInside ? outer : nullptr, byMessage[root], pictures);
        }
    }
    addDefects(message);
}

ViewPage MimePage::build(emlhost::Input& input, const PageLinks& links) {
    {
        const Message message(input);
        addMessage(message, "", 0);
    }
    while (!encoded_.empty()) {
        const Encoded next = std::move(encoded_.front());
        encoded_.pop_front();
        const Message message = Message::fromBytes(next.bytes);
        addMessage(message, next.path, next.depth);
    }
    if (treeItems_ < 2) content_.tree.clear();
    content_.isOneMessage = articles_ == 1;
    content_.warnings = warnings_;
    return {wholePage(content_, links), std::move(warnings_), std::move(summary_)};
}

}  // namespace

ViewPage buildMimePage(emlhost::Input& input, const std::string& name, const ViewOptions& options,
                       const PageLinks& links) {
    try {
        return MimePage(options, input.size()).build(input, links);
    } catch (const emlreader::Error& error) {
        if (error.code() == EML_NO_MEMORY) throw outOfMemory(name);
        throw Problem(ExitCode::kInput, "cannot-open", name, error.what());
    } catch (const std::system_error& error) {
        throw Problem(ExitCode::kInput, "cannot-read", name, describe(error.code()));
    }
}

}  // namespace emltool
