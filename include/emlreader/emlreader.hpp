/*
 * emlreader for C++20: a message as an object. Header-only, on top of the C interface (eml.h) and the
 * stand-alone host. Link the CMake target emlreader::cpp, or what `pkg-config emlreader-cpp` says.
 *
 * emlreader::Message is the container reader and the message filter; emlreader::mime::Message, in mime.hpp, is the
 * MIME reader. This header includes both.
 *
 *     emlreader::Message message("letter.eml");
 *     for (const emlreader::SubFile& file : message.subFiles()) {
 *         std::cout << file.number() << ' ' << file.name() << '\n';
 *     }
 *
 * Names, values and content come from whoever sent the message. Names are as the message has them: never use
 * one as a path.
 *
 * A call that fails throws emlreader::Error, and a file that cannot be read throws std::system_error;
 * std::bad_alloc passes through. A Message and everything obtained from it belong to one thread at a time;
 * messages share nothing.
 */
#ifndef EMLREADER_EMLREADER_HPP
#define EMLREADER_EMLREADER_HPP

#include <emlreader/eml.h>
#include <standalone/charsets.h>
#include <standalone/filter.h>
#include <standalone/input.h>
#include <standalone/output.h>
#include <standalone/services.h>
#include <standalone/text_records.h>
#include <emlreader/basics.hpp>
#include <emlreader/mime.hpp>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace emlreader {

namespace detail {

/* Frees blocks that the library handed over. */
struct Release {
    EmlAllocator* allocator = nullptr;
    void operator()(void* block) const noexcept { allocator->free(allocator, block); }
};

template <typename T>
using Block = std::unique_ptr<T, Release>;

/* An open message, at an address that does not change. */
struct State {
    State(std::unique_ptr<emlhost::Input> source, uint32_t openFlags)
        : input(std::move(source)), messageNumber((openFlags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0) {
        context = emlInit2(input->object(), services.record(), openFlags, 0, 0, &status);
        if (context == nullptr) throw Error(status);
        emlGetContainerInfo2(context, &info, services.hostRecord());
    }
    ~State() { emlShutdown2(context); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    Release release() noexcept { return {services.hostRecord()->allocator}; }

    emlhost::Services services;
    std::unique_ptr<emlhost::Input> input;
    int32_t messageNumber;
    EmlResult status = EML_OK;
    EmlContainerContext* context = nullptr;
    EmlContainerInfo info{};
};

/* Extracts into a sink. Returns EML_EXTRACT_... result flags. */
template <Sink S>
uint32_t extract(State& state, int32_t number, S& sink, uint32_t options, uint32_t charset) {
    SinkOutput<S> output(sink);
    EmlExtractInfo extractInfo{0, charset};
    EmlResult status =
        emlExtractSubFileToIOobj2(state.context, number, output.object(), &extractInfo, 0, options);
    output.rethrow();
    if (status != EML_OK) throw Error(status);
    if (state.input->error()) throw std::system_error(state.input->error());
    return extractInfo.resultFlags;
}

}  // namespace detail

/* The message itself (number 0), one of its attachments, or the folder that open flags ask for. Must not
 * outlive its Message. */
class SubFile {
  public:
    uint32_t number() const noexcept { return number_; }

    /* For an element of Message::subFiles: EML_OK, or why the other answers are missing (EML_NO_SUB_FILE: no
     * name). */
    EmlResult status() const noexcept { return status_; }

    /* As the message has it: not decoded, possibly with path separators or control characters. */
    std::string_view name() const noexcept { return name_ == nullptr ? "" : name_.get(); }

    bool isMessage() const noexcept { return info_.kind == EML_KIND_MESSAGE; }
    bool isAttachment() const noexcept { return info_.kind == EML_KIND_ATTACHMENT; }
    bool isFolder() const noexcept { return info_.kind == EML_KIND_FOLDER; }

    /* True for an attachment that is itself a message: extract it, and open the bytes as a Message. */
    bool isEmbeddedMessage() const noexcept { return (info_.flags & EML_SUB_FILE_MESSAGE) != 0; }
    bool isEncrypted() const noexcept { return (info_.flags & EML_SUB_FILE_ENCRYPTED) != 0; }

    /* Bytes as stored in the message, before decoding; none when the message has only the name. */
    std::optional<uint32_t> storedSize() const noexcept {
        if (info_.size == -1) return std::nullopt;
        return static_cast<uint32_t>(info_.size);
    }

    /* Of the message: its date, read as local time; none without a readable date. */
    std::optional<std::chrono::sys_seconds> date() const noexcept {
        if ((info_.date[0] | info_.date[1]) == 0) return std::nullopt;
        return std::chrono::sys_seconds(std::chrono::seconds(emlhost::dateFrom(info_.date)));
    }

    std::optional<uint32_t> parent() const noexcept {
        if (info_.parent < 0) return std::nullopt;
        return static_cast<uint32_t>(info_.parent);
    }

