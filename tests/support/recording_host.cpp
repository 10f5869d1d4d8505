#include "support/recording_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace eml::test {
namespace {

constexpr HeapEntries kServicesEntries = {Entry::kAllocate, Entry::kReallocate, Entry::kAllocateZeroed,
                                          Entry::kFree};
constexpr HeapEntries kRecordEntries = {Entry::kRecordAllocate, Entry::kRecordReallocate,
                                        Entry::kRecordAllocateZeroed, Entry::kRecordFree};

// The host's own heap is no entry of the library's, so no call of it is counted.
constexpr HeapEntries kOwnEntries = kServicesEntries;

ReadStyle styleOf(Way way) {
    switch (way) {
        case Way::kOneByte:
            return ReadStyle::kOneByte;
        case Way::kHalf:
            return ReadStyle::kHalf;
        case Way::kTooMuch:
            return ReadStyle::kMoreThanAsked;
        default:
            return ReadStyle::kMinusOne;
    }
}

// The conversion of this host: every byte becomes one 16-bit unit, low byte first.
uint32_t widen(const EmlTextSpan& source, EmlTextSpan& destination) {
    const uint32_t needed = source.length * 2;
    if (destination.text != nullptr) {
        const auto* from = static_cast<const uint8_t*>(source.text);
        auto* to = static_cast<uint8_t*>(destination.text);
        for (uint32_t i = 0; i < source.length && i * 2 + 1 < destination.length; ++i) {
            to[i * 2] = from[i];
            to[i * 2 + 1] = 0;
        }
    }
    destination.length = needed;
    return 1;
}

// A conversion that fails: it gives nothing, half of what it should, or claims more than there is room for.
uint32_t convertBadly(const EmlTextSpan& source, EmlTextSpan& destination, Way way) {
    if (way == Way::kHalf || way == Way::kTooMuch) (void)widen(source, destination);
    destination.length = way == Way::kHalf      ? destination.length / 2
                         : way == Way::kTooMuch ? destination.length * 2 + 7
                                                : 0;
    return 0;
}

}  // namespace

RecordingHost::RecordingHost(std::string_view message, HostOptions options)
    : options_(options),
      heap_(journal_, kServicesEntries, options.heapMode, options.freshByte),
      recordHeap_(journal_, kRecordEntries, options.heapMode, options.freshByte),
      ownHeap_(journal_, kOwnEntries, options.heapMode, options.freshByte),
      recordAllocator_(ownHeap_),
      record_(ownHeap_),
      input_(ownHeap_),
      services_(ownHeap_),
      message_(message),
      size_(message.size()) {
    recordHeap_.bind(*recordAllocator_);
    *record_ = {1, &*recordAllocator_};
    bindInput();
    bindServices();
}

RecordingHost::~RecordingHost() {
    const std::string text = complaints();
    if (!text.empty()) ADD_FAILURE() << "the host complains:\n" << text;
}

void RecordingHost::bindInput() {
    EmlIOobj& io = input();
    std::memset(&io, kHostOwnedFill, sizeof io);
    input_->host = this;
    io.open = &RecordingHost::inputOpenEntry;
    io.read = &RecordingHost::inputReadEntry;
    io.write = &RecordingHost::inputWriteEntry;
    io.seek = &RecordingHost::inputSeekEntry;
    io.tell = &RecordingHost::inputTellEntry;
    io.close = &RecordingHost::inputCloseEntry;
    io.release = &RecordingHost::inputReleaseEntry;
    std::memcpy(&inputImage_, &io, sizeof io);
}

void RecordingHost::bindServices() {
    EmlHostServices& services = this->services();
    std::memset(&services, kHostOwnedFill, sizeof services);
    services_->host = this;
    heap_.bind(services.allocator);
    services.openFile = &RecordingHost::openFileEntry;
    services.duplicateString = &RecordingHost::duplicateEntry;
    services.convertText = &RecordingHost::convertEntry;
    services.convertTextFrom = &RecordingHost::convertFromEntry;
    services.isLeadByte = &RecordingHost::isLeadByteEntry;
    services.resetCharset = &RecordingHost::resetCharsetEntry;
    services.storeDate = &RecordingHost::storeDateEntry;
    services.currentCharset = 0;
    services.lastError = EML_OK;
    std::memcpy(&servicesImage_, &services, sizeof services);
}

