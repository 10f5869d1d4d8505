#include "tool/batch/threads.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <tuple>

#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

constexpr uint32_t kNoNode = std::numeric_limits<uint32_t>::max();

// An id whose first half stands in quotes without need is the same without them (RFC 5256 section 3).
std::string withoutQuotes(std::string_view id) {
    constexpr std::string_view kNeedsQuotes = " \t\\\"@()<>[]:;,";
    const size_t end = id.starts_with('"') ? id.find_first_of(kNeedsQuotes, 1) : std::string_view::npos;
    const bool isQuoted = end != std::string_view::npos && end > 1 && id.substr(end).starts_with("\"@");
    if (!isQuoted) return std::string(id);
    return std::string(id.substr(1, end - 1)).append(id.substr(end + 1));
}

uint64_t beginningOf(std::span<const uint8_t> digest) {
    uint64_t number = 0;
    for (size_t i = 0; i < 8; ++i) number = number << 8 | digest[i];
    return number;
}

}  // namespace

// Trees that grow together at their roots: a node gets a parent once.
class ThreadFinder::Forest {
  public:
    explicit Forest(size_t size) : parents_(size, kNoNode), shortcuts_(size) {
        std::iota(shortcuts_.begin(), shortcuts_.end(), Node{0});
    }

    size_t size() const { return parents_.size(); }
    Node parentOf(Node node) const { return parents_[node]; }

    // Puts `child`, which has no parent, below `parent`, unless it stands above it.
    void link(Node parent, Node child) {
        const Node root = rootOf(parent);
        if (root == child) return;
        parents_[child] = parent;
        shortcuts_[child] = root;
    }

    // Each walk halves the way for the next one, which is what keeps long chains cheap.
    Node rootOf(Node node) {
        for (; shortcuts_[node] != node; ++steps_) node = shortcuts_[node] = shortcuts_[shortcuts_[node]];
        return node;
    }

    uint64_t steps() const { return steps_; }

  private:
    uint64_t steps_ = 0;
    std::vector<Node> parents_;
    std::vector<Node> shortcuts_;  // to a node above, and in the end to the root
};

namespace {

// Which nodes have a message at their place or above it. Each node is looked at once.
template <typename Forest>
class Messages {
  public:
    Messages(const Forest& forest, std::span<const uint32_t> nodes)
        : forest_(forest), answers_(forest.size(), Answer::kUnknown) {
        for (const uint32_t node : nodes) answers_[node] = Answer::kYes;
    }

    bool standAtOrAbove(uint32_t node) {
        way_.clear();
        while (node != kNoNode && answers_[node] == Answer::kUnknown) {
            way_.push_back(node);
            node = forest_.parentOf(node);
        }
        steps_ += way_.size();
        const Answer answer = node == kNoNode ? Answer::kNo : answers_[node];
        for (const uint32_t passed : way_) answers_[passed] = answer;
        return answer == Answer::kYes;
    }

    uint64_t steps() const { return steps_; }

  private:
    enum class Answer : uint8_t { kUnknown, kYes, kNo };

    const Forest& forest_;
    std::vector<Answer> answers_;
    std::vector<uint32_t> way_;
    uint64_t steps_ = 0;
};

}  // namespace

ThreadFinder::Key ThreadFinder::keyOf(std::string_view text) {
    const Sha256::Digest digest = Sha256::of(text);
    Key key{};
    std::copy_n(digest.begin(), key.size(), key.begin());
    return key;
}

void ThreadFinder::add(const ThreadRecord& record) {
    Message message{};
    if (!messages_.empty() && pathOf(messages_.back()) == record.path) {
        message.path = messages_.back().path;
    } else {
        message.path = {paths_.size(), record.path.size()};
        paths_ += record.path;
    }
    message.number = record.index ? *record.index + 1 : 0;
    message.keys = keys_.size();
    message.hasId = !record.messageId.empty();
    message.hasSubject = !record.subjectBase.empty();
    message.isReplyOrForward = record.isReplyOrForward;
    if (message.hasSubject) message.subject = keyOf(lowerCase(record.subjectBase));
    if (message.hasId) keys_.push_back(keyOf(withoutQuotes(record.messageId)));
    for (const std::string& reference : record.references) {
        const Key key = keyOf(withoutQuotes(reference));
        const bool isOwn = message.hasId && key == keys_[message.keys];
        if (!isOwn) keys_.push_back(key);
    }
    messages_.push_back(message);
}

std::string_view ThreadFinder::pathOf(const Message& message) const {
    return std::string_view(paths_).substr(message.path.begin, message.path.length);
}

bool ThreadFinder::isBefore(size_t one, size_t other) const {
    const Message& first = messages_[one];
    const Message& second = messages_[other];
    if (first.path.begin != second.path.begin) {
        const int order = pathOf(first).compare(pathOf(second));
        if (order != 0) return order < 0;
    }
    return std::tie(first.number, one) < std::tie(second.number, other);
}