    /* Numbers of the sub-files inside this one. */
    std::span<const uint32_t> children() const noexcept {
        if (children_ == nullptr) return {};
        return {children_.get(), info_.childCount};
    }

    /* Everything that the library reports about this sub-file. */
    const EmlSubFileInfo& info() const noexcept { return info_; }

    /* Same as Message::extract with this number. */
    template <Sink S>
    void extract(S&& sink) const;

  private:
    friend class Message;

    SubFile(detail::State& state, uint32_t number) : state_(&state), number_(number) {
        status_ = emlGetSubFileInfo2(state.context, static_cast<int32_t>(number), &info_,
                                     state.services.hostRecord());
        name_ = {info_.name, state.release()};
        children_ = {info_.children, state.release()};
    }

    detail::State* state_;
    uint32_t number_;
    EmlResult status_ = EML_OK;
    EmlSubFileInfo info_{};
    detail::Block<char> name_;
    detail::Block<uint32_t> children_;
};

/* One header value. The value is in the message's charset, with encoded words decoded (Message::toUtf8
 * converts it to UTF-8); none when the message lacks the field. */
struct HeaderField {
    std::string_view name;
    std::optional<std::string_view> value;
};

/* Header values, a random access range of HeaderField. Must not outlive its Message. */
class HeaderFields {
  public:
    HeaderFields(HeaderFields&& other) noexcept
        : release_(other.release_),
          list_(std::exchange(other.list_, {})),
          fields_(std::exchange(other.fields_, {})) {}
    HeaderFields& operator=(HeaderFields&& other) noexcept {
        std::swap(release_, other.release_);
        std::swap(list_, other.list_);
        std::swap(fields_, other.fields_);
        return *this;
    }
    ~HeaderFields() {
        for (EmlMetaDataEntry* entry : entries()) {
            if (entry == nullptr) continue;
            free(entry->value);
            free(entry->name);
            free(entry);
        }
        free(list_.entries);
    }

    auto begin() const noexcept { return fields_.begin(); }
    auto end() const noexcept { return fields_.end(); }
    bool empty() const noexcept { return fields_.empty(); }
    size_t size() const noexcept { return fields_.size(); }
    const HeaderField& operator[](size_t index) const noexcept { return fields_[index]; }

  private:
    friend class Message;
    using Entries = std::span<EmlMetaDataEntry* const>;

    explicit HeaderFields(detail::Release release) noexcept : release_(release) {}

    /* Once the other constructor has ended, an exception frees what was handed over. */
    HeaderFields(detail::State& state, std::span<const char* const> names) : HeaderFields(state.release()) {
        std::vector<EmlMetaDataRequest> requests;
        for (const char* name : names) requests.push_back({EML_REQUEST_BY_NAME, name});
        std::vector<EmlMetaDataRequest*> pointers;
        for (EmlMetaDataRequest& request : requests) pointers.push_back(&request);
        EmlResult status = emlGetSubFileMetadata2(
            state.context, state.messageNumber, static_cast<int32_t>(pointers.size()),
            pointers.empty() ? nullptr : pointers.data(), &list_, state.services.hostRecord());
        if (status != EML_OK) throw Error(status);
        fields_.reserve(entries().size());
        for (const EmlMetaDataEntry* entry : entries()) fields_.push_back(fieldOf(entry));
    }

    static HeaderField fieldOf(const EmlMetaDataEntry* entry) noexcept {
        HeaderField field{entry->name, std::nullopt};
        if (entry->value != nullptr) field.value.emplace(entry->value, entry->valueLength);
        return field;
    }

    Entries entries() const noexcept {
        if (list_.entries == nullptr) return {};
        return {list_.entries, static_cast<size_t>(list_.count)};
    }
    void free(void* block) const noexcept {
        if (block != nullptr) release_(block);
    }

    detail::Release release_;
    EmlMetaData list_{};
    std::vector<HeaderField> fields_;
};

/* The forms that a message can be rendered in. */
enum class Form { Text, Rich };

/* An open message. */
class Message {
  public:
    /* Opens a file; a pipe or device is spooled first. `openFlags` are EML_OPEN_... bits. */
    explicit Message(const std::filesystem::path& path, uint32_t openFlags = 0)
        : Message(detail::openedInput(path), openFlags) {}

    /* Opens an input of the stand-alone host. */
    explicit Message(std::unique_ptr<emlhost::Input> input, uint32_t openFlags = 0)
        : state_(std::make_unique<detail::State>(std::move(input), openFlags)) {}

    /* Opens bytes in memory, which must stay unchanged while the message is open. */
    static Message fromBytes(std::string_view bytes, uint32_t openFlags = 0) {
        return Message(detail::memoryInput(bytes), openFlags);
    }

