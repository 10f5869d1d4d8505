// The filter's open scan and its search for the readable text once more, over a message in memory: one rule
// after the other, no thought of speed. Held against the real ones.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace reference {

struct FilterPart {
    int64_t start = 0;
    int64_t end = 0;
    uint32_t encoding = 0;
    std::string type;
};

struct FilterAttachment {
    int64_t offset = 0;
    uint32_t encoding = 0;
    std::string type;
    std::string name;
    uint32_t partIndex = 0;
};

class FilterScan {
  public:
    explicit FilterScan(std::string_view message) : message_(message) {}

    // The whole message, part by part. Gives the code of the open.
    uint32_t scan();

    // The readable text, after a scan that recorded parts. `bodyEncoding` is learnt too.
    void findBody();

    std::vector<FilterPart> parts;
    std::vector<FilterAttachment> attachments;
    size_t firstPart = 0;
    int64_t messageSize = 0;
    int64_t headerLength = 0;
    uint32_t encoding = 0;
    std::string type;
    uint32_t charset = 7;
    bool charsetTaken = false;
    std::string charsetName;
    std::string boundary;  // empty: none
    bool boundaryStored = false;
    uint32_t mimeIndicator = 0;
    bool encrypted = false;
    bool isSigned = false;
    std::string lineEnd;  // one or two bytes once it is known
    int64_t bodyStart = 0;
    int64_t bodyEnd = 0;

  private:
    struct Block {
        bool scanMode = false;
        bool typeSeen = false;
        bool encodingSeen = false;
        bool dispositionSeen = false;
        bool attachment = false;
        bool suppressed = false;
        std::string name;
    };

    // The reader.
    size_t readBuffer();
    void learnLineEnd();
    [[nodiscard]] size_t boundaryCarry() const;
    [[nodiscard]] size_t lineCarry() const;

    // Characters of the buffer; a zero byte follows it.
    [[nodiscard]] size_t size() const { return buffer_.size(); }
    [[nodiscard]] char at(size_t place) const { return place < size() ? buffer_[place] : '\0'; }
    [[nodiscard]] bool blankAt(size_t place) const { return at(place) == ' ' || at(place) == '\t'; }
    [[nodiscard]] bool lineEndAt(size_t place) const { return at(place) == '\r' || at(place) == '\n'; }
    [[nodiscard]] bool keywordAt(size_t place, std::string_view keyword) const;
    [[nodiscard]] size_t skipBlanks(size_t place) const;
    [[nodiscard]] size_t skipOneLineEnd(size_t place) const;
    [[nodiscard]] size_t nextLine(size_t place) const;
    [[nodiscard]] size_t firstParameter(size_t place) const;
    [[nodiscard]] size_t boundaryAt(size_t place) const;  // npos: none before a zero byte
    [[nodiscard]] std::string tokenAt(size_t place) const;

    // Header blocks.
    void decodeHeader(size_t& place, bool scanMode);
    void readLine(Block& block, size_t place);
    void readEncoding(size_t place);
    void readDisposition(Block& block, size_t place);
    void classify(Block& block, size_t place);
    void classifyOther(Block& block, size_t place);
    void readName(Block& block, size_t place) const;
    void nameBySubject(Block& block, size_t place) const;
    [[nodiscard]] std::string copyName(size_t place, bool quoted) const;
    void readBoundary(const Block& block, size_t place);
    void readCharset(size_t place);

    // The scan and the search.
    bool skipBehindBoundary(size_t& place) const;
    void scanBuffer();
    void recordPart(int64_t start);
    uint32_t finishScan();
    void searchBodyBuffer(bool& startKnown, bool& endKnown);

    std::string message_;
    size_t position_ = 0;
    std::string buffer_;
    std::string carry_;
    int64_t offset_ = 0;  // of the buffer, from where the reading began
    std::vector<FilterPart> slots_;
};

}  // namespace reference