// Its references.
std::span<const ThreadFinder::Node> ThreadFinder::idsOf(size_t message) const {
    const Message& record = messages_[message];
    const size_t begin = record.keys + (record.hasId ? 1 : 0);
    const size_t end = message + 1 < messages_.size() ? messages_[message + 1].keys : idNodes_.size();
    return std::span(idNodes_).subspan(begin, end - begin);
}

void ThreadFinder::putInOrder() {
    order_.resize(messages_.size());
    std::iota(order_.begin(), order_.end(), size_t{0});
    std::ranges::sort(order_, [this](size_t one, size_t other) { return isBefore(one, other); });
}

// By sorting: what is in ids is up to their senders, and a hash table would have to stand that.
void ThreadFinder::numberIds() {
    if (keys_.size() + messages_.size() >= kNoNode) throw std::length_error("too many message ids");
    ids_ = keys_;
    std::ranges::sort(ids_);
    ids_.erase(std::unique(ids_.begin(), ids_.end()), ids_.end());
    ids_.shrink_to_fit();
    idNodes_.reserve(keys_.size());
    for (const Key& key : keys_)
        idNodes_.push_back(static_cast<Node>(std::ranges::lower_bound(ids_, key) - ids_.begin()));
    keys_ = {};
}

void ThreadFinder::numberMessages() {
    std::vector<bool> isTaken(ids_.size());
    nodes_.resize(messages_.size());
    for (const size_t message : order_) {
        const Message& record = messages_[message];
        const Node own = record.hasId ? idNodes_[record.keys] : kNoNode;
        if (own != kNoNode && !isTaken[own]) {
            isTaken[own] = true;
            nodes_[message] = own;
        } else {
            nodes_[message] = static_cast<Node>(ids_.size() + nameless_.size());
            nameless_.push_back(message);
        }
    }
}

void ThreadFinder::linkMessages(Forest& forest) const {
    for (const size_t message : order_) {
        const std::span<const Node> references = idsOf(message);
        if (!references.empty()) forest.link(references.back(), nodes_[message]);
    }
}

void ThreadFinder::linkReferences(Forest& forest) const {
    for (const size_t message : order_) {
        const std::span<const Node> references = idsOf(message);
        for (size_t i = 1; i < references.size(); ++i) {
            if (forest.parentOf(references[i]) == kNoNode) forest.link(references[i - 1], references[i]);
        }
    }
}

// The trees with a subject, which is that of their first message: of those that no other message stands above, the one
// that comes first.
std::vector<ThreadFinder::Tree> ThreadFinder::treesOf(Forest& forest) {
    Messages messages(forest, nodes_);
    std::vector<bool> isKnown(forest.size());
    std::vector<Tree> trees;
    for (size_t place = 0; place < order_.size(); ++place) {
        const Node node = nodes_[order_[place]];
        if (messages.standAtOrAbove(forest.parentOf(node))) continue;
        const Node root = forest.rootOf(node);
        if (isKnown[root]) continue;
        isKnown[root] = true;
        const Message& record = messages_[order_[place]];
        if (record.hasSubject) trees.push_back({record.subject, record.isReplyOrForward, place, root});
    }
    steps_ += messages.steps();
    return trees;
}

// Lets `roots` lead from the root of each tree to that of its conversation.
void ThreadFinder::joinSubjects(std::vector<Tree>& trees, std::vector<Node>& roots) {
    std::ranges::sort(trees, [](const Tree& one, const Tree& other) {
        return std::tie(one.subject, one.isReplyOrForward, one.place) <
               std::tie(other.subject, other.isReplyOrForward, other.place);
    });
    for (size_t i = 1; i < trees.size(); ++i) {
        if (trees[i].subject == trees[i - 1].subject) roots[trees[i].root] = roots[trees[i - 1].root];
    }
}

uint64_t ThreadFinder::identifierOf(Node root) const {
    if (root < ids_.size()) return beginningOf(ids_[root]);
    const Message& message = messages_[nameless_[root - ids_.size()]];
    std::string place(1, '\0');
    place += pathOf(message);
    if (message.number > 0) place += formatted("{}{}", '\0', message.number - 1);
    return beginningOf(Sha256::of(place));
}

std::vector<uint64_t> ThreadFinder::find() {
    putInOrder();
    numberIds();
    numberMessages();
    Forest forest(ids_.size() + nameless_.size());
    linkMessages(forest);
    linkReferences(forest);
    std::vector<Node> roots(forest.size());
    std::iota(roots.begin(), roots.end(), Node{0});
    std::vector<Tree> trees = treesOf(forest);
    joinSubjects(trees, roots);
    std::vector<uint64_t> identifiers;
    identifiers.reserve(nodes_.size());
    for (const Node node : nodes_) identifiers.push_back(identifierOf(roots[forest.rootOf(node)]));
    steps_ += forest.steps();
    return identifiers;
}

std::string threadText(uint64_t identifier) { return formatted("{:016x}", identifier); }

}  // namespace emltool
