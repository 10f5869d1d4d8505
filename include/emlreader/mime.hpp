/*
 * The MIME reader for C++20: a message as a tree of parts. Header-only, on top of eml_mime.h and the stand-alone
 * host; included by emlreader.hpp.
 *
 *     emlreader::mime::Message message("letter.eml");
 *     std::cout << message.subject() << '\n' << message.text();
 *     for (const emlreader::mime::Part& part : message.files()) {
 *         std::cout << part.name() << ": " << part.bytes().size() << " bytes\n";
 *     }
 *
 * Names, values and content come from whoever sent the message. A name may hold path separators and control
 * characters: never use one as a path. HTML is the sender's: never show it where scripts run.
 *
 * A call that fails throws emlreader::Error, and a file that cannot be read throws std::system_error;
 * std::bad_alloc passes through. A Message and everything obtained from it belong to one thread at a time;
 * messages share nothing. Parts and fields must not outlive their Message; moving the Message does not matter.
 */
#ifndef EMLREADER_MIME_HPP
#define EMLREADER_MIME_HPP

#include <emlreader/eml_mime.h>
#include <standalone/heap.h>
#include <standalone/input.h>
#include <standalone/mime_charsets.h>
#include <emlreader/basics.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace emlreader::mime {

/* How a message is opened. The defaults are what most programs want; 0 is the library's own limit. */
struct Options {
    bool inlineFiles = true; /* uuencoded and yEnc files inside text are parts of their own */
    uint32_t maxDepth = 0;
    uint32_t maxParts = 0;
    uint32_t maxHeaderBytes = 0;
    uint32_t maxDefects = 0;
    /* Turns text of other charsets into UTF-8; what it points to must outlive the Message. NULL: such text is left
     * as bytes. */
    const EmlMimeConvert* convert = emlhost::mimeConvert();
    /* Called about every 1 MiB with the offset in the file. False ends the call: Error with EML_MIME_CANCELLED. What
     * it throws comes out of the call. */
    std::function<bool(uint64_t)> progress;
};

/* The forms of content: EML_MIME_RAW, _DECODED, _TEXT. */
enum class Form : uint32_t { Raw = EML_MIME_RAW, Decoded = EML_MIME_DECODED, Text = EML_MIME_TEXT };

/* What an extraction wrote. */
struct Content {
    uint64_t size; /* bytes */
    uint32_t flags;

    bool notConverted() const noexcept { return (flags & EML_MIME_TEXT_NOT_CONVERTED) != 0; }
    bool guessed() const noexcept { return (flags & EML_MIME_TEXT_GUESSED) != 0; }
    bool replaced() const noexcept { return (flags & EML_MIME_TEXT_REPLACED) != 0; }
    bool damaged() const noexcept { return (flags & EML_MIME_CONTENT_DAMAGED) != 0; }
};

/* One mailbox. What the message lacks is empty. */
struct Address {
    std::string name;
    std::string address;
    std::string group;
};

struct Date {
    std::chrono::sys_seconds time;
    std::chrono::minutes zone; /* east of UTC */
    uint32_t flags;            /* EML_MIME_DATE_... */
};

struct Parameter {
    std::string name;
    std::string value;
};

/* A value with parameters: "text/plain" of Content-Type, "attachment" of Content-Disposition. */
struct ParameterList {
    std::string value;
    std::vector<Parameter> parameters;

    /* The value of the first parameter with this name (lower case); none without one. */
    std::optional<std::string_view> find(std::string_view name) const noexcept {
        for (const Parameter& parameter : parameters) {
            if (parameter.name == name) return parameter.value;
        }
        return std::nullopt;
    }
};

struct Defect {
    uint32_t code; /* EML_MIME_DEFECT_... */
    uint32_t part;
    uint64_t offset; /* in the file, of the first place */
    uint64_t count;

    /* "no-closing-delimiter"; docs/mime-defects.md explains each. */
    std::string_view name() const noexcept {
        const char* const known = emlMimeDefectName(code);
        return known == nullptr ? std::string_view("unknown") : std::string_view(known);
    }
};

