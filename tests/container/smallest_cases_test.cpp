// Where one byte more or less would do harm: the room of a name, the end of a part.
#include <gtest/gtest.h>

#include <algorithm>

#include "container/main_name_date.h"
#include "support/sections.h"

namespace eml::test {
namespace {

// The longest name fills its room to the last byte.
TEST(SmallestRoom, TheMainNameStaysInItsOwn) {
    struct {
        char name[kMainNameSize];
        char after[8];
    } room;
    for (const std::string subject : {"abcdefghi", "a", ""}) {
        std::fill(std::begin(room.name), std::end(room.name), 'Z');
        std::fill(std::begin(room.after), std::end(room.after), 'Z');
        const auto* text = reinterpret_cast<const uint8_t*>(subject.data());
        makeMainName({text, text + subject.size()}, room.name);
        EXPECT_EQ(std::count(std::begin(room.after), std::end(room.after), 'Z'), 8) << subject;
    }
}

// The line end before a delimiter is looked for where it is, or not at all: when the seek to it fails,
// the part keeps its end, whatever can be read at the place where the input stands.
TEST(SmallestTrim, ASeekThatFailsTrimsNothing) {
    const std::string message = multipart("mixed", "--b\n\nxx--b--\n") + std::string(9000, '\n');
    const auto end = static_cast<int64_t>(message.find("--b--"));
    uint64_t seeks = 0;
    {
        RecordingHost host(message);
        OpenedMessage opened(host);
        seeks = host.journal().calls(Entry::kInputSeek);
        ASSERT_EQ(sectionsOf(opened).size(), 1U);
        EXPECT_EQ(sectionsOf(opened)[0]->end, end) << "nothing to trim here";
    }
    size_t checked = 0;
    for (uint64_t nth = 1; nth <= seeks; ++nth) {
        RecordingHost host(message);
        host.journal().fail(Entry::kInputSeek, {nth, false});
        OpenedMessage opened(host);
        const std::vector<const EmlSection*> sections = sectionsOf(opened);
        if (sections.size() != 1 || sections[0]->start == 0) continue;  // another seek: nothing was cut
        EXPECT_EQ(sections[0]->end, end) << "seek " << nth;
        ++checked;
    }
    EXPECT_GT(checked, 0U);
}

}  // namespace
}  // namespace eml::test
