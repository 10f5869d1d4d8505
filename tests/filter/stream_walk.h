// The record stream of the filter: a host that only reads, the calls of one conversion, and the records and
// the text in what they gave.
#pragma once

#include <emlreader/eml.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "support/opened_message.h"

namespace eml::test {

// One record. The payload is what stands after the length field.
struct StreamRecord {
    uint8_t tag;
    std::string payload;

    // Of a text record.
    [[nodiscard]] std::string text() const { return payload.size() < 4 ? "" : payload.substr(4); }
};

inline uint32_t wordAt(std::string_view bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 4; i-- > 0;) value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
    return value;
}

// Walks a stream by its lengths; a failure when they do not reach exactly its end, or a length is not what
// the record must have.
inline std::vector<StreamRecord> walkStream(std::string_view bytes) {
    std::vector<StreamRecord> records;
    while (!bytes.empty()) {
        const auto tag = static_cast<uint8_t>(bytes[0]);
        const uint32_t length = bytes.size() < 5 ? 0 : wordAt(bytes, 1);
        if (length < 5 || length > bytes.size()) {
            ADD_FAILURE() << "no whole record of tag " << int{tag} << " in the last " << bytes.size()
                          << " bytes";
            return records;
        }
        if (tag == 0 && (length < 9 || wordAt(bytes, 5) != length - 9))
            ADD_FAILURE() << "a text with a wrong length";
        records.push_back({tag, std::string(bytes.substr(5, length - 5))});
        bytes.remove_prefix(length);
    }
    return records;
}

// One line for each record: tag, whole length, and the text or the payload in words.
inline std::string dumpStream(std::string_view bytes) {
    std::string lines;
    for (const StreamRecord& record : walkStream(bytes)) {
        lines += std::to_string(record.tag) + " " + std::to_string(record.payload.size() + 5);
        if (record.tag == 0) {
            lines += " \"" + escaped(record.text()) + "\"";
        } else {
            static constexpr char kDigits[] = "0123456789abcdef";
            if (!record.payload.empty()) lines += " ";
            for (const char letter : record.payload) {
                lines += kDigits[static_cast<uint8_t>(letter) >> 4];
                lines += kDigits[static_cast<uint8_t>(letter) & 15];
            }
        }
        lines += "\n";
    }
    return lines;
}

// What a person would see, whatever pieces the text comes in: text, "\n", "\t", charsets as {27:7}, and bold
// as {b} and {/b}.
inline std::string textOfStream(std::string_view bytes) {
    std::string text;
    for (const StreamRecord& record : walkStream(bytes)) {
        if (record.tag == 0) text += record.text();
        if (record.tag == 3) text += "\t";
        if (record.tag == 4) text += wordAt(record.payload, 0) == 1 ? "{/b}" : "{b}";
        if (record.tag == 13) text += "\n";
        if (record.tag == 27) text += "{27:" + std::to_string(wordAt(record.payload, 0)) + "}";
    }
    return text;
}

// A host without checks, fast enough for thousands of conversions. Its destructor tells of blocks that are
// still live.
class StreamHost {
  public:
    explicit StreamHost(std::string message, uint32_t flags = 0) : message_(std::move(message)) {
        io_.record.open = [](EmlIOobj*) { return 1; };
        io_.record.close = [](EmlIOobj*) { return 1; };
        io_.record.seek = [](EmlIOobj* self, uint32_t low, int32_t, uint32_t) {
            hostOf(self).position_ = low;
            return 1;
        };
        io_.record.read = &StreamHost::read;
        io_.host = this;
        services_.allocator.context = reinterpret_cast<uintptr_t>(this);
        services_.allocator.allocate = [](EmlAllocator* self, uint32_t size) {
            return hostOf(self).take(size);
        };
        services_.allocator.free = [](EmlAllocator* self, void* block) {
            --hostOf(self).live_;
            giveBlock(block);
        };
        services_.allocator.reallocate = &StreamHost::reallocate;
        services_.allocator.allocateZeroed = [](EmlAllocator* self, uint32_t count, uint32_t size) {
            void* block = hostOf(self).take(count * size);
            return block != nullptr ? std::memset(block, 0, size_t{count} * size) : nullptr;
        };
        services_.storeDate = [](time_t, void*) {};
        context = emlInitEx(&io_.record, &services_, flags, 0, 0, &result);
    }
    ~StreamHost() {
        emlShutdown(context);
        EXPECT_EQ(live_, 0) << "blocks are still live";
    }
    StreamHost(const StreamHost&) = delete;
    StreamHost& operator=(const StreamHost&) = delete;

    // From now on another message is read.
    void change(std::string message) { message_ = std::move(message); }

    EmlResult result = EML_OK;
    EmlFilterContext* context = nullptr;

