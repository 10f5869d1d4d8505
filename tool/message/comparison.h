// What the three readings of a message find, side by side.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "standalone/output.h"
#include "tool/message/message_file.h"
#include "tool/text/reading.h"

namespace emltool {

inline constexpr size_t kReadings = 3;

// One value for each reading, in the order of Reading.
template <typename T>
using OfReadings = std::array<T, kReadings>;

// How one reading gives a content that another has.
enum class Mark {
    kYes,
    kLineEnds,   // a file whose line ends differ
    kText,       // not as a file, but its text shows it
    kNamedOnly,  // names it; the content is not in the message
    kOtherName,
    kOtherBytes,
    kOtherText,  // not as a file; its text shows some of it, or something else in its place
    kNo
};

// Whether a host that relies on such a reading gets the content under its name.
constexpr bool isAgreement(Mark mark) { return mark <= Mark::kNamedOnly; }

// A file that one reading offers.
struct Sighting {
    uint32_t number = 0;  // of the part (MIME), or of the sub-file
    std::string name;     // UTF-8, as a person reads it; empty if the reading knows none. Not safe as a path
    bool isNamed = true;  // by the message; otherwise the name is made up, or empty
    uint64_t size = 0;
    std::string sha256;       // of the decoded bytes, in hexadecimal
    std::string linesDigest;  // the same without what differs in line ends
    bool isInFile = true;
};

// Where the MIME reader has a content from.
struct PartPlace {
    uint32_t part = 0;
    std::string section;  // see sectionNumbers
    std::string type;     // "text/plain"
    uint64_t offset = 0;  // of the body as it stands in the file
    uint64_t length = 0;
};

// One content.
struct ContentRow {
    OfReadings<std::optional<Sighting>> sightings;
    OfReadings<Mark> marks{Mark::kNo, Mark::kNo, Mark::kNo};
    std::optional<PartPlace> place;  // unless the MIME reader does not know it

    // What is only named in the message is no content that anybody could miss.
    bool agrees() const;

    // As the first reading that offers it has it.
    const Sighting& first() const;

    // The first one that is not empty; empty if all are.
    std::string name() const;
};

// A part of the MIME reader that another reading does not give in any form.
struct LeftOut {
    PartPlace place;
    std::string name;
    uint64_t size = 0;
    bool isOtherForm = false;  // of a text that the reading does give: multipart/alternative
};

// A part of the text that all readings should have.
struct ReadText {
    std::string text;      // UTF-8
    bool agrees = true;    // with the MIME reader, white space and quote marks aside
    size_t differsAt = 0;  // the first difference from it, in the significant texts
};

struct ReadingResult {
    std::string problem;  // why it gives nothing, or not all; empty if it gives all that it has
    ReadText subject;
    ReadText text;  // the body as lines of text, without HTML
    std::vector<LeftOut> leftOut;
};

// Bytes that the MIME reader finds in no part.
struct BetweenParts {
    bool isEpilogue = false;
    uint32_t part = 0;  // the multipart
    uint64_t offset = 0;
    uint64_t length = 0;
    std::string beginning;  // of its text, in one line; empty if it is all white space
};

struct Comparison {
    std::vector<ContentRow> contents;  // those that any reading offers as a file
    OfReadings<ReadingResult> readings;
    std::vector<BetweenParts> betweenParts;

    bool agrees() const;
};

// "MIME", "container", "filter".
const char* readingName(Reading reading);

// Reads the message three times. Throws Problem.
Comparison compareReadings(MessageFile& file);

// A content of the union: bytes that at least one reading offers as a file.
struct FoundContent {
    std::string name;  // never empty; not safe as a path
    uint64_t size = 0;
    std::string sha256;
    Reading reading = Reading::kMime;  // that it is taken from, the first one that offers it
    uint32_t number = 0;               // there
    OfReadings<bool> offeredBy{};      // these bytes
};

// All contents of all readings, each once, in the order of the MIME reader and then of the others. Contents that are
// only named are left out.
std::vector<FoundContent> unionOf(const Comparison& comparison);

// Writes one content. The output's error() tells whether it could be written.
using WriteContent = std::function<void(emlhost::Output& output)>;
using ContentWork = std::function<void(const FoundContent& content, const WriteContent& write)>;

// Calls `work` for each content, in order, while the reader that it is from is open; each reader is opened once. Throws
// Problem, and what `work` throws.
void extractUnion(MessageFile& file, const std::vector<FoundContent>& contents, const ContentWork& work);

}  // namespace emltool
