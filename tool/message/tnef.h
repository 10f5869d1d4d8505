// What is in TNEF (winmail.dat), the format that some mail systems wrap messages in: the message's own text and
// properties, and its files. It is read by a library that has been tested too little with hostile input, so the library
// runs in isolation (system/isolated_work.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/message/reply_frames.h"

namespace emltool {

// One file. The bytes belong to the TnefContent.
struct TnefFile {
    std::string name;  // UTF-8; not safe as a path
    std::string type;  // "message/rfc822"; empty when it is not known
    std::span<const uint8_t> bytes;
};

// Texts are UTF-8; empty where the TNEF does not have them. A message has `text`, `html`, `rtf` or several of
// them, which say the same. They are the sender's: nothing in them is safe for a terminal or a page.
struct TnefContent {
    std::string subject;
    std::string from;  // "name <address>", or one of them
    std::string to;    // names, separated by "; "
    std::string cc;
    std::string sent;          // "2025-03-04T08:15:22+00:00" (RFC 3339)
    std::string text;          // lines end with LF
    std::string html;          // whatever charset it claims
    std::vector<uint8_t> rtf;  // unpacked: for rtfToText and htmlInRtf
    std::vector<TnefFile> files;
    std::string problem;  // why nothing, or not everything, was read; empty if all was
    std::vector<uint8_t> storage;
};

// Why the library is not there: the program has been built without it, or it cannot be loaded. Empty if it is there.
std::string tnefLack();

inline bool readsTnef() { return tnefLack().empty(); }

// Whether bytes with this beginning are TNEF.
bool beginsTnef(std::span<const uint8_t> bytes);

// The attributes of a TNEF without the empty ones, since the library stops at the first empty one.
// `breaksOff` says whether the last one claims more bytes than there are; it is dropped.
std::vector<uint8_t> withoutEmptyAttributes(std::span<const uint8_t> bytes, bool& breaksOff);

// The content of the first attribute of the message itself whose name and type are `id` (MS-OXTNEF section
// 2.1.3.3); empty without one. What the library gives for some of them, it has made up from properties, with
// bytes that it never set.
std::span<const uint8_t> tnefAttribute(std::span<const uint8_t> bytes, uint32_t id);

// Larger ones are not unpacked.
inline constexpr uint64_t kMaxTnefSize = uint64_t{256} << 20;

// At most this many files of one TNEF are unpacked.
inline constexpr size_t kMaxTnefFiles = 10000;

// What a TNEF says about the message itself.
enum class TnefProperty : uint32_t {
    kSubject,
    kSenderName,
    kSenderAddress,
    kTo,
    kCc,
    kText,
    kHtml,
    kPackedRtf,
    kSent,  // eight bytes: tenths of microseconds since 1601, the lowest first
};
inline constexpr uint32_t kTnefProperties = 9;

// The charset of a property in the code page of the TNEF.
inline constexpr uint32_t kTnefCodePage = 0;
inline constexpr uint32_t kUtf8CodePage = 65001;

// Takes what was found and writes it to the other process at once.
class TnefSink {
  public:
    explicit TnefSink(int descriptor) : writer_(descriptor) {}

    // `name` is in UTF-8, or in the code page of the TNEF.
    void file(std::string_view name, bool isUtf8, std::string_view type, std::span<const uint8_t> bytes);

    // Each property at most once. `codePage` is that of a text.
    void property(TnefProperty property, uint32_t codePage, std::span<const uint8_t> bytes);

    // Nothing follows. `complete` if the TNEF ended as it should. True if everything has been written.
    bool end(uint32_t codePage, bool complete);

  private:
    ReplyWriter writer_;
};

// Reads TNEF and returns the result of end(); runs in a process of its own.
using TnefReader = bool (*)(std::span<const uint8_t> bytes, TnefSink& sink);

// Reads with the library. Finds nothing if readsTnef() is false.
bool readTnefWithLibrary(std::span<const uint8_t> bytes, TnefSink& sink);

// The content of a TNEF.
TnefContent unpackTnef(std::span<const uint8_t> bytes, TnefReader reader = readTnefWithLibrary);

// The same from what a TnefSink has written; `maxBytes` is the limit of all files together, and half that of all
// properties.
TnefContent parseTnefReply(std::vector<uint8_t> reply, uint64_t maxBytes);

}  // namespace emltool