namespace detail {

/* An open message, at an address that does not change. */
struct State {
    State(std::unique_ptr<emlhost::Input> source, Options given) : State(*source, std::move(given)) {
        owned = std::move(source);
    }

    State(emlhost::Input& source, Options given) : input(&source), progress(std::move(given.progress)) {
        EmlMimeOptions options{};
        options.recordSize = sizeof options;
        options.flags = given.inlineFiles ? 0 : EML_MIME_NO_INLINE_FILES;
        options.maxDepth = given.maxDepth;
        options.maxParts = given.maxParts;
        options.maxHeaderBytes = given.maxHeaderBytes;
        options.maxDefects = given.maxDefects;
        options.convert = given.convert;
        if (progress) options.progress = report;
        options.progressHost = this;
        EmlResult result = EML_OK;
        context = {emlMimeOpen(input->object(), heap.allocator(), &options, &result), emlMimeClose};
        check(result);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    /* Throws when a call has failed: what `progress` threw, an error of the input, or the code. */
    void check(EmlResult result) {
        if (thrown) std::rethrow_exception(std::exchange(thrown, nullptr));
        if (input->error()) throw std::system_error(input->error());
        if (result != EML_OK) throw Error(result);
    }

    static int32_t report(void* host, uint64_t offset) noexcept {
        State& self = *static_cast<State*>(host);
        try {
            return self.progress(offset) ? 0 : 1;
        } catch (...) {
            self.thrown = std::current_exception();
            return 1;
        }
    }

    emlhost::CountingHeap heap;
    std::unique_ptr<emlhost::Input> owned;
    emlhost::Input* input; /* the same, or the caller's */
    std::function<bool(uint64_t)> progress;
    std::exception_ptr thrown; /* by `progress` */
    std::unique_ptr<EmlMimeContext, void (*)(EmlMimeContext*)> context{nullptr, emlMimeClose};
};

inline std::string_view viewOf(const EmlMimeText& text) noexcept {
    return text.text == nullptr ? std::string_view() : std::string_view(text.text, text.length);
}

inline std::string copyOf(const EmlMimeText& text) { return std::string(viewOf(text)); }

}  // namespace detail

/* One field of a header. Its name and raw value are copies; the decoded forms are read when they are asked for. */
class Field {
  public:
    uint32_t index() const noexcept { return index_; }

    /* As written. */
    const std::string& name() const noexcept { return name_; }

    /* The bytes after the colon as written, folding included. */
    const std::string& raw() const noexcept { return raw_; }

    /* Where it stands in the file. */
    EmlMimeSpan span() const noexcept { return span_; }

    /* The value as unstructured text: unfolded, encoded words decoded. */
    std::string text() const {
        EmlMimeText text{};
        state_->check(emlMimeFieldText(context(), part_, index_, &text));
        return detail::copyOf(text);
    }

    std::vector<Address> addresses() const {
        const EmlMimeAddress* list = nullptr;
        uint32_t count = 0;
        state_->check(emlMimeFieldAddresses(context(), part_, index_, &list, &count));
        std::vector<Address> addresses;
        for (const EmlMimeAddress& each : std::span(list, count)) {
            addresses.push_back(
                {detail::copyOf(each.name), detail::copyOf(each.address), detail::copyOf(each.group)});
        }
        return addresses;
    }

    /* None when there is no date. */
    std::optional<Date> date() const {
        EmlMimeDate date{};
        state_->check(emlMimeFieldDate(context(), part_, index_, &date));
        if ((date.flags & EML_MIME_DATE_VALID) == 0) return std::nullopt;
        return Date{std::chrono::sys_seconds(std::chrono::seconds(date.seconds)),
                    std::chrono::minutes(date.zoneMinutes), date.flags};
    }

