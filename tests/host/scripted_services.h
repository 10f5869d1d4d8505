// Services whose conversions, lead bytes and dates a test scripts, with a tracked heap of their own. Input,
// outputs and the record of the calls come from a RecordingHost.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "container/container_context.h"
#include "support/memory_output.h"
#include "support/opened_message.h"

namespace eml::test {

// One call of a conversion: what was asked, and the answer, which the script may change.
struct HostConversion {
    bool between;      // convertTextFrom, not convertText
    bool sizing;       // the destination has no text
    uint32_t from;     // the charset of the source
    uint32_t current;  // the services' current charset during the call
    std::string source;
};

class ScriptedServices {
  public:
    // Gives the result of a conversion; both calls give it unless `claim` says otherwise.
    using Convert = std::function<std::string(const HostConversion&)>;

    explicit ScriptedServices(HeapMode mode = HeapMode::kPlain)
        : heap_(journal_, {Entry::kAllocate, Entry::kReallocate, Entry::kAllocateZeroed, Entry::kFree},
                mode) {
        std::memset(&bound_.record, 0, sizeof bound_.record);
        bound_.owner = this;
        heap_.bind(bound_.record.allocator);
        bound_.record.duplicateString = [](EmlHostServices* self, const char* text) {
            const size_t size = std::strlen(text) + 1;
            void* const copy = of(self).heap_.take(size);
            std::memcpy(copy, text, size);
            return static_cast<char*>(copy);
        };
        bound_.record.convertText = [](EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                                       uint32_t form, uint32_t) -> uint32_t {
            EXPECT_EQ(form, 32u);
            return of(self).convertCall(false, self->currentCharset, *source, *destination);
        };
        bound_.record.convertTextFrom = [](EmlHostServices* self, uint32_t charset, EmlTextSpan* source,
                                           EmlTextSpan* destination, uint32_t substitute) -> uint32_t {
            EXPECT_EQ(substitute, 63u);
            return of(self).convertCall(true, charset, *source, *destination);
        };
        bound_.record.isLeadByte = [](EmlHostServices* self, uint32_t byte, uint32_t charset) -> int32_t {
            EXPECT_LE(byte, 255u) << "a byte must arrive unsigned";
            return of(self).leadByte && of(self).leadByte(byte, charset) ? 1 : 0;
        };
        bound_.record.resetCharset = [](EmlHostServices* self, uint32_t reserved) {
            EXPECT_EQ(reserved, 0u);
            EXPECT_EQ(self->currentCharset, 0u) << "the charset is set before the reset";
            ++of(self).resets;
        };
        bound_.record.storeDate = [](time_t seconds, void* destination) {
            const auto value = static_cast<int64_t>(seconds);
            const uint32_t words[2] = {static_cast<uint32_t>(value & 0xFFFFFFFF),
                                       static_cast<uint32_t>(value >> 32)};
            std::memcpy(destination, words, sizeof words);
        };
        bound_.record.currentCharset = kCharsetBefore;
    }
    ~ScriptedServices() {
        EXPECT_EQ(heap_.liveBlocks(), 0u) << "blocks of the services' allocator are still live";
        for (const std::string& text : journal_.violations()) ADD_FAILURE() << text;
        EXPECT_EQ(bound_.record.currentCharset, kCharsetBefore) << "the current charset was not put back";
    }
    ScriptedServices(const ScriptedServices&) = delete;
    ScriptedServices& operator=(const ScriptedServices&) = delete;

    [[nodiscard]] EmlHostServices& record() { return bound_.record; }
    [[nodiscard]] Journal& journal() { return journal_; }
    [[nodiscard]] TrackedHeap& heap() { return heap_; }

    Convert convert;  // no script: nothing comes out
    std::function<void(const HostConversion&, uint32_t&)>
        claim;  // changes the length that a call leaves behind
    std::function<bool(uint32_t byte, uint32_t charset)> leadByte;
    std::vector<HostConversion> calls;
    uint32_t resets = 0;

    static constexpr uint32_t kCharsetBefore = 0xC0FFEE;

  private:
    struct Bound {
        EmlHostServices record;  // first: the library hands its address back
        ScriptedServices* owner;
    };

    static ScriptedServices& of(EmlHostServices* self) { return *reinterpret_cast<Bound*>(self)->owner; }

    uint32_t convertCall(bool between, uint32_t from, const EmlTextSpan& source, EmlTextSpan& destination) {
        const HostConversion call{between, destination.text == nullptr, from, bound_.record.currentCharset,
                                  std::string(static_cast<const char*>(source.text), source.length)};
        calls.push_back(call);
        const std::string result = convert ? convert(call) : "";
        if (!call.sizing) {
            // What a host may use is what the block has room for.
            const size_t room = heap_.roomAt(destination.text);
            EXPECT_NE(room, SIZE_MAX) << "the destination is no block of the services' allocator";
            if (room != SIZE_MAX) std::memcpy(destination.text, result.data(), std::min(room, result.size()));
        }
        uint32_t length = static_cast<uint32_t>(result.size());
        if (claim) claim(call, length);
        destination.length = length;
        return 0;  // not examined
    }

    Journal journal_;
    TrackedHeap heap_;
    Bound bound_{};
};

// A message open over scripted services.
class ScriptedMessage {
  public:
    explicit ScriptedMessage(std::string_view message, uint32_t flags = 0, HostOptions options = {})
        : host(message, options), services(options.heapMode), flags_(flags) {}
    ~ScriptedMessage() {
        if (context_ != nullptr) emlShutdown2(context_);
    }

    // Opens it on the first use, so that a test can set up what it wants before.
    EmlContainerContext& context() {
        if (context_ == nullptr)
            context_ = emlInit2(&host.input(), &services.record(), flags_, 0, 0, &result);
        return *context_;
    }

    [[nodiscard]] Extracted render(uint32_t options = 0, uint32_t charset = 0) {
        context();
        MemoryOutput output(host);
        EmlExtractInfo info{0, charset};
        Extracted rendered{};
        rendered.result = emlExtractSubFileToIOobj2(context_, 0, &output.object(), &info, 0, options);
        rendered.bytes = output.bytes();
        rendered.writes = output.writes();
        rendered.sizeField = output.sizeField();
        resultFlags = info.resultFlags;
        return rendered;
    }

    RecordingHost host;
    ScriptedServices services;
    EmlResult result = UINT32_MAX;
    uint32_t resultFlags = 0;

  private:
    uint32_t flags_;
    EmlContainerContext* context_ = nullptr;
};

}  // namespace eml::test