    /* EML_OK, or what was wrong with a message that could be opened anyway. */
    EmlResult status() const noexcept { return state_->status; }

    /* EML_CHARSET_... of header values and text. */
    uint32_t charset() const noexcept { return state_->info.charset; }

    /* Size of the input in bytes. */
    uint64_t size() const noexcept { return state_->input->size(); }

    uint32_t subFileCount() const noexcept { return state_->info.subFileCount; }

    /* Describes one sub-file. */
    SubFile subFile(uint32_t number) const {
        SubFile file(*state_, number);
        if (file.status() != EML_OK) throw Error(file.status());
        return file;
    }

    /* All sub-files in the order of their numbers, each described when it is reached. */
    auto subFiles() const {
        return detail::Made(subFileCount(),
                            [state = state_.get()](uint32_t number) { return SubFile(*state, number); });
    }

    /* From, Sent, To, Cc, Bcc, Subject and Priority. */
    HeaderFields headers() const { return HeaderFields(*state_, {}); }

    /* The named fields, in this order. */
    HeaderFields headers(std::initializer_list<const char*> names) const {
        return HeaderFields(*state_, {names.begin(), names.size()});
    }

    /* One header value as UTF-8; none when the message lacks it. */
    std::optional<std::string> header(const char* name) const {
        HeaderFields fields = headers({name});
        if (fields.empty() || !fields[0].value) return std::nullopt;
        return toUtf8(*fields[0].value);
    }

    /* Converts text in this message's charset to UTF-8. */
    std::string toUtf8(std::string_view text) const {
        return emlhost::convert(text, charset(), EML_CHARSET_UTF_8);
    }

    /* Passes the decoded bytes of an attachment, or the message as one document, to `sink`. `options` are
     * EML_EXTRACT_... option bits. */
    template <Sink S>
    void extract(uint32_t number, S&& sink, uint32_t options = 0) const {
        detail::extract(*state_, static_cast<int32_t>(number), sink, options, 0);
    }

    /* Passes the message as one document to `sink`: a header block and the best body, as text or, for
     * Form::Rich, as HTML or RTF if it has such a body. `charset` is the EML_CHARSET_... to convert text
     * into. THE HTML FORM IS UNTRUSTED: see emlExtractSubFileToIOobj2. */
    template <Sink S>
    void render(Form form, S&& sink, uint32_t charset = EML_CHARSET_UTF_8) const {
        uint32_t options = form == Form::Rich ? EML_EXTRACT_PREFER_RICH : 0;
        detail::extract(*state_, state_->messageNumber, sink, options, charset);
    }

    /* Passes the readable text of the message to `sink` as UTF-8, as the message filter returns it: the
     * header fields, then the body; an HTML body keeps its markup. */
    template <Sink S>
    void text(S&& sink, bool withHeader = true) const;

    /* The same as one string. */
    std::string text(bool withHeader = true) const {
        std::string all;
        text([&all](std::string_view piece) { all += piece; }, withHeader);
        return all;
    }

    /* The C context, for calls that have no method here. This object keeps ownership. */
    EmlContainerContext* context() const noexcept { return state_->context; }

    /* The services that it uses; their heaps count what the library has allocated. */
    emlhost::Services& services() const noexcept { return state_->services; }

  private:
    std::unique_ptr<detail::State> state_;
};

template <Sink S>
void SubFile::extract(S&& sink) const {
    detail::extract(*state_, static_cast<int32_t>(number_), sink, 0, 0);
}

template <Sink S>
void Message::text(S&& sink, bool withHeader) const {
    emlhost::MessageFilter filter(*state_->input, state_->services);
    if (!filter.usable()) throw Error(filter.status());
    filter.restart(withHeader);

    uint32_t charset = 0;
    std::string pending; /* text in `charset`: a character can be cut between two records */
    auto flush = [&] {
        if (!pending.empty()) sink(std::string_view(emlhost::convert(pending, charset, EML_CHARSET_UTF_8)));
        pending.clear();
    };
    std::vector<uint8_t> buffer(size_t{64} << 10);
    while (!filter.finished()) {
        emlhost::RecordWalker records(filter.fill(buffer));
        for (emlhost::TextRecord record{}; records.next(record);) {
            switch (record.tag) {
                case emlhost::RecordTag::kText:
                    pending += record.text();
                    break;
                case emlhost::RecordTag::kCharset:
                    if (record.word() != charset) flush();
                    charset = record.word();
                    break;
                case emlhost::RecordTag::kTab:
                case emlhost::RecordTag::kLineBreak:
                    flush();
                    sink(std::string_view(record.tag == emlhost::RecordTag::kTab ? "\t" : "\n"));
                    break;
                default:
                    break;
            }
        }
    }
    flush();
    if (filter.status() != EML_OK && filter.status() != EML_ENCRYPTED) throw Error(filter.status());
}

}  // namespace emlreader

#endif
