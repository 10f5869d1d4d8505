// Files in TNEF (winmail.dat), the format that some mail systems wrap attachments in. The reader of it is a
// library that has seen less of hostile bytes than it should have, so it works isolated (isolated_work.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// One file. The bytes stay those of the TnefContent.
struct TnefFile {
    std::string name;  // UTF-8; not safe as a path
    std::string type;  // "message/rfc822"; empty when it is not known
    std::span<const uint8_t> bytes;
};

struct TnefContent {
    std::vector<TnefFile> files;
    std::string problem;  // why there is nothing, or not everything; empty when all is well
    std::vector<uint8_t> storage;
};

// Whether this program has been built with the library.
bool readsTnef();

// Whether bytes that begin so are TNEF.
bool beginsTnef(std::span<const uint8_t> bytes);

// The attributes that a TNEF is made of, without those that hold nothing: the library goes no further than to
// the first of them. `breaksOff` says whether the last one claims more than there is; it is left out.
std::vector<uint8_t> withoutEmptyAttributes(std::span<const uint8_t> bytes, bool& breaksOff);

// Larger ones are not unpacked.
inline constexpr uint64_t kMaxTnefSize = uint64_t{256} << 20;

// So many files of one TNEF are unpacked.
inline constexpr size_t kMaxTnefFiles = 10000;

// Gives what it has found; writes to the other process as it goes.
class TnefSink {
  public:
    explicit TnefSink(int descriptor) : descriptor_(descriptor) {}

    // `name` is UTF-8, or in the code page of the whole.
    void file(std::string_view name, bool isUtf8, std::string_view type, std::span<const uint8_t> bytes);

    // No file follows. `complete` where the TNEF ended as it should. True when everything has been written.
    bool end(uint32_t codePage, bool complete);

  private:
    void put(std::span<const uint8_t> bytes);
    void put(std::string_view text);

    int descriptor_;
    bool failed_ = false;
};

// Reads TNEF, and gives what end() gave; runs in a process of its own.
using TnefReader = bool (*)(std::span<const uint8_t> bytes, TnefSink& sink);

// The reader of the library. Finds nothing where readsTnef() is false.
bool readTnefWithLibrary(std::span<const uint8_t> bytes, TnefSink& sink);

// The files of a TNEF.
TnefContent unpackTnef(std::span<const uint8_t> bytes, TnefReader reader = readTnefWithLibrary);

// The same from what a TnefSink has written; `maxBytes` is the limit of all files together.
TnefContent parseTnefReply(std::vector<uint8_t> reply, uint64_t maxBytes);

}  // namespace emltool
