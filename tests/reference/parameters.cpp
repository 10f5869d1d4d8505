#include "reference/parameters.h"

namespace reference {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kTextEnd("\0\r\n", 3);

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

bool beginsWith(std::string_view text, std::string_view literal) {
    if (text.size() < literal.size()) return false;
    for (size_t i = 0; i < literal.size(); ++i) {
        if (lower(text[i]) != lower(literal[i])) return false;
    }
    return true;
}

std::string_view without(std::string_view text, std::string_view leading) {
    const size_t kept = text.find_first_not_of(leading);
    return kept == std::string_view::npos ? std::string_view{} : text.substr(kept);
}

std::string_view upTo(std::string_view text, std::string_view stops) {
    return text.substr(0, text.find_first_of(stops));
}

}  // namespace

uint32_t contentClass(std::string_view text) {
    static constexpr struct {
        std::string_view prefix;
        uint32_t value;
    } kRows[] = {
        {"application/rtf", 2},
        {"application/pkcs7-mime", 3},
        {"application/pkcs7-signature", 4},
        {"application/x-pkcs7-signature", 4},
        {"application", 10},
        {"audio", 10},
        {"image", 10},
        {"multipart/alternative", 6},
        {"multipart/signed", 8},
        {"multipart/related", 7},
        {"multipart/digest", 0},
        {"multipart/", 9},
        {"message/", 5},
        {"text/plain", 0},
        {"text/html", 1},
        {"video", 10},
    };
    const std::string_view value = without(text, kBlanks);
    for (const auto& row : kRows) {
        if (beginsWith(value, row.prefix)) return row.value;
    }
    return 0;
}

uint32_t transferEncoding(std::string_view text) {
    const std::string_view value = without(text, "\" \t");
    if (beginsWith(value, "7bit")) return 1;
    if (beginsWith(value, "8bit")) return 2;
    if (beginsWith(value, "base64")) return 4;
    if (beginsWith(value, "quoted-printable")) return 5;
    return 0;
}

std::optional<std::string> boundary(std::string_view text) {
    if (!beginsWith(text, "boundary=")) return std::nullopt;
    std::string_view value = upTo(text.substr(9), kTextEnd);
    if (!value.empty() && value.front() == '"') return std::string(upTo(value.substr(1), "\""));
    return std::string(upTo(value, "; \t"));
}

std::optional<std::string> quotedValue(std::string_view text) {
    const std::string_view value = without(upTo(text, kTextEnd), "\" \t");
    if (value.empty()) return std::nullopt;
    return std::string(upTo(value, "\""));
}

std::string_view firstParameter(std::string_view text) {
    const std::string_view line = upTo(text, kTextEnd);
    const size_t token = line.find_first_of(" \t;");
    if (token == std::string_view::npos) return {};
    return without(line.substr(token), " \t;");
}

std::string embeddedName(std::string_view subject, int number) {
    std::string_view rest = without(upTo(subject, kTextEnd), kBlanks);
    if (beginsWith(rest, "re:") || beginsWith(rest, "fw:")) rest.remove_prefix(3);
    std::string name;
    for (const char character : rest) {
        if (name.size() == 8) break;
        if (std::string_view("?:\\/*<>|\"").find(character) != std::string_view::npos) continue;
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte >= 0x80) continue;
        if (name == " ") name.clear();
        name += character;
    }
    if (name.empty()) name = "zt" + std::to_string(number);
    return name + ".eml";
}

}  // namespace reference
