#include "tool/archive/spool_window.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include "standalone/unnamed_file.h"
#include "standalone/write_all.h"
#include "tool/system/temporary_files.h"

namespace emltool {

namespace {

constexpr uint64_t kChunk = uint64_t{8} << 20;

[[noreturn]] void failOnFile(int failure) { throw temporaryFileProblem({failure, std::system_category()}); }

size_t readFrom(int file, uint64_t offset, std::span<char> room) {
    for (;;) {
        const ssize_t got = ::pread(file, room.data(), room.size(), static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failOnFile(errno);
        return static_cast<size_t>(got);
    }
}

}  // namespace

SpoolWindow::Chunk::Chunk(std::shared_ptr<uint64_t> counter)
    : file(emlhost::createUnnamedFile()), held(std::move(counter)) {
    if (!file.valid()) failOnFile(errno);
}

SpoolWindow::Chunk::~Chunk() { *held -= size; }

void SpoolWindow::Chunk::append(std::string_view bytes) {
    const std::span<const uint8_t> data(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    if (const int failure = emlhost::writeAllAt(file.get(), size, data)) failOnFile(failure);
    size += bytes.size();
    *held += bytes.size();
}

SharedFile SpoolWindow::fileOf(const std::shared_ptr<Chunk>& chunk) { return {chunk, &chunk->file}; }

void SpoolWindow::append(std::string_view bytes) {
    while (!bytes.empty()) {
        if (places_.empty() || places_.back().chunk->size >= kChunk)
            places_.push_back({end_, std::make_shared<Chunk>(held_)});
        Chunk& chunk = *places_.back().chunk;
        const auto room = static_cast<size_t>(kChunk - chunk.size);
        const std::string_view part = bytes.substr(0, room);
        chunk.append(part);
        end_ += part.size();
        bytes.remove_prefix(part.size());
    }
}

// The last one that begins at `position` or before it.
const SpoolWindow::Place& SpoolWindow::placeOf(uint64_t position) const {
    const auto after =
        std::upper_bound(places_.begin(), places_.end(), position,
                         [](uint64_t wanted, const Place& place) { return wanted < place.begin; });
    if (after == places_.begin())
        throw Problem(ExitCode::kInternal, "internal", "", "bytes that were given up");
    return *std::prev(after);
}

size_t SpoolWindow::read(uint64_t position, std::span<char> room) const {
    if (places_.empty() || position < places_.front().begin || position >= end_) return 0;
    const Place& place = placeOf(position);
    const uint64_t offset = position - place.begin;
    const uint64_t there = place.chunk->size - offset;
    return readFrom(place.chunk->file.get(), offset,
                    room.first(static_cast<size_t>(std::min<uint64_t>(there, room.size()))));
}

// The last one stays, also if nothing in it is needed: what comes goes there.
void SpoolWindow::releaseBefore(uint64_t position) {
    while (places_.size() > 1 && places_[1].begin <= position) places_.pop_front();
}

StoredPiece SpoolWindow::piece(uint64_t position, uint64_t length) {
    if (places_.empty()) places_.push_back({end_, std::make_shared<Chunk>(held_)});
    const Place& place = placeOf(position);
    const uint64_t offset = position - place.begin;
    if (length <= place.chunk->size - offset) return {fileOf(place.chunk), offset};
    // What lies in two files, or more, gets one of its own.
    constexpr size_t kBlock = size_t{256} << 10;
    auto own = std::make_shared<Chunk>(held_);
    std::string block(kBlock, '\0');
    while (length > 0) {
        const auto wanted = static_cast<size_t>(std::min<uint64_t>(length, block.size()));
        const size_t got = read(position, {block.data(), wanted});
        if (got == 0) break;
        own->append({block.data(), got});
        position += got;
        length -= got;
    }
    return {fileOf(own), 0};
}

uint64_t SpoolWindow::heldByOthers() const {
    uint64_t own = 0;
    for (const Place& place : places_) own += place.chunk->size;
    return *held_ - own;
}

}  // namespace emltool
