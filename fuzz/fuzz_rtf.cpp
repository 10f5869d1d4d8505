// RTF bodies on their way into an output: packed, stored and plain, against tests/reference, which also packs
// texts for round trips.
#include <algorithm>
#include <cstring>

#include "check.h"
#include "choices.h"
#include "container/packed_rtf.h"
#include "container/rtf_body.h"
#include "host.h"
#include "reference/packed_rtf.h"

namespace {

using namespace fuzz;
using reference::bytesOf;

// Unpacks into a block of exactly the room that is promised.
void holdUnpacking(const Bytes& body) {
    if (body.size() <= eml::kPackedRtfHeaderSize) return;
    const Exact block(reference::textOf(body));
    const eml::PackedRtf packed = eml::readPackedRtfHeader({block.begin(), block.end()});
    if (packed.kind != eml::PackedRtfKind::kCompressed) return;
    const uint64_t limit = eml::unpackedLimit(packed);
    require(limit <= 8 * (body.size() - eml::kPackedRtfHeaderSize) + 16, "a claim is not believed");
    const auto size = static_cast<size_t>(limit + eml::kRtfDictionarySize);
    const std::unique_ptr<uint8_t[]> room(new uint8_t[size]);
    std::fill(room.get(), room.get() + size, uint8_t{0xA5});
    const uint64_t length = eml::unpackRtf(packed, room.get(), limit);
    require(length <= limit, "a text is no longer than its limit");
    const uint8_t* const text = room.get() + eml::kRtfDictionarySize;
    requireSame(reference::textOfRtfBody(body), Bytes(text, text + length), "packed RTF");
}

// What a body adds to an output that holds `before`, on a host as the plan has it.
std::string written(const Plan& plan, const Bytes& body, const std::string& before) {
    Host host(plan, {}, 100000);
    Output output;
    host.bindOutput(output);
    output.opens = 1;
    output.bytes = before;
    output.position = before.size();
    const Exact block(reference::textOf(body));
    eml::writeRtfBody(host.services().allocator, block.begin(), static_cast<uint32_t>(block.size()),
                      output.record);
    host.requireNothingLive();
    return output.bytes.substr(before.size());
}

void holdWriting(const Plan& plan, const Bytes& body, bool behindHeader) {
    const std::string got = written(plan, body, behindHeader ? "{\\rtf1 header" : "");
    if (plan.failing != Call::kNone) return;
    std::string expected = reference::textOf(reference::textOfRtfBody(body));
    // After a header block the text continues in the block's group.
    if (behindHeader && expected.size() > 5) {
        std::string start = expected.substr(0, 6);
        for (char& letter : start)
            if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + 32);
        if (start == "{\\rtf1") expected.erase(0, 1);
    }
    requireSame<std::string_view>(expected, got, "an RTF body as it is written");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kHead = 4;
    Choices choices(data, size, kHead);
    const uint8_t form = choices.byte();
    Plan plan;
    const uint8_t failing = choices.byte();
    constexpr Call kFailing[] = {Call::kNone,       Call::kNone,        Call::kAllocate,
                                 Call::kOutputTell, Call::kOutputWrite, Call::kReallocate};
    plan.failing = kFailing[failing % std::size(kFailing)];
    plan.missing = (failing & 0x80) != 0;
    plan.failsOnwards = true;
    Bytes body = bytesOf(choices.restText());
    switch (form % 4) {
        case 1:  // only the tokens, after a header that claims this much
        {
            const uint32_t claim = 64U * choices.byte();
            Bytes packed = reference::packedRtfHeader("LZFu", claim);
            packed.insert(packed.end(), body.begin(), body.end());
            body = packed;
            break;
        }
        case 2:  // a text, packed: it comes back whole
        case 3: {
            // The search for matches is slow, literals are not.
            const bool literalsOnly = form % 4 == 3;
            const ptrdiff_t most = std::min<ptrdiff_t>(literalsOnly ? 6000 : 1500, std::ssize(body));
            const Bytes text = Bytes(body.begin(), body.begin() + most);
            body = reference::packRtf(text, literalsOnly);
            requireSame(text, reference::textOfRtfBody(body), "packing and unpacking gives the text");
            break;
        }
        default:
            break;
    }
    holdUnpacking(body);
    holdWriting(plan, body, (form & 4) != 0);
    return 0;
}
