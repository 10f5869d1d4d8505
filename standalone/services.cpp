#include "standalone/services.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "standalone/input.h"

namespace emlhost {

void storeDate(time_t seconds, uint32_t date[2]) noexcept {
    auto bits = static_cast<uint64_t>(static_cast<int64_t>(seconds));
    date[0] = static_cast<uint32_t>(bits);
    date[1] = static_cast<uint32_t>(bits >> 32);
}

int64_t dateFrom(const uint32_t date[2]) noexcept {
    return static_cast<int64_t>((static_cast<uint64_t>(date[1]) << 32) | date[0]);
}

Services::Services() noexcept : record_(this), hostRecord_{1, hostHeap_.allocator()} {
    heap_.install(record_.allocator);
    record_.openFile = openFile;
    record_.duplicateString = duplicateString;
    record_.convertText = convertText;
    record_.convertTextFrom = convertTextFrom;
    record_.isLeadByte = [](EmlHostServices*, uint32_t byte, uint32_t charset) noexcept {
        return static_cast<int32_t>(isLeadByte(charset, byte));
    };
    // Nothing is kept between conversions, so there is nothing to reset.
    record_.resetCharset = [](EmlHostServices*, uint32_t) noexcept {};
    record_.storeDate = [](time_t seconds, void* destination) noexcept {
        emlhost::storeDate(seconds, static_cast<uint32_t*>(destination));
    };
}

EmlIOobj* Services::openFile(EmlHostServices*, void* fileSpec) noexcept try {
    if (fileSpec == nullptr) return nullptr;
    std::error_code error;
    return Input::handOver(openInput(static_cast<const char*>(fileSpec), error));
} catch (const std::exception&) {
    return nullptr;
}

char* Services::duplicateString(EmlHostServices* self, const char* text) noexcept {
    if (text == nullptr) return nullptr;
    size_t size = std::strlen(text) + 1;
    void* copy = Record::ownerOf(self).heap_.allocate(size);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

uint32_t Services::convertText(EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                               uint32_t form, uint32_t) noexcept {
    if (form != EML_CONVERT_FORM) {
        destination->length = 0;
        return 0;
    }
    return Record::ownerOf(self).convertSpan(self->currentCharset, EML_CHARSET_TEXT_16, *source, *destination,
                                             EML_CONVERT_SUBSTITUTE);
}

uint32_t Services::convertTextFrom(EmlHostServices* self, uint32_t charset, EmlTextSpan* source,
                                   EmlTextSpan* destination, uint32_t substitute) noexcept {
    return Record::ownerOf(self).convertSpan(charset, self->currentCharset, *source, *destination,
                                             substitute);
}

// The two-call protocol: without a destination text only the size, else the text as far as there is room.
// Returns the length that it leaves in the destination; 0 also means failure.
uint32_t Services::convertSpan(uint32_t fromId, uint32_t toId, const EmlTextSpan& source,
                               EmlTextSpan& destination, uint32_t substitute) noexcept {
    uint32_t room = std::exchange(destination.length, 0);
    if (source.text == nullptr) return 0;
    try {
        if (!converter_ || converter_->fromId() != fromId || converter_->toId() != toId) {
            converter_.emplace(fromId, toId);
        }
        std::string_view text(static_cast<const char*>(source.text), source.length);
        std::string converted = converter_->convert(text, substitute);
        if (converted.size() > UINT32_MAX) return 0;
        auto size = static_cast<uint32_t>(converted.size());
        if (destination.text != nullptr) {
            size = std::min(size, room);
            std::memcpy(destination.text, converted.data(), size);
        }
        return destination.length = size;
    } catch (const std::exception&) {
        return 0;  // no memory, or no such tables on this machine
    }
}

}  // namespace emlhost
