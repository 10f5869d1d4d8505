#include "tool/system/isolated_work.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <string_view>

#include "standalone/write_all.h"

namespace emltool {
namespace {

constexpr uint64_t kMemory = uint64_t{64} << 20;
constexpr IsolationLimits kLimits{kMemory, 20, std::chrono::minutes(1), 1000};

bool say(int descriptor, std::string_view text) {
    return emlhost::writeAll(descriptor, {reinterpret_cast<const uint8_t*>(text.data()), text.size()}) == 0;
}

std::string textOf(const IsolatedReply& reply) { return {reply.bytes.begin(), reply.bytes.end()}; }

// A number that both processes see.
class SharedNumber {
  public:
    SharedNumber()
        : number_(static_cast<volatile uint64_t*>(::mmap(nullptr, sizeof(uint64_t), PROT_READ | PROT_WRITE,
                                                         MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~SharedNumber() { ::munmap(const_cast<uint64_t*>(number_), sizeof(uint64_t)); }
    SharedNumber(const SharedNumber&) = delete;
    SharedNumber& operator=(const SharedNumber&) = delete;

    void set(uint64_t value) { *number_ = value; }
    uint64_t get() const { return *number_; }

  private:
    volatile uint64_t* number_;
};

TEST(IsolatedWork, GivesWhatTheWorkWrites) {
    IsolatedReply reply = workIsolated([](int descriptor) { return say(descriptor, "all of it"); }, kLimits);
    EXPECT_TRUE(reply.done()) << reply.failure;
    EXPECT_EQ(textOf(reply), "all of it");
    reply = workIsolated([](int) { return true; }, kLimits);
    EXPECT_TRUE(reply.done());
    EXPECT_EQ(textOf(reply), "");
}

TEST(IsolatedWork, TakesNoReplyFromWorkThatFails) {
    IsolatedReply reply = workIsolated(
        [](int descriptor) {
            say(descriptor, "half of it");
            return false;
        },
        kLimits);
    EXPECT_EQ(reply.failure, "could not do it");
    EXPECT_EQ(textOf(reply), "");
}

TEST(IsolatedWork, OutlivesACrash) {
    for (int number : {SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS}) {
        IsolatedReply reply = workIsolated(
            [&](int descriptor) {
                say(descriptor, "half of it");
                std::raise(number);
                return true;
            },
            kLimits);
        EXPECT_EQ(reply.failure, std::string("crashed (SIG") + ::sigabbrev_np(number) + ")");
        EXPECT_EQ(textOf(reply), "");
    }
}

TEST(IsolatedWork, EndsALoop) {
    SharedNumber rounds;
    IsolationLimits limits = kLimits;
    limits.processorSeconds = 1;
    IsolatedReply reply = workIsolated(
        [&](int) -> bool {
            for (;;) rounds.set(rounds.get() + 1);
        },
        limits);
    EXPECT_EQ(reply.failure, "took too long");
    EXPECT_GT(rounds.get(), 0U);
}

TEST(IsolatedWork, WaitsForNobodyWhoSleeps) {
    IsolationLimits limits = kLimits;
    limits.timeout = std::chrono::milliseconds(200);
    IsolatedReply reply = workIsolated(
        [](int) -> bool {
            for (;;) ::pause();
        },
        limits);
    EXPECT_EQ(reply.failure, "took too long");
    reply = workIsolated(
        [](int descriptor) -> bool {
            ::close(descriptor);
            for (;;) ::pause();
        },
        kLimits);
    EXPECT_EQ(reply.failure, "took too long") << "the end of the reply is the end of the process";
}

TEST(IsolatedWork, BoundsItsMemory) {
    constexpr size_t kPiece = size_t{1} << 20;
    constexpr uint64_t kAll = 4096;  // pieces
    SharedNumber pieces;
    IsolatedReply reply = workIsolated(
        [&](int) {
            while (pieces.get() < kAll) {
                void* piece =
                    ::mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                if (piece == MAP_FAILED) return false;
                pieces.set(pieces.get() + 1);
            }
            return true;
        },
        kLimits);
    EXPECT_EQ(reply.failure, "could not do it");
    EXPECT_GT(pieces.get(), 0U);
    EXPECT_LE(pieces.get() * kPiece, kMemory);
    reply = workIsolated([](int) -> bool { throw std::bad_alloc(); }, kLimits);
    EXPECT_EQ(reply.failure, "ran out of memory");
}

TEST(IsolatedWork, BoundsItsReply) {
    IsolatedReply reply =
        workIsolated([](int descriptor) { return say(descriptor, std::string(1000, 'x')); }, kLimits);
    EXPECT_TRUE(reply.done());
    EXPECT_EQ(reply.bytes.size(), 1000U);
    reply = workIsolated(
        [](int descriptor) -> bool {
            for (;;) say(descriptor, "and on it goes");
        },
        kLimits);
    EXPECT_EQ(reply.failure, "gave more than there can be");
    EXPECT_EQ(reply.bytes.size(), 0U);
}

TEST(IsolatedWork, ReachesNothingOfTheProgram) {
    int other = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ASSERT_GE(other, 0);
    int variable = 1;
    IsolatedReply reply = workIsolated(
        [&](int descriptor) {
            variable = 2;
            struct stat nothing {};
            bool silent = ::stat("/dev/null", &nothing) == 0;
            for (int number = 0; number <= 2; ++number) {
                struct stat found {};
                silent = silent && ::fstat(number, &found) == 0 && found.st_rdev == nothing.st_rdev;
            }
            bool alone = other == descriptor || ::fcntl(other, F_GETFD) < 0;
            bool shut = ::open("/dev/null", O_RDONLY) < 0 && ::dup(descriptor) < 0;
            say(descriptor, silent ? "silent " : "can be heard ");
            say(descriptor, alone ? "alone " : "holds a file ");
            return say(descriptor, shut ? "shut" : "opens files");
        },
        kLimits);
    ::close(other);
    EXPECT_EQ(textOf(reply), "silent alone shut");
    EXPECT_EQ(variable, 1);
}

}  // namespace
}  // namespace emltool
