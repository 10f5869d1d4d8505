#include "tool/batch/finished_rows.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "tool/terminal/problem.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

// Of either version.
constexpr std::array<std::string_view, 2> kRowBegins = {R"({"schema":"eml/1","source":{"path":")",
                                                        R"({"schema":"eml/2","source":{"path":")"};

std::string fromBase64(std::string_view text) {
    std::string bytes;
    uint32_t group = 0;
    int bits = 0;
    for (char c : text) {
        uint32_t value = 0;
        if (c >= 'A' && c <= 'Z')
            value = static_cast<uint32_t>(c - 'A');
        else if (c >= 'a' && c <= 'z')
            value = static_cast<uint32_t>(c - 'a' + 26);
        else if (c >= '0' && c <= '9')
            value = static_cast<uint32_t>(c - '0' + 52);
        else if (c == '+')
            value = 62;
        else if (c == '/')
            value = 63;
        else
            break;
        group = group << 6 | value;
        bits += 6;
        if (bits < 8) continue;
        bits -= 8;
        bytes.push_back(static_cast<char>(group >> bits & 0xFF));
    }
    return bytes;
}

// Reads the object "source" of a row, and then returns false to stop the reader.
class SourceHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, SourceHandler> {
  public:
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        key_.assign(text, length);
        return true;
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        if (key_ == "path") path.assign(text, length);
        if (key_ == "path_b64") path = fromBase64({text, length});
        return true;
    }
    bool Uint(unsigned value) { return Uint64(value); }
    bool Uint64(uint64_t value) {
        if (key_ == "index") index = value;
        return true;
    }
    bool EndObject(rapidjson::SizeType) {
        complete = true;  // the first object that ends is the source
        return false;
    }

    std::string path;
    std::optional<uint64_t> index;
    bool complete = false;

  private:
    std::string key_;
};

bool takeRow(std::string_view line, FinishedRows& finished) {
    const bool begins = std::any_of(kRowBegins.begin(), kRowBegins.end(),
                                    [&](std::string_view beginning) { return line.starts_with(beginning); });
    if (!begins || !line.ends_with('}')) return false;
    rapidjson::MemoryStream stream(line.data(), line.size());
    rapidjson::Reader reader;
    SourceHandler handler;
    reader.Parse<rapidjson::kParseStopWhenDoneFlag>(stream, handler);
    if (handler.complete) finished.add(handler.path, handler.index);
    return handler.complete;
}

// What a run leaves when it is killed while writing, or when the machine loses power, which may leave zero
// bytes.
bool isTornRow(std::string_view text) {
    const auto begins = [&](std::string_view beginning) {
        const size_t known = std::min(text.size(), beginning.size());
        return text.substr(0, known) == beginning.substr(0, known);
    };
    return std::any_of(kRowBegins.begin(), kRowBegins.end(), begins) ||
           text.find_first_not_of('\0') == std::string_view::npos;
}

Problem noRow(const std::string& name, uint64_t line) {
    return {
        ExitCode::kOutput, "not-rows", name,
        formatted("line {} is no row of eml batch, so nothing is continued here; choose another file", line)};
}

}  // namespace

FinishedRows::Key FinishedRows::keyOf(std::string_view path, std::optional<uint64_t> index) {
    std::string text(path);
    if (index) text += formatted("{}{}", '\0', *index);
    Sha256::Digest digest = Sha256::of(text);
    Key key{};
    std::copy_n(digest.begin(), key.size(), key.begin());
    return key;
}

void FinishedRows::add(std::string_view path, std::optional<uint64_t> index) {
    keys_.push_back(keyOf(path, index));
}

void FinishedRows::seal() {
    std::sort(keys_.begin(), keys_.end());
    taken_.assign(keys_.size(), false);
}

bool FinishedRows::take(std::string_view path, std::optional<uint64_t> index) {
    if (keys_.empty()) return false;
    Key key = keyOf(path, index);
    auto found = std::lower_bound(keys_.begin(), keys_.end(), key);
    for (; found != keys_.end() && *found == key; ++found) {
        auto place = static_cast<size_t>(found - keys_.begin());
        if (taken_[place]) continue;
        taken_[place] = true;
        return true;
    }
    return false;
}

uint64_t readFinishedRows(int descriptor, const std::string& name, FinishedRows& finished) {
    constexpr size_t kPiece = size_t{1} << 20;
    std::string buffer;
    uint64_t position = 0;  // of the end of the buffer
    uint64_t line = 1;
    for (;;) {
        size_t searched = buffer.size();
        buffer.resize(searched + kPiece);
        ssize_t got = -1;
        do {
            got = ::pread(descriptor, buffer.data() + searched, kPiece, static_cast<off_t>(position));
        } while (got < 0 && errno == EINTR);
        if (got < 0) {
            throw Problem(ExitCode::kOutput, "cannot-read", name, describe({errno, std::system_category()}));
        }
        buffer.resize(searched + static_cast<size_t>(got));
        position += static_cast<uint64_t>(got);
        size_t begin = 0;
        for (size_t end = buffer.find('\n', searched); end != std::string::npos;
             end = buffer.find('\n', begin)) {
            if (!takeRow(std::string_view(buffer).substr(begin, end - begin), finished))
                throw noRow(name, line);
            ++line;
            begin = end + 1;
        }
        buffer.erase(0, begin);
        if (got == 0) break;
    }
    if (!isTornRow(buffer)) throw noRow(name, line);
    finished.seal();
    return position - buffer.size();
}

}  // namespace emltool
