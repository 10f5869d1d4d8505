#include "tool/message/end.h"

#include <algorithm>
#include <cstdint>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

constexpr uint64_t kExamined = uint64_t{64} << 10;
constexpr std::string_view kBlanks = " \t\r\n";

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

// Takes the first line off `text` and returns it without its line end.
std::string_view takeLine(std::string_view& text) {
    size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

// The first Content-Type field of a header, unfolded, without its name.
std::string contentType(std::string_view header) {
    constexpr std::string_view kName = "content-type:";
    std::string value;
    bool found = false;
    while (!header.empty()) {
        std::string_view line = takeLine(header);
        bool continues = line.starts_with(' ') || line.starts_with('\t');
        if (line.empty() || (found && !continues)) break;
        if (found) {
            value += line;
        } else if (startsWithNoCase(line, kName)) {
            found = true;
            value = line.substr(kName.size());
        }
    }
    return value;
}

// Takes everything up to the next `stop` outside quoted strings (RFC 2045 section 5.1) off `text`, with that
// stop, and returns what precedes it. Quotes and the backslashes inside them are dropped.
std::string takeUntil(std::string_view& text, char stop) {
    std::string taken;
    bool quoted = false;
    while (!text.empty()) {
        char c = text.front();
        text.remove_prefix(1);
        if (c == stop && !quoted) break;
        if (c == '"') {
            quoted = !quoted;
            continue;
        }
        if (quoted && c == '\\' && !text.empty()) {
            c = text.front();
            text.remove_prefix(1);
        }
        taken += c;
    }
    return taken;
}

std::string readBytes(emlhost::Input& input, uint64_t from, uint64_t count) {
    std::string bytes;
    EmlIOobj* object = input.object();
    if (object->open(object) == 0) return bytes;
    bytes.resize(static_cast<size_t>(count));
    size_t got = 0;
    if (object->seek(object, static_cast<uint32_t>(from), static_cast<int32_t>(from >> 32), EML_SEEK_START) !=
        0) {
        while (got < bytes.size()) {
            int32_t more =
                object->read(object, bytes.data() + got, static_cast<uint32_t>(bytes.size() - got));
            if (more < 1) break;
            got += static_cast<size_t>(more);
        }
    }
    object->close(object);
    bytes.resize(got);
    return bytes;
}

}  // namespace

std::string boundaryOf(std::string_view beginning) {
    const std::string value = contentType(beginning);
    std::string_view rest = value;
    skipBlanks(rest);
    if (!startsWithNoCase(rest, "multipart/")) return "";
    takeUntil(rest, ';');
    while (!rest.empty()) {
        skipBlanks(rest);
        bool boundary = startsWithNoCase(rest, "boundary=");
        std::string parameter = takeUntil(rest, ';');
        if (!boundary) continue;
        parameter.erase(0, parameter.find('=') + 1);
        parameter.erase(parameter.find_last_not_of(kBlanks) + 1);
        return parameter;
    }
    return "";
}

bool lacksClosingDelimiter(emlhost::Input& input) {
    const uint64_t examined = std::min(input.size(), kExamined);
    const std::string beginning = readBytes(input, 0, examined);
    const std::string delimiter = "--" + boundaryOf(beginning);
    if (delimiter.size() == 2 || beginning.find('\n' + delimiter) == std::string::npos) return false;
    return readBytes(input, input.size() - examined, examined).find(delimiter + "--") == std::string::npos;
}

}  // namespace emltool
