#include "tool/archive/archive_kind.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

namespace emltool {

namespace {

using namespace std::string_view_literals;

// gzip with the only method that there is; bzip2, whose fourth byte is checked below; xz; Zstandard; zip, whose second
// form is one without members.
constexpr std::array kMarks = {"\x1F\x8B\x08"sv,
                               "BZh"sv,
                               "\xFD"
                               "7zXZ\0"sv,
                               "\x28\xB5\x2F\xFD"sv,
                               "PK\x03\x04"sv,
                               "PK\x05\x06"sv};
constexpr std::string_view kBlockMark = "\x31\x41\x59\x26\x53\x59";  // of bzip2
constexpr std::string_view kEndMark = "\x17\x72\x45\x38\x50\x90";    // the same without content

bool isOctal(char c) { return c >= '0' && c <= '7'; }

// The field of a header: blanks, octal digits, and what ends them.
std::optional<uint64_t> octalIn(std::string_view field) {
    const size_t first = field.find_first_not_of(' ');
    if (first == std::string_view::npos || !isOctal(field[first])) return std::nullopt;
    uint64_t number = 0;
    for (size_t i = first; i < field.size() && isOctal(field[i]); ++i)
        number = number * 8 + static_cast<uint64_t>(field[i] - '0');
    return number;
}

// The first block of a tar has the sum of its bytes in it, its own field counting as blanks. Some programs have summed
// signed bytes.
bool beginsTar(std::string_view block) {
    constexpr size_t kBlock = 512;
    constexpr size_t kSum = 148;
    constexpr size_t kSumLength = 8;
    if (block.size() < kBlock || block[0] == '\0') return false;
    const std::optional<uint64_t> stated = octalIn(block.substr(kSum, kSumLength));
    if (!stated) return false;
    int64_t sum = 0;
    int64_t signedSum = 0;
    for (size_t i = 0; i < kBlock; ++i) {
        const char c = i >= kSum && i < kSum + kSumLength ? ' ' : block[i];
        sum += static_cast<unsigned char>(c);
        signedSum += static_cast<signed char>(c);
    }
    const auto wanted = static_cast<int64_t>(*stated);
    return sum == wanted || signedSum == wanted;
}

// Words may begin so.
bool beginsBzip2(std::string_view beginning) {
    constexpr size_t kLevel = 3;
    if (beginning.size() < kLevel + 1 || beginning[kLevel] < '1' || beginning[kLevel] > '9') return false;
    const std::string_view block = beginning.substr(kLevel + 1);
    return block.starts_with(kBlockMark) || block.starts_with(kEndMark);
}

// Many kinds of documents and programs are zips. Their first member tells.
bool beginsDocument(std::string_view beginning) {
    constexpr size_t kNameLength = 26;  // where it is
    constexpr size_t kName = 30;
    constexpr std::array kFirstMembers = {"mimetype"sv, "[Content_Types].xml"sv, "_rels/.rels"sv};
    constexpr std::array kFirstFolders = {"META-INF/"sv, "docProps/"sv, "word/"sv, "xl/"sv, "ppt/"sv};
    if (!beginning.starts_with("PK\x03\x04"sv) || beginning.size() < kName) return false;
    const size_t length = static_cast<unsigned char>(beginning[kNameLength]) +
                          static_cast<unsigned char>(beginning[kNameLength + 1]) * size_t{256};
    const std::string_view name = beginning.substr(kName, length);
    return std::ranges::find(kFirstMembers, name) != kFirstMembers.end() ||
           std::ranges::any_of(kFirstFolders,
                               [name](std::string_view folder) { return name.starts_with(folder); });
}

}  // namespace

bool beginsArchive(std::string_view beginning) {
    if (beginsDocument(beginning)) return false;
    for (const std::string_view mark : kMarks) {
        if (beginning.starts_with(mark)) return mark != "BZh" || beginsBzip2(beginning);
    }
    return beginsTar(beginning);
}

}  // namespace emltool