  private:
    struct Bound {
        EmlIOobj record;  // first: the library hands its address back
        StreamHost* host;
    };
    static StreamHost& hostOf(EmlIOobj* self) { return *reinterpret_cast<Bound*>(self)->host; }
    static StreamHost& hostOf(EmlAllocator* self) { return *reinterpret_cast<StreamHost*>(self->context); }

    static int32_t read(EmlIOobj* self, void* buffer, uint32_t count) {
        StreamHost& host = hostOf(self);
        const size_t at = std::min<size_t>(host.position_, host.message_.size());
        const size_t delivered = std::min<size_t>(count, host.message_.size() - at);
        if (delivered != 0) std::memcpy(buffer, host.message_.data() + at, delivered);
        host.position_ = at + delivered;
        return static_cast<int32_t>(delivered);
    }

    void* take(uint32_t size) {
        ++live_;
        return takeBlock(size);
    }

    static void* reallocate(EmlAllocator*, void* block, uint32_t size) {
        if (defaultHeapMode() == HeapMode::kPlain) return std::realloc(block, size != 0 ? size : 1);
        const size_t room = GuardPool::instance().sizeOf(block);
        void* const grown = takeBlock(size);
        if (grown == nullptr) return nullptr;
        std::memcpy(grown, block, std::min<size_t>(room, size));
        giveBlock(block);
        return grown;
    }

    std::string message_;
    size_t position_ = 0;
    int live_ = 0;
    Bound io_{};
    EmlHostServices services_{};
};

// The calls of one conversion.
struct Conversion {
    std::vector<std::string> calls;  // the bytes that each call gave
    std::vector<uint32_t> progress;  // and the progress after it
    EmlResult result = EML_OK;       // of the last call
    bool finished = false;           // progress reached 100

    [[nodiscard]] std::string bytes() const {
        std::string all;
        for (const std::string& call : calls) all += call;
        return all;
    }
};

// The host's buffer of one fill.
class FillRoom {
  public:
    explicit FillRoom(size_t size) : size_(size), bytes_(takeBlock(size)) {
        if (size != 0) std::memset(bytes_, kFreshByte, size);
    }
    ~FillRoom() { giveBlock(bytes_); }
    FillRoom(const FillRoom&) = delete;
    FillRoom& operator=(const FillRoom&) = delete;

    [[nodiscard]] uint8_t* data() const { return static_cast<uint8_t*>(bytes_); }
    [[nodiscard]] size_t size() const { return size_; }

  private:
    size_t size_;
    void* bytes_;
};

// One call. Checks what holds for every call: `size` is set, no byte at or after the capacity is written,
// progress never goes back and stays within 100, the records are whole.
inline EmlResult fillOnce(EmlFilterContext* context, uint32_t capacity, Conversion& conversion,
                          uint32_t fillFlags = 0, uint32_t subFile = 0) {
    constexpr size_t kBehind = 64;
    // In guarded mode the buffer ends where it ends; else what stands after it must not change.
    const bool guarded = defaultHeapMode() == HeapMode::kGuarded;
    const FillRoom buffer(capacity + (guarded ? 0 : kBehind));
    uint32_t size = 0xA5A5A5A5;
    const bool restarts = (fillFlags & EML_FILL_RESTART) != 0;
    uint32_t progress = conversion.progress.empty() || restarts ? 0 : conversion.progress.back();
    const uint32_t before = progress;
    const EmlResult result =
        emlFillBufferEx(context, subFile, buffer.data(), &size, &progress, capacity, fillFlags);
    EXPECT_LE(size, capacity);
    EXPECT_GE(progress, before);
    EXPECT_LE(progress, 100U);
    for (size_t i = capacity; i < buffer.size(); ++i) {
        if (buffer.data()[i] != kFreshByte)
            ADD_FAILURE() << "a byte was written at " << i << " of " << capacity;
    }
    conversion.calls.emplace_back(reinterpret_cast<const char*>(buffer.data()), std::min(size, capacity));
    conversion.progress.push_back(progress);
    conversion.result = result;
    conversion.finished = progress == 100;
    return result;
}

// All calls to the end, the first of which restarts. A buffer that is too small for a record never gets any
// further: three calls in a row that change nothing end it too.
inline Conversion convertAll(EmlFilterContext* context, uint32_t capacity, uint32_t fillFlags = 0,
                             uint32_t subFile = 0) {
    Conversion conversion;
    uint32_t flags = fillFlags | EML_FILL_RESTART;
    for (int idle = 0; idle < 3 && !conversion.finished;) {
        const uint32_t before = conversion.progress.empty() ? 0 : conversion.progress.back();
        if (fillOnce(context, capacity, conversion, flags, subFile) != EML_OK) break;
        flags = fillFlags;
        idle = conversion.calls.back().empty() && conversion.progress.back() == before ? idle + 1 : 0;
    }
    return conversion;
}

}  // namespace eml::test
