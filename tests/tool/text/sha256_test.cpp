#include "tool/text/sha256.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool/text/needs_sha256.h"

namespace emltool {
namespace {

std::span<const uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

class Sha256Test : public NeedsSha256 {};

// FIPS 180-4, the examples of SHA-256.
TEST_F(Sha256Test, IsThatOfTheStandard) {
    const struct {
        std::string text;
        const char* digest;
    } rows[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& row : rows) EXPECT_EQ(hexText(Sha256::of(row.text)), row.digest) << row.text.size();
}

TEST_F(Sha256Test, PiecesAreOneText) {
    const std::string text(300, 'x');
    for (size_t cut = 0; cut <= text.size(); cut += 7) {
        Sha256 hash;
        hash.update(bytesOf(text).first(cut));
        hash.update(bytesOf(text).subspan(cut));
        EXPECT_EQ(hash.finish(), Sha256::of(text)) << cut;
    }
}

TEST_F(Sha256Test, BeginsAnewAfterTheEndAndWhenToldTo) {
    Sha256 hash;
    hash.update(bytesOf("one"));
    EXPECT_EQ(hash.finish(), Sha256::of("one"));
    hash.update(bytesOf("two"));
    EXPECT_EQ(hash.finish(), Sha256::of("two"));
    hash.update(bytesOf("three"));
    hash.restart();
    hash.update(bytesOf("four"));
    EXPECT_EQ(hash.finish(), Sha256::of("four"));
}

// Objects take over contexts of those that are gone, and never one that another object has.
TEST_F(Sha256Test, ManyAtOnceDoNotMix) {
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<Sha256>> hashes;
        for (size_t i = 0; i < 10; ++i) {
            hashes.push_back(std::make_unique<Sha256>());
            hashes[i]->update(bytesOf(std::string(i, 'a')));
        }
        for (size_t i = 0; i < hashes.size(); i += 2) hashes[i].reset();
        for (size_t i = 1; i < hashes.size(); i += 2) {
            hashes[i]->update(bytesOf("b"));
            EXPECT_EQ(hashes[i]->finish(), Sha256::of(std::string(i, 'a') + "b")) << i;
        }
    }
}

TEST(Sha256Lack, NothingIsComputedWithoutTheLibrary) {
    if (hasSha256()) GTEST_SKIP() << "built with libcrypto";
    EXPECT_THROW(Sha256(), std::runtime_error);
    EXPECT_THROW(Sha256::of("abc"), std::runtime_error);
}

}  // namespace
}  // namespace emltool
