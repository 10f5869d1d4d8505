// Output objects over memory.
#include <cstring>

#include "check.h"
#include "host.h"

namespace fuzz {

namespace {

Output& outputOf(EmlIOobj* self) { return *reinterpret_cast<Output*>(self); }

uint32_t writeOutput(EmlIOobj* self, const void* buffer, uint32_t count) {
    Output& output = outputOf(self);
    require(output.opens > output.closes, "only an open output is written");
    const std::string_view bytes(static_cast<const char*>(buffer), count);
    output.host->transcript().add(bytes);
    if (output.host->note(Call::kOutputWrite, count)) return 0;
    const auto at = static_cast<size_t>(output.position);
    if (output.bytes.size() < at + count) output.bytes.resize(at + count);
    output.bytes.replace(at, count, bytes);
    output.position += count;
    return count;
}

int32_t seekOutput(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    Output& output = outputOf(self);
    if (output.host->note(Call::kOutputSeek, low)) return 0;
    require(low == 0 && high == 0, "an output is rewound, or sought at its end");
    output.position = origin == EML_SEEK_END ? output.bytes.size() : 0;
    return 1;
}

}  // namespace

void Host::bindOutput(Output& output) {
    std::memset(&output.record, plan_.pattern, sizeof output.record);
    output.host = this;
    EmlIOobj& io = output.record;
    io.open = [](EmlIOobj* self) -> int32_t {
        if (outputOf(self).host->note(Call::kOutputOpen)) return 0;
        ++outputOf(self).opens;
        return 1;
    };
    io.read = nullptr;
    io.write = &writeOutput;
    io.seek = &seekOutput;
    io.tell = [](EmlIOobj* self) -> int64_t {
        const Output& one = outputOf(self);
        return one.host->note(Call::kOutputTell) ? -1 : static_cast<int64_t>(one.position);
    };
    io.close = [](EmlIOobj* self) -> int32_t {
        ++outputOf(self).closes;
        return outputOf(self).host->note(Call::kOutputClose) ? 0 : 1;
    };
    io.release = [](EmlIOobj* self) { ++outputOf(self).releases; };
    if (!plan_.missing) return;
    if (plan_.failing == Call::kOutputOpen) io.open = nullptr;
    if (plan_.failing == Call::kOutputWrite) io.write = nullptr;
    if (plan_.failing == Call::kOutputSeek) io.seek = nullptr;
    if (plan_.failing == Call::kOutputTell) io.tell = nullptr;
    if (plan_.failing == Call::kOutputClose) io.close = nullptr;
}

}  // namespace fuzz
