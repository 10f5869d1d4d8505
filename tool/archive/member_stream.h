// The members of an archive as they come out of it, one after the other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tool/archive/byte_source.h"

namespace emltool {

struct MemberEvent {
    enum class Kind : uint8_t {
        kMember =
            1,  // one begins: `text` is its name; `offset` is where its bytes are in the file, if they are
                // there as they are
        kNoFile = 2,        // one that is a link to a file: its name
        kBytes = 3,         // more of the member: `text`
        kMemberEnd = 4,     // all of it has come
        kMemberFailed = 5,  // no more of it comes: `text` says why, `failure` too
        kFailed = 6,        // nothing more comes
        kEnd = 7            // that was all
    };
    enum class Failure : uint8_t { kDamaged = 0, kEncrypted = 1, kBomb = 2, kSystem = 3 };

    Kind kind = Kind::kEnd;
    Failure failure = Failure::kDamaged;
    std::string_view text;  // valid until the next event is asked for
    std::optional<uint64_t> offset;
    bool hasName = true;  // a file that is only compressed says none
    uint64_t read = 0;    // bytes of the archive so far
};

class MemberStream {
  public:
    using Got = ByteSource::Got;

    virtual ~MemberStream() = default;

    // kBytes: there is an event. Nothing follows kFailed and kEnd. Throws Problem.
    virtual Got next(MemberEvent& event) = 0;

    // After kLater: there is more when this can be read.
    virtual int descriptor() const = 0;
};

}  // namespace emltool