    /* Message ids, without angle brackets. */
    std::vector<std::string> ids() const {
        const EmlMimeText* list = nullptr;
        uint32_t count = 0;
        state_->check(emlMimeFieldIds(context(), part_, index_, &list, &count));
        std::vector<std::string> ids;
        ids.reserve(count);
        for (const EmlMimeText& each : std::span(list, count)) ids.push_back(detail::copyOf(each));
        return ids;
    }

    /* The value before the first ";" and the parameters after it. */
    ParameterList parameters() const {
        EmlMimeText value{};
        const EmlMimeParameter* list = nullptr;
        uint32_t count = 0;
        state_->check(emlMimeFieldParameters(context(), part_, index_, &value, &list, &count));
        ParameterList parameters{detail::copyOf(value), {}};
        for (const EmlMimeParameter& each : std::span(list, count)) {
            parameters.parameters.push_back({detail::copyOf(each.name), detail::copyOf(each.value)});
        }
        return parameters;
    }

  private:
    friend class Part;

    Field(detail::State& state, uint32_t part, uint32_t index) : state_(&state), part_(part), index_(index) {
        EmlMimeField field{};
        state.check(emlMimeGetField(context(), part, index, &field));
        name_ = detail::copyOf(field.name);
        raw_ = detail::copyOf(field.raw);
        span_ = field.span;
    }

    EmlMimeContext* context() const noexcept { return state_->context.get(); }

    detail::State* state_;
    uint32_t part_;
    uint32_t index_;
    std::string name_;
    std::string raw_;
    EmlMimeSpan span_{};
};

/* One part of a message. Views that it gives are valid as long as the Message. */
class Part {
  public:
    uint32_t number() const noexcept { return number_; }
    uint32_t depth() const noexcept { return info_.depth; }

    /* Everything that the library reports about this part. */
    const EmlMimePart& info() const noexcept { return info_; }

    /* The part around this one; none for part 0. */
    std::optional<Part> parent() const {
        if (info_.parent == EML_MIME_NONE) return std::nullopt;
        return Part(*state_, info_.parent);
    }

    /* The parts directly inside this one. */
    std::vector<Part> children() const {
        std::vector<Part> parts;
        for (uint32_t i = info_.firstChild; i != EML_MIME_NONE; i = parts.back().info_.nextSibling) {
            parts.push_back(Part(*state_, i));
        }
        return parts;
    }

    /* Lower case: "text", "plain". */
    std::string_view type() const noexcept { return detail::viewOf(info_.type); }
    std::string_view subtype() const noexcept { return detail::viewOf(info_.subtype); }

    /* "text/plain" */
    std::string mediaType() const { return std::string(type()).append(1, '/').append(subtype()); }

    bool is(std::string_view type, std::string_view subtype) const noexcept {
        return this->type() == type && this->subtype() == subtype;
    }

    bool isMultipart() const noexcept { return has(EML_MIME_PART_MULTIPART); }

    /* True for message/rfc822 and message/global; the one child is that message. */
    bool isMessage() const noexcept { return has(EML_MIME_PART_MESSAGE); }

    /* True for a message under base64 or quoted-printable: extract it decoded, and open the bytes as a Message. */
    bool isEncodedMessage() const noexcept { return has(EML_MIME_PART_ENCODED_MESSAGE); }

    /* True for part 0, and for the child of a message part. */
    bool isRoot() const noexcept { return has(EML_MIME_PART_ROOT); }

    /* True for a uuencoded or yEnc file inside the text of its parent. */
    bool isInlineFile() const noexcept { return has(EML_MIME_PART_INLINE_FILE); }

    /* The role in the message that the part belongs to (RFC 8621 section 4.1.4); a part may have two. */
    bool isTextBody() const noexcept { return (info_.roles & EML_MIME_ROLE_TEXT_BODY) != 0; }
    bool isHtmlBody() const noexcept { return (info_.roles & EML_MIME_ROLE_HTML_BODY) != 0; }
    bool isAttachment() const noexcept { return (info_.roles & EML_MIME_ROLE_ATTACHMENT) != 0; }

