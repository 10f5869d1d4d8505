// A message opened with the message filter, for C++. A program that uses this links emlreader too.
#ifndef EMLREADER_STANDALONE_FILTER_H
#define EMLREADER_STANDALONE_FILTER_H

#include <emlreader/eml.h>

#include <cstdint>
#include <span>

#include "standalone/input.h"
#include "standalone/services.h"

namespace emlhost {

// An open filter, and one conversion at a time. The input and the services must outlive it.
//
//     MessageFilter filter(input, services);
//     std::vector<uint8_t> buffer(65536);
//     while (!filter.finished()) walk(filter.fill(buffer));
class MessageFilter {
  public:
    MessageFilter(Input& input, Services& services, uint32_t openFlags = 0) noexcept;
    ~MessageFilter();
    MessageFilter(const MessageFilter&) = delete;
    MessageFilter& operator=(const MessageFilter&) = delete;

    // Of the open, then of the last fill.
    EmlResult status() const noexcept { return status_; }
    bool usable() const noexcept { return context_ != nullptr; }

    // The context, for calls that have no method here; NULL when not usable. This object keeps it.
    EmlFilterContext* context() noexcept { return context_; }

    // Restarts the conversion. Without fields neither header fields nor attachment names are written.
    void restart(bool withFields = true) noexcept;

    // The next records, in `buffer`; 256 bytes or more. An encrypted message has records too, since its
    // fields can be shown.
    std::span<const uint8_t> fill(std::span<uint8_t> buffer) noexcept;

    // The share of the body that has been converted, 0 to 100.
    uint32_t progress() const noexcept { return progress_; }

    // Nothing follows: the conversion is complete, or it has failed. A buffer that is too small for the next
    // record ends the conversion too.
    bool finished() const noexcept { return finished_; }

  private:
    static constexpr int kMaxEmptyFills = 3;

    EmlResult status_ = EML_OK;
    EmlFilterContext* context_;
    uint32_t progress_ = 0;
    uint32_t fillFlags_ = EML_FILL_RESTART;  // of the next fill
    int emptyFills_ = 0;
    bool finished_ = false;
};

}  // namespace emlhost

#endif
