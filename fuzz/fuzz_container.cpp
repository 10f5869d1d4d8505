// The container reader: any message, any order of calls, a host that fails.
//
// Checked: no byte outside a block and no uninitialised one, nothing live after the close, a limited
// number of host calls; with a host that works, the sections are those of the model in tests/support, and
// attachments decode to what the plain decoders give.
#include <emlreader/eml.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "check.h"
#include "choices.h"
#include "container/container_context.h"
#include "host.h"
#include "metadata.h"
#include "reference/decoders.h"
#include "support/reference_scan.h"

namespace {

using namespace fuzz;
using eml::test::ReferenceMessage;
using eml::test::SectionPointer;

constexpr size_t kHead = 24;
constexpr int32_t kMaxVisited = 24;

struct Order {
    uint32_t flags = 0;
    uint32_t outputCharset = 0;
    uint32_t options = 0;
    bool twice = false;      // with another pattern
    bool visitsAll = false;  // after the chosen calls
    uint8_t calls[12] = {};
};

constexpr uint32_t kCharsets[] = {0, 7, 53, 52, 51, 1, 2, 3, 4, 5, 6, 55, 66, 94, 0xFFFFFFFF, 12};

Order chooseOrder(Choices& choices) {
    Order order;
    const uint8_t flags = choices.byte();
    if ((flags & 1) != 0) order.flags |= EML_OPEN_CONVERTED_ATTACHMENTS;
    if ((flags & 2) != 0) order.flags |= EML_OPEN_ROOT_FOLDER;
    if ((flags & 4) != 0) order.flags |= EML_OPEN_ATTACHMENTS_FOLDER;
    order.twice = (flags & 0x18) == 0x18;
    order.visitsAll = (flags & 0x20) == 0;
    order.outputCharset = kCharsets[choices.below(std::size(kCharsets))];
    order.options = choices.byte();
    for (uint8_t& call : order.calls) call = choices.byte();
    return order;
}

// The calls on one open message.
class Visit {
  public:
    Visit(Host& host, const Order& order, std::string_view message)
        : host_(host), order_(order), message_(message) {
        context_ = emlInit2(&host.input(), &host.services(), order.flags, 0, 0, &result_);
        host.transcript().add(result_);
        if (context_ != nullptr) count_ = context_->attachmentCount;
    }
    ~Visit() { emlShutdown2(context_); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    void run() {
        if (context_ == nullptr) return;
        for (const uint8_t call : order_.calls) {
            if (call != 0) one(call & 7, numberOf(call >> 3));
        }
        if (!order_.visitsAll) return;
        info();
        metadata(0, false);
        const int32_t last = std::min(count_ + 2, kMaxVisited);
        for (int32_t number = 0; number <= last; ++number) {
            describe(number);
            extract(number);
        }
    }

    [[nodiscard]] EmlContainerContext* context() const { return context_; }
    [[nodiscard]] EmlResult result() const { return result_; }

  private:
    void one(uint8_t call, int32_t number) {
        switch (call) {
            case 0:
                return info();
            case 1:
                return describe(number);
            case 2:
                return metadata(number, false);
            case 3:
                return metadata(number, true);
            case 4:
                for (int i = 0; i < 5; ++i)
                    host_.transcript().add(static_cast<uint64_t>(eml2GetLine(context_)));
                return;
            case 5:
                return emlDebugSections(context_);
            default:
                return extract(number);
        }
    }

    [[nodiscard]] int32_t numberOf(uint8_t choice) const {
        const int32_t special[] = {-1, INT32_MAX, INT32_MIN, count_, count_ + 1, count_ + 2};
        return choice < std::size(special) ? special[choice]
                                           : static_cast<int32_t>(choice - std::size(special));
    }

    void info() {
        EmlContainerInfo info;
        std::memset(&info, 0xA5, sizeof info);
        host_.transcript().add(emlGetContainerInfo2(context_, &info, host_.record()));
        host_.transcript().add(info.subFileCount);
        host_.transcript().add(info.charset);
    }

    void describe(int32_t number) {
        EmlSubFileInfo info{};
        Transcript& transcript = host_.transcript();
        transcript.add(emlGetSubFileInfo2(context_, number, &info, host_.record()));
        if (info.name != nullptr) transcript.add(std::string_view(info.name));
        host_.recordHeap().give(info.name);
        for (uint32_t i = 0; info.children != nullptr && i < info.childCount; ++i)
            transcript.add(info.children[i]);
        host_.recordHeap().give(info.children);
        for (const uint64_t value : {uint64_t{info.kind}, uint64_t{static_cast<uint32_t>(info.size)},
                                     uint64_t{info.flags}, uint64_t{info.charset}, uint64_t{info.date[0]},
                                     uint64_t{info.date[1]}, uint64_t{static_cast<uint32_t>(info.parent)}}) {
            transcript.add(value);
        }
    }

    void metadata(int32_t number, bool byName) {
        const int32_t index = byName ? ((order_.flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0) : number;
        askForMetadata(
            host_, message_, byName, [&](int32_t count, EmlMetaDataRequest** requests, EmlMetaData* list) {
                return emlGetSubFileMetadata2(context_, index, count, requests, list, host_.record());
            });
    }

    void extract(int32_t number) {
        Output output;
        host_.bindOutput(output);
        EmlExtractInfo info{0, order_.outputCharset};
        const EmlResult result =
            emlExtractSubFileToIOobj2(context_, number, &output.record, &info, 0, order_.options);
        host_.transcript().add(result);
        host_.transcript().add(info.resultFlags);
        host_.transcript().add(output.bytes);
        require(output.opens <= 1 && output.closes <= output.opens, "an output is opened and closed once");
        require(output.releases == 0, "the host's output is not released");
        const int64_t k = int64_t{number} - ((order_.flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0);
        if (host_.plan().isPlain() && k >= 1 && k <= count_) compareContent(k, output.bytes);
    }

    // What the section's bytes decode to.
    void compareContent(int64_t k, const std::string& content) const {
        const EmlSection* const section = context_->attachments[k - 1];
        if (section == nullptr || (section->flags & EML_SECTION_CONVERTED) != 0) return;
        require(section->bodyStart >= 0 && section->bodyStart <= section->bodyEnd &&
                    static_cast<uint64_t>(section->bodyEnd) <= message_.size(),
                "a body lies inside the message");
        const Bytes body =
            reference::bytesOf(message_.substr(static_cast<size_t>(section->bodyStart),
                                               static_cast<size_t>(section->bodyEnd - section->bodyStart)));
        const bool isText =
            section->contentClass == EML_CLASS_TEXT || section->contentClass == EML_CLASS_HTML;
        const Bytes expected = section->encoding == eml::TransferEncoding::kBase64
                                   ? reference::decodeBase64(body, isText)
                               : section->encoding == eml::TransferEncoding::kQuotedPrintable
                                   ? reference::decodeQuotedPrintableBody(body)
                                   : body;
        requireSame(expected, reference::bytesOf(content), "an attachment is its body, decoded");
    }

    Host& host_;
    const Order& order_;
    std::string_view message_;
    EmlResult result_ = UINT32_MAX;
    EmlContainerContext* context_ = nullptr;
    int32_t count_ = 0;
};

std::string textOf(const char* text) { return text == nullptr ? "none" : "\"" + std::string(text) + "\""; }
std::string textOf(const std::optional<std::string>& text) { return text ? textOf(text->c_str()) : "none"; }

template <class Section>
void append(std::string& text, const char* role, const Section& section) {
    text += role;
    if (section == nullptr) return;
    for (const int64_t value :
         {section->start, section->end, section->bodyStart, section->bodyEnd, int64_t{section->contentClass},
          static_cast<int64_t>(section->encoding), int64_t{section->charset},
          int64_t{section->boundaryLength}, int64_t{section->isAttachment}, int64_t{section->flags}}) {
        text += " " + std::to_string(value);
    }
    text += " " + textOf(section->boundary) + " " + textOf(section->fileName);
}

template <class Message>
std::string headOf(const Message& message) {
    return std::to_string(message.bodyOffset) + " " + std::to_string(message.contentClass) + " " +
           std::to_string(static_cast<uint32_t>(message.encoding)) + " " + std::to_string(message.charset) +
           " " + textOf(message.boundary) + " " + std::to_string(message.attachmentCount);
}

template <class Message>
void appendBodies(std::string& text, const Message& message) {
    append(text, "\nplain", message.plainBody);
    append(text, "\nhtml", message.htmlBody);
    append(text, "\nrtf", message.rtfBody);
}

// Both as text: what the library found, and what the model finds.
void compareSections(const Visit& visit, std::string_view message, uint32_t flags) {
    const ReferenceMessage model = eml::test::referenceOpen(std::string(message), flags);
    std::string expected = std::to_string(model.result) + " " + headOf(model);
    for (const SectionPointer& section : model.sections) append(expected, "\nsection", section);
    appendBodies(expected, model);
    const EmlContainerContext& context = *visit.context();
    std::string got = std::to_string(visit.result()) + " " + headOf(context);
    for (const EmlSectionNode* node = context.sections; node != nullptr; node = node->next)
        append(got, "\nsection", &node->section);
    appendBodies(got, context);
    if (expected != got) fail("the sections are those of the model\n" + expected + "\nbut got\n" + got);
}

void run(const Plan& plan, const Order& order, std::string_view message, Transcript& transcript) {
    Host host(plan, message, 100000 + 400 * uint64_t{message.size()});
    {
        Visit visit(host, order, message);
        if (plan.isPlain()) compareSections(visit, message, order.flags);
        visit.run();
    }
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