    /* The name of the file: the one in the message, or one made up from place and type. Never empty, and never to
     * be used as a path. */
    std::string name() const {
        EmlMimeText name{};
        state_->check(emlMimeGetName(context(), number_, &name));
        return detail::copyOf(name);
    }

    /* True when the message names the file. */
    bool isNamed() const noexcept { return has(EML_MIME_PART_NAMED); }

    /* Empty when the message does not say. */
    std::string_view charset() const noexcept { return detail::viewOf(info_.charset); }
    std::string_view disposition() const noexcept { return detail::viewOf(info_.disposition); }
    std::string_view contentId() const noexcept { return detail::viewOf(info_.contentId); }
    std::string_view location() const noexcept { return detail::viewOf(info_.location); }
    std::string_view description() const noexcept { return detail::viewOf(info_.description); }

    /* EML_MIME_ENCODING_... */
    uint32_t encoding() const noexcept { return info_.encoding; }

    /* EML_MIME_SMIME_..., EML_MIME_PGP_..., or EML_MIME_PROTECTION_NONE. */
    uint32_t protection() const noexcept { return info_.protection; }

    uint32_t fieldCount() const {
        uint32_t count = 0;
        state_->check(emlMimeFieldCount(context(), number_, &count));
        return count;
    }

    /* All fields of the header in order, each read when it is reached. */
    auto fields() const {
        return emlreader::detail::Made(fieldCount(), [state = state_, part = number_](uint32_t index) {
            return Field(*state, part, index);
        });
    }

    /* The first field from `index` on with this name, whatever the case; none without one. */
    std::optional<Field> field(const std::string& name, uint32_t index = 0) const {
        uint32_t found = EML_MIME_NONE;
        state_->check(emlMimeFindField(context(), number_, name.c_str(), index, &found));
        if (found == EML_MIME_NONE) return std::nullopt;
        return Field(*state_, number_, found);
    }

    /* The value of the first field with this name as text; none without one. */
    std::optional<std::string> header(const std::string& name) const {
        const std::optional<Field> found = field(name);
        if (!found) return std::nullopt;
        return found->text();
    }

    /* Passes the content to `sink`. */
    template <Sink S>
    Content extract(S&& sink, Form form = Form::Decoded) const {
        emlreader::detail::SinkOutput<std::remove_reference_t<S>> output(sink);
        EmlMimeContent content{};
        const EmlResult result =
            emlMimeExtract(context(), number_, static_cast<uint32_t>(form), output.object(), &content);
        output.rethrow();
        state_->check(result);
        return {content.size, content.flags};
    }

    /* Reads the content without keeping it: its size, and its defects. */
    Content measure(Form form = Form::Decoded) const {
        EmlMimeContent content{};
        state_->check(emlMimeExtract(context(), number_, static_cast<uint32_t>(form), nullptr, &content));
        return {content.size, content.flags};
    }

    /* The content as one string: decoded bytes, and for text() as UTF-8 with LF. */
    std::string bytes() const { return whole(Form::Decoded); }
    std::string text() const { return whole(Form::Text); }

    /* The part that `reference` in this part means: a Content-ID without angle brackets, or a URL "cid:...". It is
     * looked for in the multipart/related around this part first. None without one. */
    std::optional<Part> findContentId(std::string_view reference) const {
        uint32_t number = EML_MIME_NONE;
        state_->check(emlMimeFindContentId(context(), number_, contentIdOf(reference).c_str(), &number));
        if (number == EML_MIME_NONE) return std::nullopt;
        return Part(*state_, number);
    }

  private:
    friend class Message;

    Part(detail::State& state, uint32_t number) : state_(&state), number_(number) {
        state.check(emlMimeGetPart(context(), number, &info_, sizeof info_));
    }

    EmlMimeContext* context() const noexcept { return state_->context.get(); }
    bool has(uint32_t flag) const noexcept { return (info_.flags & flag) != 0; }

