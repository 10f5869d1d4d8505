#include "reference/names.h"

namespace reference {
namespace {

bool isForbidden(char byte) { return std::string_view("?:\\/*<>|\"").find(byte) != std::string_view::npos; }

bool isControl(char byte) { return static_cast<unsigned char>(byte) < 32; }

}  // namespace

std::string mainNameOfSubject(std::string_view subject) {
    std::string name;
    if (!subject.empty() && subject[0] != '\0') {
        for (const char byte : subject) {
            if (name.size() == 8) break;
            if (!isForbidden(byte) && !isControl(byte)) name += byte;
        }
    }
    return (name.empty() ? "zteml" : name) + ".mail";
}

std::string mainNameOfTexts(const std::vector<std::string>& texts) {
    std::string name;
    size_t total = 0;
    for (const std::string& text : texts) {
        if (total >= 8) break;
        for (const char byte : text) {
            if (name.size() == 8) break;
            if (!isForbidden(byte) && !isControl(byte)) name += byte;
        }
        total += name.size();
    }
    return (name.empty() ? "zteml" : name) + ".mail";
}

std::string nameOfEmbedded(std::string_view rest, int number) {
    const std::string_view field = "Subject:";
    const size_t found = rest.find(field);
    // A keyword that reaches the end of the buffer counts as absent.
    const bool absent = found == std::string_view::npos || found + field.size() == rest.size();
    if (absent) return "zt" + std::to_string(number) + ".eml";
    std::string_view value = rest.substr(found + field.size());
    const auto dropBlanks = [&value] {
        while (!value.empty() && (value[0] == ' ' || value[0] == '\t')) value.remove_prefix(1);
    };
    dropBlanks();
    if (value.starts_with("Fw:") || value.starts_with("Re:")) {
        value.remove_prefix(3);
        dropBlanks();
    }
    value = value.substr(0, value.find_first_of("\r\n"));
    value = value.substr(0, 1023);
    std::string name;
    for (const char byte : value) {
        const bool dropped = isForbidden(byte) || isControl(byte) || static_cast<unsigned char>(byte) >= 128;
        if (!dropped) name += byte;
    }
    while (!name.empty() && name[0] == ' ') name.erase(0, 1);
    return name.substr(0, 8) + ".eml";
}

}  // namespace reference