void RecordingHost::remove(Entry entry) {
    EmlIOobj& io = input();
    EmlHostServices& services = this->services();
    switch (entry) {
        case Entry::kAllocate:
            services.allocator.allocate = nullptr;
            break;
        case Entry::kReallocate:
            services.allocator.reallocate = nullptr;
            break;
        case Entry::kAllocateZeroed:
            services.allocator.allocateZeroed = nullptr;
            break;
        case Entry::kFree:
            services.allocator.free = nullptr;
            break;
        case Entry::kDuplicateString:
            services.duplicateString = nullptr;
            break;
        case Entry::kConvertText:
            services.convertText = nullptr;
            break;
        case Entry::kConvertTextFrom:
            services.convertTextFrom = nullptr;
            break;
        case Entry::kOpenFile:
            services.openFile = nullptr;
            break;
        case Entry::kIsLeadByte:
            services.isLeadByte = nullptr;
            break;
        case Entry::kResetCharset:
            services.resetCharset = nullptr;
            break;
        case Entry::kStoreDate:
            services.storeDate = nullptr;
            break;
        case Entry::kRecordAllocate:
            recordAllocator_->allocate = nullptr;
            break;
        case Entry::kRecordReallocate:
            recordAllocator_->reallocate = nullptr;
            break;
        case Entry::kRecordAllocateZeroed:
            recordAllocator_->allocateZeroed = nullptr;
            break;
        case Entry::kRecordFree:
            recordAllocator_->free = nullptr;
            break;
        case Entry::kInputOpen:
            io.open = nullptr;
            break;
        case Entry::kInputRead:
            io.read = nullptr;
            break;
        case Entry::kInputSeek:
            io.seek = nullptr;
            break;
        case Entry::kInputTell:
            io.tell = nullptr;
            break;
        case Entry::kInputClose:
            io.close = nullptr;
            break;
        default:
            ADD_FAILURE() << "not an entry of the host: " << entryName(entry);
    }
    std::memcpy(&inputImage_, &io, sizeof io);
    std::memcpy(&servicesImage_, &services, sizeof services);
}

void RecordingHost::setSource(uint64_t size, InputSource source) {
    size_ = size;
    source_ = std::move(source);
}

void RecordingHost::extendTo(uint64_t size, uint64_t lineLength) {
    size_ = size;
    lineLength_ = lineLength;
}

std::string RecordingHost::complaints() const {
    std::string text;
    for (const std::string& violation : journal_.violations()) text += violation + "\n";
    if (!liveBlocksAllowed_ && heap_.liveBlocks() != 0) {
        text += std::to_string(heap_.liveBlocks()) + " blocks of the services' allocator are still live\n";
    }
    if (!liveBlocksAllowed_ && recordHeap_.liveBlocks() != 0) {
        text +=
            std::to_string(recordHeap_.liveBlocks()) + " blocks of the record's allocator are still live\n";
    }
    EmlHostServices services;
    std::memcpy(&services, &services_->record, sizeof services);
    services.currentCharset = servicesImage_.currentCharset;
    services.lastError = servicesImage_.lastError;
    if (std::memcmp(&services, &servicesImage_, sizeof services) != 0) {
        text += "a field of the services record that is the host's own was changed\n";
    }
    if (std::memcmp(&input_->record, &inputImage_, sizeof inputImage_) != 0)
        text += "the input record was changed\n";
    return text;
}

RecordingHost& RecordingHost::of(EmlIOobj* self) {
    void* const record = self;
    void* const bound = static_cast<uint8_t*>(record) - offsetof(BoundInput, record);
    return *static_cast<BoundInput*>(bound)->host;
}

