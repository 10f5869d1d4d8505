// Where decoders put their bytes. A sink is any type with
//     OutputSpan space();           room for at least one byte; none when the sink has failed
//     void commit(uint8_t* end);    the room up to `end` has been filled
#pragma once

#include <cstddef>
#include <cstdint>

namespace eml {

struct OutputSpan {
    uint8_t* begin;
    uint8_t* end;

    [[nodiscard]] size_t size() const { return static_cast<size_t>(end - begin); }
};

// One byte into the sink; false when the sink has failed.
template <class Sink>
[[nodiscard]] bool putByte(Sink& sink, uint8_t byte) {
    const OutputSpan space = sink.space();
    if (space.begin == space.end) return false;
    *space.begin = byte;
    sink.commit(space.begin + 1);
    return true;
}

}  // namespace eml
