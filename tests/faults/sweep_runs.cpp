#include "faults/sweep_runs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "faults/made_messages.h"

namespace eml::test {
namespace {

namespace fs = std::filesystem;

// Calls in line are all those that are also failed alone, in another state: a full run takes a part of them.
constexpr uint64_t kFullStrideInLine = 8;
// Guarded blocks cost calls of the system: by default fewer faults are taken with them.
constexpr uint64_t kGuardedFactor = 3;

const std::vector<MadeMessage>& allMessages() {
    static const std::vector<MadeMessage> kMessages = [] {
        std::vector<MadeMessage> found;
        for (const auto& entry : fs::directory_iterator(fs::path(EMLREADER_TEST_DIR) / "messages")) {
            if (entry.path().extension() != ".eml") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            found.push_back({entry.path().stem(), std::string(std::istreambuf_iterator<char>(file),
                                                              std::istreambuf_iterator<char>())});
        }
        std::sort(found.begin(), found.end(),
                  [](const MadeMessage& a, const MadeMessage& b) { return a.name < b.name; });
        found.insert(found.end(), madeMessages().begin(), madeMessages().end());
        return found;
    }();
    return kMessages;
}

void report(const std::string& what, const Faults& faults, size_t scenes) {
    std::printf("%s: %" PRIu64 " scenes, %" PRIu64 " of %" PRIu64 " faults, %" PRIu64
                " host calls failed, %" PRIu64 " answers compared\n",
                what.c_str(), faults.scenes, faults.injected, faults.offered, faults.struck, faults.compared);
    std::string name = what;
    std::replace_if(
        name.begin(), name.end(), [](char letter) { return letter == ' ' || letter == ','; }, '_');
    ::testing::Test::RecordProperty(name + "_scenes", std::to_string(faults.scenes));
    ::testing::Test::RecordProperty(name + "_faults", std::to_string(faults.injected));
    ::testing::Test::RecordProperty(name + "_offered", std::to_string(faults.offered));
    EXPECT_EQ(faults.scenes, scenes);
    EXPECT_GT(faults.injected, 0U);
}

}  // namespace

bool sweepsAreFull() {
    const char* const full = std::getenv("EMLREADER_TEST_FULL");
    const char* const rounds = std::getenv("EMLREADER_TEST_ROUNDS");
    return (full != nullptr && *full != '\0' && *full != '0') ||
           (rounds != nullptr && std::strtoull(rounds, nullptr, 10) > 1);
}

// The MIME reader takes the second flags for tight limits.
std::vector<Scene> scenesOf(Reader reader) {
    constexpr uint32_t kFolders =
        EML_OPEN_ROOT_FOLDER | EML_OPEN_ATTACHMENTS_FOLDER | EML_OPEN_CONVERTED_ATTACHMENTS;
    std::vector<Scene> scenes;
    for (const MadeMessage& message : allMessages()) {
        for (const uint32_t flags : {0U, kFolders})
            scenes.push_back(
                {message.name + (flags != 0 ? " in folders" : ""), message.bytes, reader, flags});
    }
    if (reader != Reader::kMime) return scenes;
    for (const MadeMessage& message : mimeMessages()) {
        for (const uint32_t flags : {0U, kFolders})
            scenes.push_back(
                {message.name + (flags != 0 ? " with limits" : ""), message.bytes, reader, flags});
    }
    return scenes;
}

void sweepOver(const char* what, Reader reader, const Strides& strides) {
    const bool full = sweepsAreFull();
    const uint64_t sparser = defaultHeapMode() == HeapMode::kGuarded ? kGuardedFactor : 1;
    const auto stride = [&](uint64_t byDefault, uint64_t inFull) {
        return full ? inFull : byDefault * sparser;
    };
    Faults opens(stride(strides.opens, 1));
    Faults calls(stride(strides.calls, 1));
    Faults inLine(stride(strides.callsInLine, kFullStrideInLine));
    Faults missing(stride(strides.missingEntries, 1));
    std::vector<Scene> scenes = scenesOf(reader);
    size_t place = 0;
    if (!full) std::erase_if(scenes, [&](const Scene&) { return place++ % strides.scenes != 0; });
    uint64_t seed = 20261121;
    for (const Scene& scene : scenes) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;
        for (Faults* const faults : {&opens, &calls, &inLine, &missing}) faults->beginScene(seed >> 33);
        Sweep sweep(scene);
        sweep.failOpens(opens);
        sweep.failSteps(calls);
        sweep.failInLine(inLine);
        sweep.takeEntriesAway(missing);
        if (::testing::Test::HasFailure()) break;  // the first scene tells enough
    }
    const std::string name = what;
    report(name + ", opens", opens, scenes.size());
    report(name + ", calls", calls, scenes.size());
    report(name + ", calls in line", inLine, scenes.size());
    report(name + ", missing entries", missing, scenes.size());
}

}  // namespace eml::test
