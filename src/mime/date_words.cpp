#include "mime/date_words.h"

#include <algorithm>
#include <array>

#include "bytes/subtext.h"
#include "mime/header_fields.h"

namespace eml {

namespace {

constexpr std::array<std::string_view, 12> kMonths{"January",   "February", "March",    "April",
                                                   "May",       "June",     "July",     "August",
                                                   "September", "October",  "November", "December"};

constexpr std::array<std::string_view, 7> kDays{"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                "Friday", "Saturday", "Sunday"};

// Of names with more than one meaning: those of RFC 5322 as it says (CST, EST, MST: North America), BST is British
// summer time, IST Indian time, AST Atlantic time, and the rest as mail mostly means it.
constexpr NamedZone kZones[] = {
    {"UT", 0, true},      {"GMT", 0, true},     {"EST", -300, true},   {"EDT", -240, true},
    {"CST", -360, true},  {"CDT", -300, true},  {"MST", -420, true},   {"MDT", -360, true},
    {"PST", -480, true},  {"PDT", -420, true},  {"UTC", 0, false},     {"WET", 0, false},
    {"WEST", 60, false},  {"BST", 60, false},   {"CET", 60, false},    {"CEST", 120, false},
    {"MET", 60, false},   {"MEST", 120, false}, {"MEZ", 60, false},    {"MESZ", 120, false},
    {"EET", 120, false},  {"EEST", 180, false}, {"IDT", 180, false},   {"MSK", 180, false},
    {"MSD", 240, false},  {"SAST", 120, false}, {"WAT", 60, false},    {"CAT", 120, false},
    {"EAT", 180, false},  {"PKT", 300, false},  {"IST", 330, false},   {"ICT", 420, false},
    {"WIB", 420, false},  {"HKT", 480, false},  {"SGT", 480, false},   {"AWST", 480, false},
    {"JST", 540, false},  {"KST", 540, false},  {"ACST", 570, false},  {"ACDT", 630, false},
    {"AEST", 600, false}, {"AEDT", 660, false}, {"NZST", 720, false},  {"NZDT", 780, false},
    {"NST", -210, false}, {"NDT", -150, false}, {"AST", -240, false},  {"ADT", -180, false},
    {"BRT", -180, false}, {"ART", -180, false}, {"AKST", -540, false}, {"AKDT", -480, false},
    {"HST", -600, false},
};

// Whether `word` is the beginning of `name`, three letters at least.
bool shortens(std::string_view word, std::string_view name) {
    return word.size() >= 3 && word.size() <= name.size() && equalNoCase(word, subtext(name, 0, word.size()));
}

}  // namespace

int64_t monthOfWord(std::string_view word) {
    for (size_t i = 0; i < kMonths.size(); ++i) {
        if (shortens(word, kMonths[i])) return static_cast<int64_t>(i) + 1;
    }
    return 0;
}

bool isDayOfWeek(std::string_view word) {
    return std::ranges::any_of(kDays, [word](std::string_view day) { return shortens(word, day); });
}

const NamedZone* findZone(std::string_view word) {
    for (const NamedZone& zone : kZones) {
        if (equalNoCase(word, zone.name)) return &zone;
    }
    return nullptr;
}

}  // namespace eml
