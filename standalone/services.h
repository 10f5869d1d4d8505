// The services that the stand-alone host gives the library with every message.
#ifndef EMLREADER_STANDALONE_SERVICES_H
#define EMLREADER_STANDALONE_SERVICES_H

#include <emlreader/eml_host.h>

#include <cstdint>
#include <ctime>
#include <optional>

#include "standalone/charsets.h"
#include "standalone/heap.h"
#include "standalone/owned_record.h"

namespace emlhost {

// A date as storeDate writes it: seconds since 1970 as 64 bits, the low word first. Two zero words, which the
// library leaves for a message without a date, read as 0.
void storeDate(time_t seconds, uint32_t date[2]) noexcept;
int64_t dateFrom(const uint32_t date[2]) noexcept;

// An EmlHostServices record with every entry filled, and its two heaps: one for what the library keeps for
// itself, one for what it hands over to the host. Kept apart, each can be held against its own rule: when all
// contexts are closed the first has no live block, whatever the host still holds of the second.
//
// The object serves any number of contexts on one thread, and must outlive them. No entry lets an exception
// through to the library: an entry that cannot do its work answers as one that fails.
//
//     openFile       the file specification is a path, a zero-terminated const char *; gives an input as
//                    openInput does
//     convertText    from the charset in currentCharset to 16-bit text with the low byte first
//     convertTextFrom    from the charset given to the one in currentCharset
//     storeDate      see above
//
// Both conversions treat 0, "no known charset", as Western. In their second call the destination's length
// says how much room there is; what does not fit is dropped.
class Services {
  public:
    Services() noexcept;
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    // The record for the library.
    EmlHostServices* record() noexcept { return &record_; }

    // The record that goes with the calls that describe something. What they hand over is released with
    // hostRecord()->allocator, or by hostHeap().
    EmlHostRecord* hostRecord() noexcept { return &hostRecord_; }

    // The heap of the library's own blocks.
    CountingHeap& heap() noexcept { return heap_; }

    // The heap of what the library hands over.
    CountingHeap& hostHeap() noexcept { return hostHeap_; }

  private:
    using Record = OwnedRecord<EmlHostServices, Services>;

    static EmlIOobj* openFile(EmlHostServices* self, void* fileSpec) noexcept;
    static char* duplicateString(EmlHostServices* self, const char* text) noexcept;
    static uint32_t convertText(EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                                uint32_t form, uint32_t reserved) noexcept;
    static uint32_t convertTextFrom(EmlHostServices* self, uint32_t charset, EmlTextSpan* source,
                                    EmlTextSpan* destination, uint32_t substitute) noexcept;

    uint32_t convertSpan(uint32_t fromId, uint32_t toId, const EmlTextSpan& source, EmlTextSpan& destination,
                         uint32_t substitute) noexcept;

    CountingHeap heap_;
    CountingHeap hostHeap_;
    Record record_;
    EmlHostRecord hostRecord_;
    std::optional<Converter> converter_;  // the last one used: the next call usually needs the same
};

}  // namespace emlhost

#endif
