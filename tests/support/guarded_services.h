// The stand-alone host's services with a heap of the tests in them, so that what the library allocates for
// itself ends at an unreadable page in guarded mode.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "standalone/services.h"
#include "support/tracked_heap.h"

namespace eml::test {

class GuardedServices {
  public:
    GuardedServices()
        : heap_(journal_, {Entry::kAllocate, Entry::kReallocate, Entry::kAllocateZeroed, Entry::kFree},
                defaultHeapMode()) {
        heap_.bind(services_.record()->allocator);
        services_.record()->duplicateString = &GuardedServices::duplicate;
    }
    ~GuardedServices() {
        EXPECT_EQ(heap_.liveBlocks(), 0U) << "blocks of the services' allocator are still live";
        for (const std::string& text : journal_.violations()) ADD_FAILURE() << text;
    }
    GuardedServices(const GuardedServices&) = delete;
    GuardedServices& operator=(const GuardedServices&) = delete;

    [[nodiscard]] emlhost::Services& services() { return services_; }
    [[nodiscard]] TrackedHeap& heap() { return heap_; }

  private:
    static char* duplicate(EmlHostServices* self, const char* text) {
        EmlAllocator& allocator = self->allocator;
        const size_t size = std::strlen(text) + 1;
        void* const copy = allocator.allocate(&allocator, static_cast<uint32_t>(size));
        return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
    }

    Journal journal_;
    TrackedHeap heap_;
    emlhost::Services services_;
};

}  // namespace eml::test
