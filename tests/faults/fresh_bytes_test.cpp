// Memory that nobody has written means nothing: whatever fresh blocks and the room after a short read hold,
// every call gives the same.
#include <gtest/gtest.h>

#include "faults/sweep_runs.h"

namespace eml::test {
namespace {

struct Life {
    EmlResult opened = EML_OK;
    std::vector<Answer> answers;

    bool operator==(const Life&) const = default;
};

Life live(const Scene& scene, uint8_t freshByte, ReadStyle style) {
    const auto session = makeSession(scene, {.readStyle = style, .freshByte = freshByte});
    Life life;
    life.opened = session->open();
    if (!session->isOpen()) return life;
    for (const Step& step : session->steps()) life.answers.push_back(session->run(step));
    return life;
}

void compareFreshBytes(Reader reader) {
    // Bytes that would be taken for text, for the end of a line or of a text, and for part of a code.
    static constexpr uint8_t kBytes[] = {0x00, '\n', '=', '-', 0xFF, 'A'};
    size_t next = 0;
    for (const Scene& scene : scenesOf(reader)) {
        for (const ReadStyle style : {ReadStyle::kFull, ReadStyle::kHalf}) {
            const Life expected = live(scene, kFreshByte, style);
            for (size_t i = 0; i < std::size(kBytes); ++i) {
                if (!sweepsAreFull() && i != next % std::size(kBytes)) continue;
                EXPECT_TRUE(live(scene, kBytes[i], style) == expected)
                    << scene.name << ", fresh bytes of " << int{kBytes[i]};
            }
            ++next;
        }
    }
}

TEST(FreshBytes, DoNotShowInTheContainerReader) { compareFreshBytes(Reader::kContainer); }
TEST(FreshBytes, DoNotShowInTheMimeReader) { compareFreshBytes(Reader::kMime); }
TEST(FreshBytes, DoNotShowInTheFilter) { compareFreshBytes(Reader::kFilter); }

}  // namespace
}  // namespace eml::test