RecordingHost& RecordingHost::of(EmlHostServices* self) {
    void* const record = self;
    void* const bound = static_cast<uint8_t*>(record) - offsetof(BoundServices, record);
    return *static_cast<BoundServices*>(bound)->host;
}

void RecordingHost::checkInputUse(const char* entry) {
    if (!inputOpen_) journal_.violation(std::string(entry) + " of an input that is not open");
}

int32_t RecordingHost::inputOpenEntry(EmlIOobj* self) {
    RecordingHost& host = of(self);
    if (host.journal_.note(Entry::kInputOpen)) return 0;
    if (host.inputOpen_) host.journal_.violation("the input was opened twice");
    host.inputOpen_ = true;
    return 1;
}

void RecordingHost::deliver(uint8_t* buffer, uint32_t count) {
    auto offset = static_cast<uint64_t>(position_);
    position_ += count;
    bytesRead_ += count;
    if (source_) {
        source_(offset, buffer, count);
        return;
    }
    const size_t ofMessage =
        offset < message_.size() ? std::min<size_t>(count, message_.size() - static_cast<size_t>(offset)) : 0;
    if (ofMessage != 0) std::memcpy(buffer, message_.data() + static_cast<size_t>(offset), ofMessage);
    std::memset(buffer + ofMessage, 'x', count - ofMessage);
    if (lineLength_ == 0) return;
    const uint64_t behindMessage = offset + ofMessage;
    uint64_t lineEnd = (behindMessage + lineLength_ - 1) / lineLength_ * lineLength_;
    for (; lineEnd < offset + count; lineEnd += lineLength_)
        buffer[static_cast<size_t>(lineEnd - offset)] = '\n';
}

int32_t RecordingHost::readInput(void* buffer, uint32_t count, ReadStyle style) {
    const size_t room = heap_.roomAt(buffer);
    if (room < count) {
        journal_.violation("a read asks for more than its block has room for");
        return 0;
    }
    auto* bytes = static_cast<uint8_t*>(buffer);
    if (options_.scribble) std::memset(bytes, options_.freshByte, count);
    uint64_t wanted = count;
    if (style == ReadStyle::kMinusOne) return -1;
    if (style == ReadStyle::kOneByte) wanted = 1;
    if (style == ReadStyle::kHalf) wanted = (wanted + 1) / 2;
    wanted = std::min<uint64_t>(wanted, options_.mostDelivered);
    const uint64_t left =
        static_cast<uint64_t>(position_) < size_ ? size_ - static_cast<uint64_t>(position_) : 0;
    const auto delivered = static_cast<uint32_t>(std::min(wanted, left));
    if (delivered != 0) deliver(bytes, delivered);
    if (style == ReadStyle::kMoreThanAsked && delivered == count) return INT32_MAX;
    return static_cast<int32_t>(delivered);
}

int32_t RecordingHost::inputReadEntry(EmlIOobj* self, void* buffer, uint32_t count) {
    RecordingHost& host = of(self);
    host.checkInputUse("read");
    if (buffer == nullptr || count == 0) host.journal_.violation("a read of nothing");
    if (count > host.options_.largestRead)
        host.journal_.violation("a read of more than " + std::to_string(host.options_.largestRead) +
                                " bytes");
    const bool fails = host.journal_.note(Entry::kInputRead);
    const Way way = host.journal_.way(Entry::kInputRead);
    if (buffer == nullptr || (fails && way == Way::kPlain)) return 0;
    return host.readInput(buffer, count, fails ? styleOf(way) : host.options_.readStyle);
}

uint32_t RecordingHost::inputWriteEntry(EmlIOobj* self, const void* /*buffer*/, uint32_t /*count*/) {
    of(self).journal_.violation("the input was written to");
    return 0;
}

int32_t RecordingHost::inputSeekEntry(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    RecordingHost& host = of(self);
    host.checkInputUse("seek");
    if (origin != EML_SEEK_START && origin != EML_SEEK_END)
        host.journal_.violation("a seek from another origin");
    if (host.journal_.note(Entry::kInputSeek)) return 0;
    const int64_t base = origin == EML_SEEK_END ? static_cast<int64_t>(host.size_) : 0;
    const int64_t target = base + joinOffset(low, high);
    if (target < 0) {
        host.journal_.violation("a seek before the start");
        return 0;
    }
    host.position_ = target;
    return 1;
}