    std::string whole(Form form) const {
        std::string all;
        extract([&all](std::string_view piece) { all += piece; }, form);
        return all;
    }

    static int hexValue(char digit) noexcept {
        if (digit >= '0' && digit <= '9') return digit - '0';
        const char lower = static_cast<char>(digit | 0x20);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    }

    /* In a URL the id is percent-encoded (RFC 2392). */
    static std::string contentIdOf(std::string_view reference) {
        constexpr std::string_view kScheme = "cid:";
        const auto sameLetter = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
        if (!std::ranges::equal(reference.substr(0, kScheme.size()), kScheme, sameLetter)) {
            return std::string(reference);
        }
        reference.remove_prefix(kScheme.size());
        std::string id;
        for (size_t i = 0; i < reference.size(); ++i) {
            const bool escape = reference[i] == '%' && i + 2 < reference.size() &&
                                hexValue(reference[i + 1]) >= 0 && hexValue(reference[i + 2]) >= 0;
            id += escape ? static_cast<char>(hexValue(reference[i + 1]) * 16 + hexValue(reference[i + 2]))
                         : reference[i];
            if (escape) i += 2;
        }
        return id;
    }

    detail::State* state_;
    uint32_t number_;
    EmlMimePart info_{};
};

/* An open message. */
class Message {
  public:
    /* Opens a file; a pipe or device is spooled first. */
    explicit Message(const std::filesystem::path& path, Options options = {})
        : Message(emlreader::detail::openedInput(path), std::move(options)) {}

    /* Opens an input of the stand-alone host. */
    explicit Message(std::unique_ptr<emlhost::Input> input, Options options = {})
        : state_(std::make_unique<detail::State>(std::move(input), std::move(options))) {}

    /* Opens an input that stays the caller's and must outlive the message. */
    explicit Message(emlhost::Input& input, Options options = {})
        : state_(std::make_unique<detail::State>(input, std::move(options))) {}

    /* Opens bytes in memory, which must stay unchanged while the message is open. */
    static Message fromBytes(std::string_view bytes, Options options = {}) {
        return Message(emlreader::detail::memoryInput(bytes), std::move(options));
    }

    /* Size of the input in bytes. */
    uint64_t size() const noexcept { return state_->input->size(); }

    /* At least 1. */
    uint32_t partCount() const noexcept { return emlMimePartCount(context()); }

    Part part(uint32_t number) const { return Part(*state_, number); }

    /* Part 0: the message itself. */
    Part root() const { return part(0); }

    /* All parts in the order of the file, each described when it is reached. */
    auto parts() const {
        return emlreader::detail::Made(
            partCount(), [state = state_.get()](uint32_t number) { return Part(*state, number); });
    }

    /* The attachments of the message whose root is `message`; 0 is this message, not those inside it. A picture that
     * stands between texts is a body, not an attachment (RFC 8621 section 4.1.4). */
    std::vector<Part> attachments(uint32_t message = 0) const {
        return chosen(message, [](const Part& part) { return part.isAttachment(); });
    }

    /* All that can be saved: the attachments, and the pictures, sounds and films among the bodies. */
    std::vector<Part> files(uint32_t message = 0) const {
        return chosen(message, [](const Part& part) {
            const bool isBody = part.isTextBody() || part.isHtmlBody();
            return part.isAttachment() || (isBody && !isText(part));
        });
    }

    /* All parts of the message whose root is `message`, in order, without those of the messages inside it. */
    std::vector<Part> partsOf(uint32_t message = 0) const {
        return chosen(message, [](const Part&) { return true; });
    }

    /* The value of the first field of the message with this name as text; none without one. */
    std::optional<std::string> header(const std::string& name) const { return root().header(name); }

    /* Empty without one. */
    std::string subject() const { return header("Subject").value_or(std::string()); }
    std::vector<Address> from() const { return addresses("From"); }
    std::vector<Address> to() const { return addresses("To"); }
    std::vector<Address> cc() const { return addresses("Cc"); }

