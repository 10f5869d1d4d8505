// Work that the host does not see: a decoded body without line ends is one run of text, which many fills hand
// over piece by piece. Together they look at each byte of it about once.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "budgets/counting_host.h"
#include "budgets/hostile_messages.h"
#include "filter/filter_context.h"

namespace eml::test {
namespace {

struct Looked {
    uint64_t bytes;
    const uint8_t* (*find)(const uint8_t*, const uint8_t*);
};

// Kernels are plain functions, so what they count stands beside them.
Looked looked;

const uint8_t* findAndCount(const uint8_t* pos, const uint8_t* end) {
    const uint8_t* const found = looked.find(pos, end);
    looked.bytes += static_cast<uint64_t>(found - pos);
    return found;
}

// Pulls a whole stream and gives the bytes of the body that were looked through for the ends of runs. The
// kernels are exchanged once the body has begun.
uint64_t bytesLookedThrough(const std::string& message, uint32_t capacity, uint64_t& streamed) {
    CountingHost host(message);
    EmlFilterContext* const context = emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr);
    EXPECT_NE(context, nullptr);
    if (context == nullptr) return 0;
    DecodeKernels counting{};
    std::string buffer(capacity, '\0');
    uint32_t progress = 0;
    looked = {};
    for (int idle = 0; progress < 100 && idle < 3;) {
        uint32_t size = 0;
        EXPECT_EQ(emlFillBuffer(context, buffer.data(), &size, &progress, capacity), EML_OK);
        streamed += size;
        idle = size == 0 ? idle + 1 : 0;
        if (!context->body.running || looked.find != nullptr) continue;
        counting = *context->kernels;
        looked.find = counting.findTextRunEnd;
        counting.findTextRunEnd = findAndCount;
        context->kernels = &counting;
    }
    EXPECT_EQ(progress, 100U);
    emlShutdown(context);
    return looked.bytes;
}

TEST(LongRun, IsLookedThroughOnceWhateverTheNumberOfFills) {
    constexpr uint32_t kCount = 50000;
    struct Row {
        const char* encoding;
        std::string body;
        uint64_t decoded;
    };
    const Row rows[] = {
        {"base64", hostile::repeat("YWJj", kCount), uint64_t{kCount} * 3},
        {"quoted-printable", hostile::repeat("abc=\n", kCount), uint64_t{kCount} * 3},
    };
    for (const Row& row : rows) {
        for (const uint32_t capacity : {256U, 4096U, 65536U}) {
            SCOPED_TRACE(std::string(row.encoding) + ", " + std::to_string(capacity));
            uint64_t streamed = 0;
            const uint64_t bytes =
                bytesLookedThrough(hostile::text(row.encoding, row.body), capacity, streamed);
            EXPECT_GT(streamed, row.decoded);
            EXPECT_GT(bytes, row.decoded / 4);
            EXPECT_LE(bytes, row.decoded + row.decoded / 20);
        }
    }
}

}  // namespace
}  // namespace eml::test
