// What the drivers of all contenders have in common: their command line, the clock, the counting, one line of
// results. A driver puts one library under this interface.
//     DRIVER [--check] open|attachments|body PATH
// PATH is a message, or a folder of messages that are worked on one after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace emlbench {

// Where decoded content goes. It is counted, and with --check hashed; nothing is kept.
class Sink {
  public:
    explicit Sink(bool hashing) : hashing_(hashing) {}

    void take(const void* bytes, size_t count) {
        size_ += count;
        if (hashing_) hash(static_cast<const uint8_t*>(bytes), count);
    }

    // Between two attachments.
    void endContent() { pendingLineEnds_ = 0; }

    // False in timed runs: a library that has a discarding sink of its own uses that then, and counts.
    [[nodiscard]] bool hashing() const { return hashing_; }
    void count(uint64_t bytes) { size_ += bytes; }

    [[nodiscard]] uint64_t size() const { return size_; }
    [[nodiscard]] uint64_t exactHash() const { return exactHash_; }
    // Of the same without carriage returns and without the line ends at the end: what is left to a library
    // when it decodes text.
    [[nodiscard]] uint64_t textHash() const { return textHash_; }
    [[nodiscard]] uint64_t textSize() const { return textSize_; }

  private:
    void hash(const uint8_t* bytes, size_t count);

    static constexpr uint64_t kStart = 0xcbf29ce484222325;  // FNV-1a
    bool hashing_;
    uint64_t size_ = 0;
    uint64_t exactHash_ = kStart;
    uint64_t textHash_ = kStart;
    uint64_t textSize_ = 0;
    uint64_t pendingLineEnds_ = 0;
};

// What the messages said, added up: contenders are compared by it.
struct Found {
    uint64_t messages = 0;
    uint64_t senders = 0;  // messages with a From value, and so on
    uint64_t recipients = 0;
    uint64_t dates = 0;
    uint64_t subjectBytes = 0;
    uint64_t attachments = 0;
    uint64_t nameBytes = 0;  // file names of the attachments
};

class Contender {
  public:
    Contender() = default;
    virtual ~Contender() = default;
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;

    // Opens a message, examines its structure and reads From, To, Subject and Date. False when that fails.
    virtual bool open(const std::string& path, Found& found) = 0;

    // Decodes the content of every attachment of the open message.
    virtual bool attachments(Sink& sink) = 0;

    // Opens a message that is only a text, for body().
    virtual bool openText(const std::string& path) = 0;

    // Decodes the whole text.
    virtual bool body(Sink& sink) = 0;

    // Ends the work on the message; also after an open that failed.
    virtual void close() = 0;
};

enum class Task { kOpen, kAttachments, kBody };

// Works on all messages. What is measured lies in this function: bench/instructions counts between its call
// and its return. `openedAt` receives the CPU time when the first message was open. False when one fails.
bool workOnAll(Contender& contender, Task task, const std::vector<std::string>& paths, Found& found,
               Sink& sink, double& openedAt);

// Runs what the command line asks for and prints the results. Returns the exit status.
int runDriver(Contender& contender, int count, char** arguments);

}  // namespace emlbench
