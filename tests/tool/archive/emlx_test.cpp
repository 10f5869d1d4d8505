#include "tool/archive/emlx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace emltool {
namespace {

// The message in the file; "-" if there is none.
std::string messageIn(const std::string& text, const std::string& name = "1") {
    const auto bytesAt = [&](uint64_t position, std::span<char> room) {
        return position > text.size() ? 0
                                      : text.copy(room.data(), room.size(), static_cast<size_t>(position));
    };
    const auto place = findEmlx(std::string_view(text).substr(0, kEmlxBeginning), text.size(), name, bytesAt);
    if (!place) return "-";
    EXPECT_LE(place->offset + place->length, text.size());
    return text.substr(static_cast<size_t>(place->offset), static_cast<size_t>(place->length));
}

TEST(Emlx, IsRecognisedByItsBytes) {
    const std::string message = "A: 1\n\nx\n";
    const std::string list = "<?xml version=\"1.0\"?>\n<plist/>\n";
    struct Row {
        const char* rule;
        std::string text;
        std::string expected;
        std::string expectedByName;
    };
    const std::vector<Row> rows = {
        {"a message and a list", "8\n" + message + list, message, message},
        {"blanks after the number", "8         \n" + message + list, message, message},
        {"a line end of two bytes", "8\r\n" + message + list, message, message},
        {"nothing after the message", "8\n" + message, message, message},
        {"a number that is too large", "9\n" + message, "-", message},
        {"a number that is too small", "7\n" + message + list, "-", message.substr(0, 7)},
        {"something else after the message", "8\n" + message + "more", "-", message},
        {"no header", "8\nno field" + list, "-", "no field"},
        {"no header and something else", "8\nno fieldmore", "-", "-"},
        {"no message", "0\n" + list, "-", "-"},
        {"a number that no machine counts to", "99999999999999999999\n" + message, "-", "-"},
        {"a negative number", "-8\n" + message + list, "-", "-"},
        {"blanks before the number", " 8\n" + message + list, "-", "-"},
        {"something else on the line", "8 x\n" + message + list, "-", "-"},
        {"a line without an end", "8", "-", "-"},
        {"nothing", "", "-", "-"},
        {"a message", message, "-", "-"},
        {"a line that is too long", "8" + std::string(300, ' ') + "\n" + message + list, "-", "-"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(messageIn(row.text), row.expected);
        EXPECT_EQ(messageIn(row.text, "17.emlx"), row.expectedByName);
        EXPECT_EQ(messageIn(row.text, "17.partial.EMLX"), row.expectedByName);
        EXPECT_EQ(messageIn(row.text, "emlx"), row.expected);
    }
}

}  // namespace
}  // namespace emltool
