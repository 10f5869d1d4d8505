// Conversions of the host, made in two calls, also by hosts whose second answer is not their first.
#include "host/host_text.h"

#include <gtest/gtest.h>

#include "host/scripted_services.h"

namespace eml::test {
namespace {

constexpr uint32_t kNothing = 0xDEAD;

struct Result {
    bool given;
    std::string bytes;
    uint32_t length;
};

// Runs either conversion, checks what is after the text, and frees it.
Result run(ScriptedServices& services, bool between, std::string_view text, uint32_t charset = 7) {
    ConvertedText converted{nullptr, kNothing};
    if (between) {
        converted =
            convertBetween(services.record(), text.data(), static_cast<uint32_t>(text.size()), charset, 53);
    } else {
        converted.bytes = eml2ConvertText(services.record(), text.data(), static_cast<uint32_t>(text.size()),
                                          charset, converted.length);
    }
    Result result{converted.bytes != nullptr, "", converted.length};
    if (converted.bytes == nullptr) return result;
    const size_t room = services.heap().roomAt(converted.bytes);
    EXPECT_GE(room, uint64_t{converted.length} + 2) << "two bytes of room after the text";
    if (room >= uint64_t{converted.length} + 2) {
        EXPECT_EQ(converted.bytes[converted.length], 0);
        EXPECT_EQ(converted.bytes[converted.length + 1], 0);
        result.bytes.assign(converted.bytes, converted.bytes + converted.length);
    }
    services.record().allocator.free(&services.record().allocator, converted.bytes);
    return result;
}

TEST(HostText, TwoCallsWithTheCharsetSetAndPutBack) {
    for (const bool between : {false, true}) {
        ScriptedServices services;
        services.convert = [](const HostConversion& call) { return "<" + call.source + ">"; };
        const Result result = run(services, between, "text", 5);
        EXPECT_EQ(result.bytes, "<text>");
        ASSERT_EQ(services.calls.size(), 2u);
        EXPECT_TRUE(services.calls[0].sizing);
        EXPECT_FALSE(services.calls[1].sizing);
        for (const HostConversion& call : services.calls) {
            EXPECT_EQ(call.between, between);
            EXPECT_EQ(call.source, "text");
            EXPECT_EQ(call.from, 5u);
            EXPECT_EQ(call.current, between ? 53u : 5u);
        }
        EXPECT_EQ(services.resets, 0u);
    }
}

TEST(HostText, NoKnownCharsetResetsTheHosts) {
    ScriptedServices services;
    services.convert = [](const HostConversion& call) { return call.source; };
    EXPECT_EQ(run(services, false, "text", 0).bytes, "text");
    EXPECT_EQ(services.resets, 1u);
    EXPECT_EQ(services.calls[0].current, 0u);
    services.record().resetCharset = nullptr;
    EXPECT_EQ(run(services, false, "text", 0).bytes, "text") << "a host without the entry";
}

TEST(HostText, NoTextIsNotConverted) {
    ScriptedServices services;
    services.convert = [](const HostConversion&) { return std::string("x"); };
    for (const bool between : {false, true}) EXPECT_FALSE(run(services, between, "").given);
    uint32_t length = 0;
    EXPECT_EQ(eml2ConvertText(services.record(), nullptr, 5, 7, length), nullptr);
    EXPECT_TRUE(services.calls.empty());
}

TEST(HostText, AConversionThatGivesNothing) {
    for (const bool between : {false, true}) {
        ScriptedServices services;
        EXPECT_FALSE(run(services, between, "text").given);
        EXPECT_EQ(services.calls.size(), 1u) << "sizing alone";
        EXPECT_EQ(services.journal().calls(Entry::kAllocate), 0u);
    }
}

TEST(HostText, AMissingEntryGivesNothing) {
    ScriptedServices services;
    services.record().convertText = nullptr;
    services.record().convertTextFrom = nullptr;
    for (const bool between : {false, true}) EXPECT_FALSE(run(services, between, "text").given);
}

// What the two calls say: the first sizes, the second may not say more.
TEST(HostText, HostsThatContradictThemselves) {
    struct Row {
        const char* rule;
        uint32_t first, second;
        bool given;
        uint32_t length;
    };
    const Row rows[] = {
        {"as sized", 10, 10, true, 10},
        {"less", 10, 4, true, 4},
        {"one more", 10, 11, false, 0},
        {"two more: they fit in the room, and are refused all the same", 10, 12, false, 0},
        {"far more", 10, 0x7FFFFFFF, false, 0},
        {"a size that wraps", 10, 0xFFFFFFFF, false, 0},
        {"sizing close to 2^32", 0xFFFFFFFF, 10, false, 0},
        {"size + 2 wraps to 0", 0xFFFFFFFE, 10, false, 0},
        {"size + 2 wraps to 1", 0xFFFFFFFF, 1, false, 0},
        {"size + 2 just fits", 0xFFFFFFFD, 10, false, 0},
        {"a negative size", 0x80000000, 10, false, 0},
    };
    for (const bool between : {false, true}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.rule);
            ScriptedServices services(HeapMode::kGuarded);
            services.convert = [](const HostConversion&) { return std::string("0123456789"); };
            services.claim = [&](const HostConversion& call, uint32_t& length) {
                length = call.sizing ? row.first : row.second;
            };
            const Result result = run(services, between, "text");
            EXPECT_EQ(result.given, row.given);
            if (result.given) {
                EXPECT_EQ(result.length, row.length);
            }
            EXPECT_LE(services.heap().largestBlock(), 1u << 20) << "no block for what is no size";
        }
    }
}

TEST(HostText, ASecondCallThatGivesNothingIsAnEmptyText) {
    for (const bool between : {false, true}) {
        ScriptedServices services;
        services.convert = [](const HostConversion& call) {
            return call.sizing ? std::string("0123") : std::string();
        };
        const Result result = run(services, between, "text");
        EXPECT_EQ(result.bytes, "");
        if (result.given) {
            EXPECT_EQ(result.length, 0u);
        }
    }
}

TEST(HostText, WithoutMemoryNothing) {
    for (const bool between : {false, true}) {
        ScriptedServices services;
        services.convert = [](const HostConversion& call) { return call.source; };
        services.journal().fail(Entry::kAllocate, {1, true});
        EXPECT_FALSE(run(services, between, "text").given);
        EXPECT_EQ(services.calls.size(), 1u);
    }
}

}  // namespace
}  // namespace eml::test
