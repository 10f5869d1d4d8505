#include "tool/archive/message_sources.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "standalone/temporary_folder.h"

namespace emltool {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* kLetter = "Subject: x\n\nbody\n";
constexpr const char* kBox = "From a\nSubject: 1\n\nfirst\n\nFrom b\nSubject: 2\n\n>From here\n";

std::string contentOf(const MessageSource& source) {
    const auto input = openSource(source);
    EmlIOobj* object = input->object();
    std::string text(static_cast<size_t>(input->size()), '\0');
    EXPECT_NE(object->open(object), 0);
    const int32_t got = object->read(object, text.data(), static_cast<uint32_t>(text.size()));
    object->close(object);
    text.resize(static_cast<size_t>(got < 0 ? 0 : got));
    return text;
}

// The names of what an argument names, without the folder; problems as "!code place".
Strings namesOf(MessageSources sources, const std::string& folder) {
    Strings names;
    const auto shortened = [&](std::string name) { return name.erase(0, folder.size() + 1); };
    for (;;) {
        try {
            MessageSource source;
            if (!sources.next(source)) break;
            names.push_back(shortened(source.name()));
        } catch (const Problem& problem) {
            names.push_back("!" + problem.code + " " + shortened(sources.failure().name()));
        }
    }
    for (const FolderWalk::Entry& entry : sources.takeLeftOut()) names.push_back("-" + shortened(entry.path));
    return names;
}

TEST(MessageSources, TellWhereTheMessageIs) {
    const emlhost_test::TemporaryFolder folder;
    const std::string path = folder.write("box", kBox);
    MessageSources sources(path);
    MessageSource source;
    struct {
        uint64_t index, offset, length;
        const char* content;
    } const messages[] = {{0, 7, 18, "Subject: 1\n\nfirst\n"}, {1, 33, 23, "Subject: 2\n\nFrom here\n"}};
    for (const auto& message : messages) {
        ASSERT_TRUE(sources.next(source));
        EXPECT_EQ(source.path, path);
        EXPECT_EQ(source.index, message.index);
        EXPECT_EQ(source.offset, message.offset);
        EXPECT_EQ(source.length, message.length);
        EXPECT_TRUE(source.isOneOfMany);
        EXPECT_EQ(contentOf(source), message.content);
        source.file.reset();
        EXPECT_EQ(contentOf(source), message.content) << "by its path";
    }
    EXPECT_FALSE(sources.next(source));
    EXPECT_FALSE(sources.next(source));
}

TEST(MessageSources, StayWithTheFileThatWasOpened) {
    const emlhost_test::TemporaryFolder folder;
    const std::string path = folder.write("box", kBox);
    MessageSources sources(path);
    MessageSource source;
    ASSERT_TRUE(sources.next(source));
    std::filesystem::remove(path);
    EXPECT_EQ(contentOf(source), "Subject: 1\n\nfirst\n");
    ASSERT_TRUE(sources.next(source));
    EXPECT_EQ(contentOf(source), "Subject: 2\n\nFrom here\n");
}

TEST(MessageSources, ReadFoldersOnRequest) {
    const emlhost_test::TemporaryFolder folder;
    std::filesystem::create_directories(folder.pathOf("mail/cur"));
    std::filesystem::create_directories(folder.pathOf("mail/new"));
    std::filesystem::create_directories(folder.pathOf("mail/sub"));
    folder.write("mail/a.eml", kLetter);
    folder.write("mail/box", kBox);
    folder.write("mail/one.mbox", "From a\nSubject: 1\n\nfirst\n");
    folder.write("mail/cur/1:2,S", kLetter);
    folder.write("mail/dovecot-uidlist", "x");
    folder.write("mail/sub/b.eml", kLetter);
    std::filesystem::create_symlink("gone", folder.pathOf("mail/broken"));
    std::filesystem::create_directory_symlink(".", folder.pathOf("mail/circle"));
    const std::string mail = folder.pathOf("mail");
    EXPECT_EQ(namesOf(MessageSources(mail, MessageSources::Folders::kRead), mail),
              (Strings{"a.eml", "box#1", "box#2", "!no-such-file broken", "cur/1:2,S", "one.mbox",
                       "sub/b.eml", "-circle"}));
    EXPECT_EQ(namesOf(MessageSources(mail), folder.path()), Strings{"!is-a-directory mail"});
    MessageSources sources(mail, MessageSources::Folders::kRead);
    MessageSource source;
    ASSERT_TRUE(sources.next(source));
    EXPECT_TRUE(source.isOneOfMany);
}

TEST(OnlySource, IsTheOneMessageOrAProblem) {
    const emlhost_test::TemporaryFolder folder;
    const std::string box = folder.write("box", kBox);
    MessageSources place(box + "#2");
    EXPECT_EQ(onlySource(place, box + "#2", "view").index, 1U);
    MessageSources whole(box);
    try {
        onlySource(whole, box, "view");
        FAIL();
    } catch (const Problem& problem) {
        EXPECT_EQ(problem.exit, ExitCode::kUsage);
        EXPECT_EQ(problem.code, "several-messages");
    }
}

}  // namespace
}  // namespace emltool
