// The message filter: any message, buffers of any size, any order of calls, a host that fails.
//
// Checked: the same as for the container reader; also, streams consist of whole records, progress never goes
// back, and a conversion gives a limited number of bytes. With a host that works the scan and the place of
// the readable text are those of the model in tests/reference.
#include <emlreader/eml.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "check.h"
#include "choices.h"
#include "filter_model.h"
#include "host.h"
#include "metadata.h"

namespace {

using namespace fuzz;

constexpr size_t kHead = 24;
constexpr int32_t kMaxVisited = 24;

struct Order {
    uint32_t flags = 0;
    uint32_t capacity = 0;
    uint32_t fillFlags = 0;
    bool twice = false;       // with another pattern
    bool visitsAll = false;   // after the chosen calls
    bool bySpec = false;      // opened through openFile
    bool plainFills = false;  // by emlFillBuffer
    uint8_t calls[12] = {};
};

constexpr uint32_t kCapacities[] = {65536, 4096, 256, 300,  141, 100, 64,   20,    14,  9,
                                    5,     1,    0,   4097, 257, 255, 1000, 16384, 500, 8192};

Order chooseOrder(Choices& choices) {
    Order order;
    const uint8_t flags = choices.byte();
    if ((flags & 1) != 0) order.flags |= EML_OPEN_CONVERTED_ATTACHMENTS;
    if ((flags & 2) != 0) order.flags |= EML_OPEN_ROOT_FOLDER;
    if ((flags & 4) != 0) order.flags |= EML_OPEN_ATTACHMENTS_FOLDER;
    order.twice = (flags & 0x18) == 0x18;
    order.visitsAll = (flags & 0x20) == 0;
    order.bySpec = (flags & 0x40) != 0;
    order.plainFills = (flags & 0x80) != 0;
    order.capacity = kCapacities[choices.below(std::size(kCapacities))];
    order.fillFlags = choices.byte() & EML_FILL_BODY_ONLY;
    for (uint8_t& call : order.calls) call = choices.byte();
    return order;
}

uint32_t wordAt(const uint8_t* bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

void requireWholeRecords(const uint8_t* bytes, size_t size) {
    while (size != 0) {
        require(size >= 5, "a record has a tag and a length");
        const uint32_t length = wordAt(bytes + 1);
        require(length >= 5 && length <= size, "a record lies inside the buffer");
        if (*bytes == 0) require(length >= 9 && wordAt(bytes + 5) == length - 9, "a text has its length");
        bytes += length;
        size -= length;
    }
}

class Visit {
  public:
    Visit(Host& host, const Order& order, std::string_view message)
        : host_(host), order_(order), message_(message) {
        if (order.bySpec) {
            host.setFile(&host.input());
            context_ = emlInit(&host.services(), &host.services(), order.flags);
            result_ = host.services().lastError;
        } else {
            context_ = emlInitEx(&host.input(), &host.services(), order.flags, 0, 0, &result_);
        }
        host.transcript().add(result_);
    }
    ~Visit() { emlShutdown(context_); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    void run() {
        if (context_ == nullptr) return;
        count_ = emlGetFileNumber(context_);
        for (const uint8_t call : order_.calls) {
            if (call != 0) one(call & 7, call >> 3);
        }
        if (!order_.visitsAll) return;
        convertAll();
        info();
        nameAndDate();
        metadata(0, false);
        const int32_t last = std::min(count_ + 2, kMaxVisited);
        for (int32_t number = 0; number <= last; ++number) {
            describe(number);
            extract(number);
        }
        for (int32_t index = 0; index < std::min(count_ + 1, 4); ++index) attachment(index);
        convertAll();
    }

    [[nodiscard]] EmlFilterContext* context() const { return context_; }
    [[nodiscard]] EmlResult result() const { return result_; }

  private:
    void one(uint8_t call, uint8_t choice) {
        if (call != 0) disturbed_ = true;
        switch (call) {
            case 0:
                return fillSome(choice);
            case 1:
                return describe(numberOf(choice));
            case 2:
                return metadata(numberOf(choice), (choice & 1) != 0);
            case 3:
                return extract(numberOf(choice));
            case 4:
                return attachment(numberOf(choice));
            case 5:
                return extractByIndex(numberOf(choice));
            case 6:
                return nameAndDate();
            default:
                return info();
        }
    }

    [[nodiscard]] int32_t numberOf(uint8_t choice) const {
        const int32_t special[] = {0, 1, 2, 3, -1, INT32_MAX, INT32_MIN, count_, count_ + 1, count_ - 1};
        return choice < std::size(special) ? special[choice] : choice;
    }

    // One call. False at the end of the conversion, and when it has failed.
    bool fill(uint32_t flags, uint32_t capacity) {
        (void)host_.note(Call::kNone, 2);  // counts as a step
        const std::unique_ptr<uint8_t[]> buffer(new uint8_t[capacity]);
        std::memset(buffer.get(), host_.plan().pattern, capacity);
        uint32_t size = 0xA5A5A5A5;
        if ((flags & EML_FILL_RESTART) != 0) disturbed_ = false;
        const uint32_t before = (flags & EML_FILL_RESTART) != 0 || progress_ == 100 ? 0 : progress_;
        progress_ = before;
        const uint32_t subFile = (order_.flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
        const bool plain = order_.plainFills && flags == 0 && subFile == 0;
        const EmlResult result =
            plain ? emlFillBuffer(context_, buffer.get(), &size, &progress_, capacity)
                  : emlFillBufferEx(context_, subFile, buffer.get(), &size, &progress_, capacity, flags);
        require(size <= capacity, "no more than the capacity is written");
        require(progress_ <= 100, "progress goes from 0 to 100");
        require(progress_ >= before || disturbed_, "progress never goes back");
        requireWholeRecords(buffer.get(), size);
        host_.transcript().add({reinterpret_cast<const char*>(buffer.get()), size});
        host_.transcript().add(uint64_t{progress_} << 32 | result);
        given_ += size;
        idle_ = size == 0 && progress_ == before ? idle_ + 1 : 0;
        return result == EML_OK && progress_ < 100 && idle_ < 3;
    }

    void convertAll() {
        given_ = 0;
        idle_ = 0;
        uint32_t flags = EML_FILL_RESTART | order_.fillFlags;
        while (fill(flags, order_.capacity)) {
            flags = order_.fillFlags;
            // Each byte gives at most one record; names of attachments and long values come on top.
            require(given_ <= 100000 + 64 * uint64_t{message_.size()}, "a stream is limited");
        }
    }

    // A few calls in the middle of a conversion.
    void fillSome(uint8_t choice) {
        const uint32_t flags = (choice & 1) | (choice & 2);
        for (int i = 0; i <= choice >> 3; ++i) {
            if (!fill(i == 0 ? flags : 0, kCapacities[(choice >> 2 & 7) + i])) return;
        }
    }

    void info() {
        EmlContainerInfo info;
        std::memset(&info, 0xA5, sizeof info);
        Transcript& transcript = host_.transcript();
        transcript.add(emlGetContainerInfo(context_, &info, host_.record()));
        for (const uint32_t value : {info.subFileCount, info.charset, info.charsetExtra})
            transcript.add(value);
        uint32_t extra = 1;
        transcript.add(emlCharSet(context_, &extra));
        transcript.add(extra);
    }

    void nameAndDate() {
        const std::unique_ptr<char[]> name(new char[14]);
        std::memset(name.get(), 'Z', 14);
        uint32_t date[2] = {};
        const EmlResult result = emlGetMainNameDate(context_, name.get(), date);
        host_.transcript().add(result);
        if (result != EML_INVALID_ARGUMENT)
            require(std::memchr(name.get(), 0, 14) != nullptr, "a name ends inside its 14 bytes");
        host_.transcript().add(std::string_view(name.get(), 14).substr(0, strnlen(name.get(), 14)));
        host_.transcript().add({reinterpret_cast<const char*>(date), sizeof date});
    }

    void describe(int32_t number) {
        EmlSubFileInfo info{};
        Transcript& transcript = host_.transcript();
        transcript.add(emlGetSubFileInfoEx(context_, number, &info, host_.record()));
        if (info.name != nullptr) transcript.add(std::string_view(info.name));
        host_.recordHeap().give(info.name);
        for (uint32_t i = 0; info.children != nullptr && i < info.childCount; ++i)
            transcript.add(info.children[i]);
        host_.recordHeap().give(info.children);
        for (const uint64_t value :
             {uint64_t{info.kind}, uint64_t{static_cast<uint32_t>(info.size)}, uint64_t{info.flags},
              uint64_t{info.charset}, uint64_t{info.charsetExtra}, uint64_t{info.date[0]},
              uint64_t{info.date[1]}, uint64_t{static_cast<uint32_t>(info.parent)}}) {
            transcript.add(value);
        }
    }

    void attachment(int32_t index) {
        const auto info = std::make_unique<EmlAttachmentInfo>();
        std::memset(info.get(), 0xA5, sizeof *info);
        const EmlResult result = emlGetSubFileInfo(context_, static_cast<uint32_t>(index), info.get());
        host_.transcript().add(result);
        if (result != EML_OK) return;
        require(std::memchr(info->name, 0, sizeof info->name) != nullptr, "a name ends inside its record");
        host_.transcript().add(std::string_view(info->name));
        host_.transcript().add(static_cast<uint32_t>(info->size));
    }

    void metadata(int32_t number, bool byName) {
        const int32_t index = byName ? ((order_.flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0) : number;
        askForMetadata(
            host_, message_, byName, [&](int32_t count, EmlMetaDataRequest** requests, EmlMetaData* list) {
                return emlGetSubFileMetadata(context_, index, count, requests, list, host_.record());
            });
    }

    void finish(const Output& output, EmlResult result) {
        host_.transcript().add(result);
        host_.transcript().add(output.bytes);
        require(output.bytes.size() <= message_.size(), "decoded content is no longer than the message");
    }

    void extract(int32_t number) {
        Output output;
        host_.bindOutput(output);
        finish(output, emlExtractSubFileToIOobjEx(context_, number, &output.record, 0, 0, order_.fillFlags));
        require(output.releases == 0, "the host's output is not released");
    }

    void extractByIndex(int32_t index) {
        Output output;
        host_.bindOutput(output);
        host_.setFile(&output.record);
        const EmlResult result =
            emlExtractSubFileToIOobj(context_, static_cast<uint32_t>(index), &host_.services());
        finish(output, result);
        require(output.releases <= 1, "an output is released once");
        host_.setFile(nullptr);
    }

    Host& host_;
    const Order& order_;
    std::string_view message_;
    EmlResult result_ = EML_OK;
    EmlFilterContext* context_ = nullptr;
    int32_t count_ = 0;
    uint32_t progress_ = 0;
    bool disturbed_ = false;  // another call came between two fills
    uint64_t given_ = 0;
    int idle_ = 0;
};

// In a context of its own: looking for the text changes it.
void compareScan(const Plan& plan, const Order& order, std::string_view message) {
    Host host(plan, message, 100000 + 400 * uint64_t{message.size()});
    const Visit visit(host, order, message);
    holdFilterScan(message, visit.context(), visit.result());
}

void run(const Plan& plan, const Order& order, std::string_view message, Transcript& transcript) {
    Host host(plan, message, 200000 + 800 * uint64_t{message.size()});
    {
        Visit visit(host, order, message);
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
    if (plan.isPlain()) compareScan(plan, order, message);
    Transcript first;
    run(plan, order, message, first);
    if (!order.twice) return 0;
    plan.pattern = 0x5A;
    Transcript second;
    run(plan, order, message, second);
    Transcript::requireSame(first, second);
    return 0;
}
