// A part of a stream of bytes, in files without names: what has come and is still needed.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>

#include "tool/archive/mbox.h"
#include "tool/archive/message_source.h"

namespace emltool {

// Bytes in a file.
struct StoredPiece {
    SharedFile file;
    uint64_t offset = 0;
};

// Positions count from the beginning of the stream. The files are small, so that the disk has no more than what is
// needed, and whoever holds one of them keeps it.
class SpoolWindow {
  public:
    // Throws Problem if there is no room.
    void append(std::string_view bytes);

    // Where the next byte goes.
    uint64_t end() const { return end_; }

    // Copies what is there from `position` on, and returns how much that is. It must not have been released.
    size_t read(uint64_t position, std::span<char> room) const;

    // What is before `position` is not needed any more.
    void releaseBefore(uint64_t position);

    // These bytes in one file.
    StoredPiece piece(uint64_t position, uint64_t length);

    // Bytes in all files of this window that somebody holds, and in those that only others hold.
    uint64_t heldBytes() const { return *held_; }
    uint64_t heldByOthers() const;

  private:
    // A file, and what it counts for.
    struct Chunk {
        explicit Chunk(std::shared_ptr<uint64_t> counter);
        ~Chunk();
        Chunk(const Chunk&) = delete;
        Chunk& operator=(const Chunk&) = delete;
        void append(std::string_view bytes);

        emlhost::UniqueDescriptor file;
        uint64_t size = 0;
        std::shared_ptr<uint64_t> held;
    };
    struct Place {
        uint64_t begin;
        std::shared_ptr<Chunk> chunk;
    };

    static SharedFile fileOf(const std::shared_ptr<Chunk>& chunk);
    const Place& placeOf(uint64_t position) const;

    std::deque<Place> places_;  // one after the other
    uint64_t end_ = 0;
    std::shared_ptr<uint64_t> held_ = std::make_shared<uint64_t>(0);
};

}  // namespace emltool
