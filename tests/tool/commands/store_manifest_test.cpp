#include "tool/commands/store_manifest.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "standalone/temporary_folder.h"
#include "standalone/unique_descriptor.h"
#include "tool/text/needs_sha256.h"

namespace emltool {
namespace {

const std::string kDigest = "ab" + std::string(62, 'c');
const std::string kFile =
    R"({"schema":"eml-manifest/1","source":{"path":"a.eml"},"number":"1","name":"x","path":"S/ab/)" +
    std::string(62, 'c') + R"(","size":1,"sha256":")" + kDigest + R"(","readings":["mime"]})" + "\n";
const std::string kDone =
    R"({"schema":"eml-manifest-message/1","source":{"path":"a.eml"},"status":"ok","files":1})"
    "\n";
const std::string kPlainRow =
    R"({"schema":"eml-manifest/1","source":{"path":"a.eml"},"number":"1","name":"ab/)" +
    std::string(62, 'c') + R"(\"","path":"out/x","size":1,"sha256":")" + std::string(64, 'd') +
    R"(","readings":["mime"]})" + "\n";

class StoreManifestTest : public NeedsSha256 {
  protected:
    // The length of the rows of messages that are done; nothing if the text is not continued.
    static std::optional<uint64_t> doneIn(const std::string& text, FinishedRows& finished) {
        emlhost_test::TemporaryFolder folder;
        const std::string path = folder.write("rows", text);
        const emlhost::UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        try {
            return readStoreRows(file.get(), path, finished);
        } catch (const Problem& problem) {
            EXPECT_EQ(problem.code, "not-rows");
            return std::nullopt;
        }
    }
};

TEST_F(StoreManifestTest, EndsAfterTheLastMessageThatIsDone) {
    const std::string whole = kFile + kDone;
    const struct {
        const char* rule;
        std::string text;
        std::optional<size_t> done;
    } rows[] = {
        {"nothing", "", 0},
        {"a message", whole, whole.size()},
        {"a message without files", kDone, kDone.size()},
        {"files of a message that is not done", whole + kFile + kFile, whole.size()},
        {"the beginning of a row of a file", whole + kFile.substr(0, 20), whole.size()},
        {"the beginning of a row of a message", whole + kDone.substr(0, kDone.size() - 1), whole.size()},
        {"a first row that was cut", kFile.substr(0, 100), 0},
        {"zero bytes after a loss of power", whole + std::string(100, '\0'), whole.size()},
        {"text", "text\n", std::nullopt},
        {"text without a line end", "text", std::nullopt},
        {"text behind rows", whole + "text\n", std::nullopt},
        {"a manifest of files with names", kPlainRow, std::nullopt},
        {"a row without a digest",
         R"({"schema":"eml-manifest/1","source":{"path":"a"},"sha256":"ab"})"
         "\n",
         std::nullopt},
        {"a row of a batch",
         R"({"schema":"eml/2","source":{"path":"a.eml"}})"
         "\n",
         std::nullopt},
        {"an empty line", whole + "\n", std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        FinishedRows finished;
        EXPECT_EQ(doneIn(row.text, finished), row.done);
    }
}

TEST_F(StoreManifestTest, KnowsTheMessagesThatAreDone) {
    FinishedRows finished;
    const std::string place =
        R"({"schema":"eml-manifest-message/1","source":{"path":"b.mbox","index":2,"offset":9,"length":9},)"
        R"("status":"error","error":{"code":"x","text":"x","exit":3},"files":0})"
        "\n";
    ASSERT_TRUE(doneIn(kDone + place + kFile, finished));
    EXPECT_TRUE(finished.take("a.eml", std::nullopt));
    EXPECT_FALSE(finished.take("a.eml", std::nullopt)) << "once for each row";
    EXPECT_FALSE(finished.take("b.mbox", 1));
    EXPECT_TRUE(finished.take("b.mbox", 2));
}

}  // namespace
}  // namespace emltool