int64_t RecordingHost::inputTellEntry(EmlIOobj* self) {
    RecordingHost& host = of(self);
    host.checkInputUse("tell");
    if (host.journal_.note(Entry::kInputTell)) return tellBadly(host.journal_.way(Entry::kInputTell));
    return host.reportedSize_ >= 0 ? host.reportedSize_ : host.position_;
}

int32_t RecordingHost::inputCloseEntry(EmlIOobj* self) {
    RecordingHost& host = of(self);
    if (!host.options_.closesAnyInput) host.checkInputUse("close");
    if (host.inputClosed_ && !host.options_.inputIsGiven)
        host.journal_.violation("the input was closed twice");
    host.inputOpen_ = false;
    host.inputClosed_ = true;
    return host.journal_.note(Entry::kInputClose) ? 0 : 1;
}

void RecordingHost::inputReleaseEntry(EmlIOobj* self) {
    RecordingHost& host = of(self);
    if (!host.options_.inputIsGiven) host.journal_.violation("an input that the host gave was released");
    if (++host.inputReleases_ != 1) host.journal_.violation("the input was released twice");
}

EmlIOobj* RecordingHost::openFileEntry(EmlHostServices* self, void* fileSpec) {
    // A file specification of this host is the object itself.
    return of(self).journal_.note(Entry::kOpenFile) ? nullptr : static_cast<EmlIOobj*>(fileSpec);
}

char* RecordingHost::duplicateEntry(EmlHostServices* self, const char* text) {
    RecordingHost& host = of(self);
    if (host.journal_.note(Entry::kDuplicateString)) return nullptr;
    const size_t size = std::strlen(text) + 1;
    void* copy = host.heap_.take(size);
    if (copy != nullptr) std::memcpy(copy, text, size);
    return static_cast<char*>(copy);
}

uint32_t RecordingHost::convertEntry(EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                                     uint32_t form, uint32_t /*reserved*/) {
    RecordingHost& host = of(self);
    if (form != EML_CONVERT_FORM) host.journal_.violation("convertText with another form");
    if (host.journal_.note(Entry::kConvertText)) {
        return convertBadly(*source, *destination, host.journal_.way(Entry::kConvertText));
    }
    return widen(*source, *destination);
}

uint32_t RecordingHost::convertFromEntry(EmlHostServices* self, uint32_t /*charset*/, EmlTextSpan* source,
                                         EmlTextSpan* destination, uint32_t substitute) {
    RecordingHost& host = of(self);
    if (substitute != EML_CONVERT_SUBSTITUTE)
        host.journal_.violation("convertTextFrom with another substitute");
    if (host.journal_.note(Entry::kConvertTextFrom)) {
        return convertBadly(*source, *destination, host.journal_.way(Entry::kConvertTextFrom));
    }
    return widen(*source, *destination);
}

int32_t RecordingHost::isLeadByteEntry(EmlHostServices* self, uint32_t byte, uint32_t charset) {
    (void)of(self).journal_.note(Entry::kIsLeadByte);
    return charset >= EML_CHARSET_SHIFT_JIS && charset <= EML_CHARSET_KSC_5601 && byte >= 0x81 ? 1 : 0;
}

void RecordingHost::resetCharsetEntry(EmlHostServices* self, uint32_t /*reserved*/) {
    (void)of(self).journal_.note(Entry::kResetCharset);
}

void RecordingHost::storeDateEntry(time_t seconds, void* destination) {
    const auto value = static_cast<int64_t>(seconds);
    const uint32_t words[2] = {static_cast<uint32_t>(value & 0xFFFFFFFF), static_cast<uint32_t>(value >> 32)};
    std::memcpy(destination, words, sizeof words);
}

}  // namespace eml::test
