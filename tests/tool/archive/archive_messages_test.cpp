#include "tool/archive/archive_messages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace emltool {
namespace {

using Strings = std::vector<std::string>;
using Step = ArchiveMessages::Step;

struct Ends {
    emlhost::UniqueDescriptor reading;
    emlhost::UniqueDescriptor writing;
};

Ends makePipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    return {emlhost::UniqueDescriptor(ends[0]), emlhost::UniqueDescriptor(ends[1])};
}

std::string contentOf(const MessageSource& source) {
    const auto input = openSource(source);
    EmlIOobj* const object = input->object();
    std::string text(static_cast<size_t>(input->size()), '\0');
    EXPECT_NE(object->open(object), 0);
    const int32_t got = object->read(object, text.data(), static_cast<uint32_t>(text.size()));
    object->close(object);
    text.resize(static_cast<size_t>(got < 0 ? 0 : got));
    return text;
}

void take(ArchiveMessages& messages, Strings& found) {
    ArchiveMessage message;
    for (;;) {
        const Step step = messages.step(message);
        if (step == Step::kLater || step == Step::kEnd) return;
        if (step == Step::kMore) continue;
        const std::string index = message.source.index ? std::to_string(*message.source.index) : "-";
        found.push_back(message.problem ? message.problem->code : index + " " + contentOf(message.source));
    }
}

// The messages of a pipe that delivers the text in two pieces.
Strings messagesOf(const std::string& text, size_t cut) {
    Ends ends = makePipe();
    const auto send = [&](const std::string& piece) {
        EXPECT_EQ(::write(ends.writing.get(), piece.data(), piece.size()),
                  static_cast<ssize_t>(piece.size()));
    };
    ArchiveMessages messages("pipe", std::move(ends.reading), text.substr(0, 1));
    Strings found;
    send(text.substr(1, cut));
    take(messages, found);
    send(text.substr(1 + cut));
    ends.writing.close();
    take(messages, found);
    ArchiveMessage message;
    EXPECT_EQ(messages.step(message), Step::kEnd);
    return found;
}

TEST(ArchiveMessages, OfAPipeComeAsTheyAreComplete) {
    struct Row {
        std::string text;
        Strings expected;
    };
    const std::vector<Row> rows = {
        {"A: 1\n\nx\n", {"- A: 1\n\nx\n"}},
        {"8\nA: 1\n\nx\n<?xml?>\n", {"- A: 1\n\nx\n"}},
        {"From a\nA: 1\n\n>From x\n\nFrom b\nA: 2\n\ny\n", {"0 A: 1\n\nFrom x\n", "1 A: 2\n\ny\n"}},
        {"From - \nContent-Length: 7\n\nFrom x\n\nFrom - \nA: 2\n\ny\n",
         {"0 Content-Length: 7\n\nFrom x\n", "1 A: 2\n\ny\n"}},
    };
    for (const Row& row : rows) {
        for (size_t cut = 0; cut < row.text.size(); ++cut)
            EXPECT_EQ(messagesOf(row.text, cut), row.expected) << cut;
    }
}

TEST(ArchiveMessages, WaitForNothingThatHasNotCome) {
    Ends ends = makePipe();
    const std::string text = "From a\nA: 1\n\nx\n\nFrom b\nA: 2\n";
    EXPECT_EQ(::write(ends.writing.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ArchiveMessages messages("pipe", std::move(ends.reading), "");
    ArchiveMessage message;
    // What has come so far begins like nothing: the first bytes decide, and there were none.
    EXPECT_NE(messages.step(message), Step::kEnd);
    EXPECT_GE(messages.descriptor(), 0);
}

}  // namespace
}  // namespace emltool
