// Which messages are of one conversation.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// What is known of a message. Its place tells it from all others, and puts it in order.
struct ThreadRecord {
    std::string_view path;
    std::optional<uint64_t> index;            // in the mbox; nothing for a whole file
    std::string_view messageId;               // without angle brackets, as all ids; empty without one
    std::span<const std::string> references;  // what it answers stands last
    std::string_view subjectBase;             // subjectBase().text
    bool isReplyOrForward = false;            // by its subject
};

// Finds conversations by the algorithm of Jamie Zawinski, which RFC 5256 calls REFERENCES, in an order that makes the
// result independent of that in which messages come:
//
// 1. An id belongs to the first message that has it, by path and index. Later ones are messages without an id.
// 2. The parent of a message is its last reference.
// 3. An id that has no parent yet, since its message names none or is not there, gets the one that stands before it in
//    the references of a message: of the first such message.
// 4. A link that would close a circle is not made.
// 5. Trees whose first messages have the same base subject, but for the case of ASCII letters, are one conversation.
//
// The identifier of a conversation comes from the root of its tree: the first 8 bytes of the SHA-256 of the root's id,
// whether or not that message is there, or else of a zero byte and its place. Of several trees the one counts that
// begins with no reply, or else the first.
class ThreadFinder {
  public:
    void add(const ThreadRecord& record);

    // The identifiers, in the order of add. Nothing is added afterwards.
    std::vector<uint64_t> find();

    // How many times find looked at a node on its way through a tree: the measure of its work.
    uint64_t steps() const { return steps_; }

  private:
    using Key = std::array<uint8_t, 16>;  // the beginning of a SHA-256
    using Node = uint32_t;                // an id, or a message without one

    // Several messages of one mbox in a row share the text of their path.
    struct Path {
        size_t begin;
        size_t length;
    };
    struct Message {
        Path path;
        uint64_t number;  // 0 for a whole file, and the index + 1 in an mbox
        size_t keys;      // where its ids begin: its own, if it has one, and its references
        Key subject;
        bool hasId;
        bool hasSubject;
        bool isReplyOrForward;
    };
    struct Tree {
        Key subject;
        bool isReplyOrForward;
        size_t place;  // of its first message, in the order of places
        Node root;
    };
    class Forest;

    static Key keyOf(std::string_view text);
    std::string_view pathOf(const Message& message) const;
    bool isBefore(size_t one, size_t other) const;
    std::span<const Node> idsOf(size_t message) const;
    void putInOrder();
    void numberIds();
    void numberMessages();
    void linkMessages(Forest& forest) const;
    void linkReferences(Forest& forest) const;
    std::vector<Tree> treesOf(Forest& forest);
    static void joinSubjects(std::vector<Tree>& trees, std::vector<Node>& roots);
    uint64_t identifierOf(Node root) const;

    std::string paths_;
    std::vector<Message> messages_;
    std::vector<Key> keys_;  // of all ids of all messages

    // Known once all messages are there:
    std::vector<size_t> order_;     // messages by their places
    std::vector<Key> ids_;          // each once; their numbers are nodes
    std::vector<Node> idNodes_;     // of keys_
    std::vector<Node> nodes_;       // of the messages
    std::vector<size_t> nameless_;  // messages whose nodes follow those of the ids
    uint64_t steps_ = 0;
};

// 16 hexadecimal digits.
std::string threadText(uint64_t identifier);

}  // namespace emltool