    /* The mailboxes of all fields with this name, in order. */
    std::vector<Address> addresses(const std::string& name) const {
        std::vector<Address> all;
        const Part top = root();
        for (std::optional<Field> field = top.field(name); field;
             field = top.field(name, field->index() + 1)) {
            for (Address& each : field->addresses()) all.push_back(std::move(each));
        }
        return all;
    }

    std::optional<Date> date() const {
        const std::optional<Field> field = root().field("Date");
        return field ? field->date() : std::nullopt;
    }

    /* Passes the plain text of the message whose root is `message` to `sink` as UTF-8: its text bodies that are not
     * HTML, one after the other. Nothing when it has only HTML. */
    template <Sink S>
    void text(S&& sink, uint32_t message = 0) const {
        for (const Part& part : textBodies(message)) part.extract(sink, Form::Text);
    }

    /* The same of its HTML bodies, as the sender wrote them. Nothing when it has none. */
    template <Sink S>
    void html(S&& sink, uint32_t message = 0) const {
        for (const Part& part : htmlBodies(message)) part.extract(sink, Form::Text);
    }

    /* Each as one string. */
    std::string text(uint32_t message = 0) const { return joined(textBodies(message)); }
    std::string html(uint32_t message = 0) const { return joined(htmlBodies(message)); }

    /* Same as Part::findContentId for a reference in part `from`. */
    std::optional<Part> findContentId(std::string_view reference, uint32_t from = 0) const {
        return part(from).findContentId(reference);
    }

    /* What is wrong with the message, or was guessed. Defects of content are there once it was extracted or
     * measured. */
    std::vector<Defect> defects() const {
        std::vector<Defect> defects;
        for (uint32_t i = 0; i < emlMimeDefectCount(context()); ++i) {
            EmlMimeDefect defect{};
            state_->check(emlMimeGetDefect(context(), i, &defect));
            defects.push_back({defect.code, defect.part, defect.offset, defect.count});
        }
        return defects;
    }

    /* What each byte of the file belongs to, in order. */
    std::vector<EmlMimeSpanInfo> spans() const {
        std::vector<EmlMimeSpanInfo> spans(emlMimeSpanCount(context()));
        for (uint32_t i = 0; i < spans.size(); ++i) state_->check(emlMimeGetSpan(context(), i, &spans[i]));
        return spans;
    }

    /* The C context, for calls that have no method here. This object keeps ownership. */
    EmlMimeContext* context() const noexcept { return state_->context.get(); }

    /* The heap that the library's memory comes from; it counts. */
    const emlhost::CountingHeap& heap() const noexcept { return state_->heap; }

  private:
    /* Parts are numbered in the order of the file: those of a message follow its root, and lie deeper. */
    template <typename Choice>
    std::vector<Part> chosen(uint32_t message, Choice choice) const {
        std::vector<Part> all;
        uint32_t rootDepth = 0;
        for (uint32_t number = message; number < partCount(); ++number) {
            Part part(*state_, number);
            if (number == message) rootDepth = part.depth();
            if (number != message && part.depth() <= rootDepth) break;
            if (part.info().message == message && choice(part)) all.push_back(std::move(part));
        }
        return all;
    }

    std::vector<Part> textBodies(uint32_t message) const {
        return chosen(message, [](const Part& part) {
            return part.isTextBody() && !part.is("text", "html") && isText(part);
        });
    }

    std::vector<Part> htmlBodies(uint32_t message) const {
        return chosen(message, [](const Part& part) { return part.isHtmlBody() && part.is("text", "html"); });
    }

    /* A multipart without parts is text, too. Pictures may be part of a body. */
    static bool isText(const Part& part) noexcept {
        return part.type() == "text" || part.type() == "multipart";
    }

    static std::string joined(const std::vector<Part>& parts) {
        std::string all;
        for (const Part& part : parts) all += part.text();
        return all;
    }

    std::unique_ptr<detail::State> state_;
};

}  // namespace emlreader::mime

#endif
