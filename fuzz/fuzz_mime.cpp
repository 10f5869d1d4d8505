// The MIME reader: any message, any order of calls, a host that fails.
//
// Checked: no byte outside a block and no uninitialised one, nothing live after the close, a limited number of host
// calls; with a host that works, the spans make up the file, the parts are a tree, raw content is what stands in the
// file, and text is UTF-8.
#include <emlreader/eml_mime.h>

#include <algorithm>
#include <cstring>

#include "check.h"
#include "choices.h"
#include "host.h"
#include "utf8_rules.h"

namespace {

using namespace fuzz;

constexpr size_t kHead = 24;
constexpr uint32_t kMaxVisited = 40;

// A conversion of the host, honest or not.
enum class ConvertStyle : uint8_t { kMissing, kUnknown, kLatin1, kSlow, kStuck, kBoastful };

struct Order {
    EmlMimeOptions options{};
    ConvertStyle convert = ConvertStyle::kMissing;
    bool twice = false;  // with another pattern
    bool cancels = false;
    uint8_t calls[10] = {};
};

Order chooseOrder(Choices& choices) {
    Order order;
    const uint8_t flags = choices.byte();
    order.options.recordSize = sizeof order.options;
    order.options.flags = (flags & 1) != 0 ? EML_MIME_NO_INLINE_FILES : 0;
    if ((flags & 2) != 0) order.options.maxDepth = 1 + choices.below(4);
    if ((flags & 4) != 0) order.options.maxParts = 1 + choices.below(6);
    if ((flags & 8) != 0) order.options.maxHeaderBytes = 1 + choices.byte();
    if ((flags & 16) != 0) order.options.maxDefects = 1 + choices.below(4);
    order.twice = (flags & 0x60) == 0x60;
    order.cancels = (flags & 0x80) != 0 && choices.flag();
    order.convert = static_cast<ConvertStyle>(choices.below(6));
    for (uint8_t& call : order.calls) call = choices.byte();
    return order;
}

void* openConversion(void* host, const char* label) {
    require(label != nullptr, "a label is a text");
    return static_cast<ConvertStyle*>(host)[0] == ConvertStyle::kUnknown ? nullptr : host;
}

// ISO-8859-1, one piece at a time; or wrong in a way that a host can be.
uint32_t convertText(void* conversion, const void* source, uint32_t* sourceLength, void* destination,
                     uint32_t* destinationLength, int32_t) {
    const ConvertStyle style = *static_cast<ConvertStyle*>(conversion);
    const auto* from = static_cast<const uint8_t*>(source);
    auto* to = static_cast<uint8_t*>(destination);
    const uint32_t have = style == ConvertStyle::kSlow ? std::min(*sourceLength, 1U) : *sourceLength;
    uint32_t used = 0;
    uint32_t written = 0;
    for (; used < have && written + 2 <= *destinationLength && style != ConvertStyle::kStuck; ++used) {
        if (from[used] < 128) {
            to[written++] = from[used];
        } else {
            to[written++] = static_cast<uint8_t>(0xC0 | from[used] >> 6);
            to[written++] = static_cast<uint8_t>(0x80 | (from[used] & 0x3F));
        }
    }
    const bool boasts = style == ConvertStyle::kBoastful;
    *sourceLength = boasts ? UINT32_MAX : used;
    *destinationLength = boasts ? *destinationLength : written;
    // What is claimed must be there: an honest host has set it, and so does this one.
    if (boasts) std::memset(to + written, '!', *destinationLength - written);
    return 0;
}

void closeConversion(void*) {}

int32_t cancel(void*, uint64_t) { return 1; }

// The calls on one open message.
class Visit {
  public:
    Visit(Host& host, const Order& order, std::string_view message)
        : host_(host), order_(order), message_(message), convertStyle_(order.convert) {
        EmlMimeOptions options = order.options;
        convert_ = {&convertStyle_, openConversion, convertText, closeConversion};
        if (order.convert != ConvertStyle::kMissing) options.convert = &convert_;
        if (order.cancels) options.progress = cancel;
        context_ = emlMimeOpen(&host.input(), &host.services().allocator, &options, &result_);
        host.transcript().add(result_);
        require((context_ == nullptr) == (result_ != EML_OK),
                "a context comes with EML_OK, and without it none");
    }
    ~Visit() { emlMimeClose(context_); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    void run() {
        if (context_ == nullptr) return;
        for (const uint8_t call : order_.calls) {
            if (call != 0) one(call & 7, call >> 3);
        }
        spans();
        const uint32_t count = std::min(emlMimePartCount(context_), kMaxVisited);
        for (uint32_t number = 0; number <= count; ++number) {
            part(number);
            name(number);
            fields(number);
            for (uint32_t form = EML_MIME_RAW; form <= EML_MIME_TEXT + 1; ++form) extract(number, form);
        }
        defects();
    }

  private:
    void one(uint32_t call, uint32_t number) {
        switch (call) {
            case 0:
                return spans();
            case 1:
                return part(number);
            case 2:
                return name(number);
            case 3:
                return fields(number);
            case 4:
                return contentId(number);
            case 5:
                return defects();
            default:
                return extract(number, call - 5);
        }
    }

    void add(const EmlMimeText& text) {
        require(text.text != nullptr || text.length == 0, "an absent text has no length");
        if (text.text == nullptr) return;
        require(text.text[text.length] == 0, "a text ends with a zero byte");
        host_.transcript().add({text.text, text.length});
    }

    void spans() {
        uint64_t at = 0;
        EmlMimeSpanInfo info{};
        for (uint32_t i = 0; emlMimeGetSpan(context_, i, &info) == EML_OK; ++i) {
            require(info.span.offset == at && info.span.length != 0, "spans follow each other");
            require(info.part < emlMimePartCount(context_), "a span belongs to a part");
            require(info.kind <= EML_MIME_SPAN_EPILOGUE, "a span has a kind");
            at += info.span.length;
        }
        if (host_.plan().isPlain()) require(at == message_.size(), "the spans make up the file");
    }

    void part(uint32_t number) {
        EmlMimePart part{};
        const EmlResult result = emlMimeGetPart(context_, number, &part, sizeof part);
        host_.transcript().add(result);
        require((result == EML_OK) == (number < emlMimePartCount(context_)), "every part is described");
        if (result != EML_OK) return;
        require(number == 0 ? part.parent == EML_MIME_NONE : part.parent < number,
                "a part comes after its parent");
        require(part.nextSibling == EML_MIME_NONE || part.nextSibling > number, "siblings come in order");
        require(part.header.offset + part.header.length <= part.body.offset, "a body comes after its header");
        require(part.type.length != 0, "a part has a type");
        for (const EmlMimeText& text :
             {part.type, part.subtype, part.charset, part.encodingText, part.disposition, part.name,
              part.contentId, part.location, part.description}) {
            add(text);
        }
        for (const EmlMimeText& text : {part.name, part.description}) {
            if (text.text != nullptr && order_.convert != ConvertStyle::kBoastful) {
                require(isWellFormed({text.text, text.length}), "texts of a part are UTF-8");
            }
        }
        for (const uint64_t value : {uint64_t{part.flags}, uint64_t{part.roles}, uint64_t{part.encoding},
                                     uint64_t{part.ending}, uint64_t{part.protection}, part.body.offset,
                                     part.body.length, part.signedSpan.offset, part.signedSpan.length}) {
            host_.transcript().add(value);
        }
    }

    void name(uint32_t number) {
        EmlMimeText text{};
        const EmlResult result = emlMimeGetName(context_, number, &text);
        host_.transcript().add(result);
        if (result != EML_OK) return;
        require(text.length != 0, "a name is never empty");
        add(text);
    }

    void contentId(uint32_t number) {
        uint32_t found = 0;
        host_.transcript().add(emlMimeFindContentId(context_, number, "id", &found));
        host_.transcript().add(found);
    }

    void fields(uint32_t number) {
        uint32_t count = 0;
        if (emlMimeFieldCount(context_, number, &count) != EML_OK) return;
        host_.transcript().add(count);
        for (uint32_t i = 0; i < std::min(count, kMaxVisited); ++i) field(number, i);
    }

    void field(uint32_t number, uint32_t index) {
        EmlMimeField field{};
        if (emlMimeGetField(context_, number, index, &field) == EML_OK) {
            add(field.name);
            add(field.raw);
        }
        EmlMimeText text{};
        if (emlMimeFieldText(context_, number, index, &text) == EML_OK) {
            add(text);
            if (order_.convert != ConvertStyle::kBoastful) {
                require(isWellFormed({text.text, text.length}), "the text of a field is UTF-8");
            }
        }
        EmlMimeDate date{};
        if (emlMimeFieldDate(context_, number, index, &date) == EML_OK) host_.transcript().add(date.flags);
        lists(number, index);
    }

    void lists(uint32_t number, uint32_t index) {
        uint32_t count = 0;
        const EmlMimeAddress* addresses = nullptr;
        if (emlMimeFieldAddresses(context_, number, index, &addresses, &count) == EML_OK) {
            for (uint32_t i = 0; i < count; ++i) {
                add(addresses[i].name);
                add(addresses[i].address);
                add(addresses[i].group);
            }
        }
        const EmlMimeText* ids = nullptr;
        if (emlMimeFieldIds(context_, number, index, &ids, &count) == EML_OK) {
            for (uint32_t i = 0; i < count; ++i) add(ids[i]);
        }
        EmlMimeText value{};
        const EmlMimeParameter* parameters = nullptr;
        if (emlMimeFieldParameters(context_, number, index, &value, &parameters, &count) != EML_OK) return;
        add(value);
        for (uint32_t i = 0; i < count; ++i) {
            add(parameters[i].name);
            add(parameters[i].value);
        }
    }

    void extract(uint32_t number, uint32_t form) {
        Output output;
        host_.bindOutput(output);
        EmlMimeContent content{};
        const EmlResult result = emlMimeExtract(context_, number, form, &output.record, &content);
        host_.transcript().add(result);
        host_.transcript().add(content.flags);
        host_.transcript().add(output.bytes);
        require(output.opens <= 1 && output.closes <= output.opens, "an output is opened and closed once");
        if (!host_.plan().isPlain() || result != EML_OK) return;
        requireSame(int64_t(output.bytes.size()), int64_t(content.size),
                    "the size is that of what was written");
        EmlMimePart part{};
        if (emlMimeGetPart(context_, number, &part, sizeof part) != EML_OK) return;
        if (form == EML_MIME_RAW) {
            requireSame(reference::bytesOf(message_.substr(static_cast<size_t>(part.body.offset),
                                                           static_cast<size_t>(part.body.length))),
                        reference::bytesOf(output.bytes), "raw content is what stands in the file");
        }
        const bool converted = (content.flags & EML_MIME_TEXT_NOT_CONVERTED) == 0;
        if (form == EML_MIME_TEXT && converted && order_.convert != ConvertStyle::kBoastful) {
            require(isWellFormed(output.bytes), "text is UTF-8");
        }
    }

    void defects() {
        EmlMimeDefect defect{};
        for (uint32_t i = 0; emlMimeGetDefect(context_, i, &defect) == EML_OK; ++i) {
            require(emlMimeDefectName(defect.code) != nullptr, "a defect has a name");
            require(defect.part < emlMimePartCount(context_), "a defect belongs to a part");
            require(defect.count != 0, "a defect occurs");
            if (host_.plan().isPlain()) require(defect.offset <= message_.size(), "a defect is in the file");
            host_.transcript().add(defect.code);
            host_.transcript().add(defect.offset);
            host_.transcript().add(defect.count);
        }
    }

    Host& host_;
    const Order& order_;
    std::string_view message_;
    ConvertStyle convertStyle_;
    EmlMimeConvert convert_{};
    EmlResult result_ = UINT32_MAX;
    EmlMimeContext* context_ = nullptr;
};

void run(const Plan& plan, const Order& order, std::string_view message, Transcript& transcript) {
    Host host(plan, message, 200000 + 400 * uint64_t{message.size()});
    { Visit(host, order, message).run(); }
    host.requireNothingLive();
    transcript = host.transcript();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Choices choices(data, size, kHead);
    Plan plan = choosePlan(choices);
    const Order order = chooseOrder(choices);
    const std::string message(choices.restText());
    Transcript first;
    run(plan, order, message, first);
    if (!order.twice) return 0;
    plan.pattern = 0x5A;
    Transcript second;
    run(plan, order, message, second);
    Transcript::requireSame(first, second);
    return 0;
}
