// Messages of many gigabytes that no disk holds: lines of filling, and a few texts at given offsets.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "exhaustive/every_input.h"
#include "support/recording_host.h"

namespace eml::test {

inline constexpr int64_t kGigabyte = int64_t{1} << 30;

class LargeMessage {
  public:
    // The filling has an empty line at the end of each `line` bytes, at most kMax.
    explicit LargeMessage(int64_t size, size_t line = kLine)
        : size_(size), line_(line), filling_(kMax + line, 'x') {
        for (size_t i = 0; i < filling_.size(); ++i) {
            if (i % line >= line - 2) filling_[i] = '\n';
        }
    }

    // `text` stands at `offset`, whatever stands there otherwise.
    void put(int64_t offset, std::string text) { texts_[offset] = std::move(text); }

    // Makes it the input of a host.
    void giveTo(RecordingHost& host) const {
        host.setSource(static_cast<uint64_t>(size_), [this](uint64_t offset, uint8_t* to, uint32_t count) {
            read(static_cast<int64_t>(offset), to, count);
        });
    }

    [[nodiscard]] int64_t size() const { return size_; }

    [[nodiscard]] std::string bytes(int64_t offset, uint32_t count) const {
        std::string text(count, '\0');
        read(offset, reinterpret_cast<uint8_t*>(text.data()), count);
        return text;
    }

    static constexpr size_t kMax = 1 << 12;

  private:
    static constexpr size_t kLine = 64;

    void read(int64_t offset, uint8_t* to, uint32_t count) const {
        for (uint32_t done = 0; done < count;) {
            const auto part = std::min<uint32_t>(count - done, kMax);
            std::memcpy(to + done, filling_.data() + static_cast<uint64_t>(offset + done) % line_, part);
            done += part;
        }
        auto text = texts_.upper_bound(offset);
        if (text != texts_.begin()) --text;
        for (; text != texts_.end() && text->first < offset + count; ++text) {
            const int64_t begin = std::max(offset, text->first);
            const int64_t end =
                std::min(offset + count, text->first + static_cast<int64_t>(text->second.size()));
            if (begin >= end) continue;
            std::memcpy(to + (begin - offset), text->second.data() + (begin - text->first),
                        static_cast<size_t>(end - begin));
        }
    }

    int64_t size_;
    size_t line_;
    std::map<int64_t, std::string> texts_;
    std::string filling_;
};

// A boundary that a search passes in large steps.
[[nodiscard]] inline std::string longBoundary() { return std::string(60, '=') + "boundary"; }

[[nodiscard]] inline HostOptions largeInputOptions() {
    HostOptions options;
    options.scribble = false;
    return options;
}

}  // namespace eml::test
