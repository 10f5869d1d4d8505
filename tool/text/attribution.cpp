#include "tool/text/attribution.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "tool/text/ascii.h"
#include "tool/text/mail_words.h"

namespace emltool {

namespace {

constexpr size_t kFirstWords = 6;    // a date or an address is among them
constexpr size_t kWordsOfShort = 8;  // of an attribution without either

// "wrote", "writes", "has written", as comparable() gives them.
constexpr std::string_view kVerbs =
    "wrote|writes|said|says|"                           // English
    "schrieb|schreibt|geschrieben|"                     // German
    "écrit|écrivait|écrivit|ecrit|"                     // French
    "escribió|escribio|escribe|escribía|"               // Spanish
    "scritto|scrive|scrisse|scriveva|"                  // Italian
    "escreveu|escreve|escrevia|"                        // Portuguese
    "schreef|schrijft|geschreven|"                      // Dutch
    "skrev|skriver|skreiv|"                             // Swedish, Danish, Norwegian
    "napisał|napisała|napisal|napisala|pisze|"          // Polish
    "написал|написала|пишет|писал|писала|"              // Russian
    "написав|пише|"                                     // Ukrainian
    "napsal|napsala|píše|napísal|napísala|psal|psala|"  // Czech, Slovak
    "kirjoitti|kirjoittaa|kirjutas|"                    // Finnish, Estonian
    "yazdı|yazdi|yazmış|"                               // Turkish
    "írta|scris|escriure|έγραψε|napisao|написа|pisal|написао|rakstīja|rašė|viết|menulis|כתב|"  // and others
    "כתבה|كتب|";

// Of languages that put no blanks between words.
constexpr std::string_view kVerbsWithinWords =
    "写道|寫道|写到|書きました|のメール|のメッセージ|님이 작성|님이 쓴 글|เขียนว่า|";

// "Quoting Anna <anna@example.org>:"
constexpr std::string_view kQuoters = "quoting|zitat|citando|citation|citat|citaat|cytowanie|цитирую|citace|";

// What the date of an attribution follows.
constexpr std::string_view kOpenings =
    "on|at|in|am|le|el|il|em|op|den|på|w|dnia|dne|dňa|в|у|la|pada|vào|στις|בתאריך|quoting|"
    "zitat|----|---|";

// A sentence of the sender's own that tells who wrote something.
constexpr std::string_view kOwnBeginnings =
    "i|we|as|ich|wir|wie|je|j'ai|nous|comme|yo|io|eu|ik|zoals|jag|jeg|som|ja|jak|я|мы|как|"
    "minä|ben|";

// "написал(а)", "napisał/a"
std::string_view withoutEnding(std::string_view word) { return word.substr(0, word.find_first_of("(/")); }

bool isVerb(std::string_view word) { return isListed(kVerbs, withoutEnding(bareWord(word))); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

size_t digitsAt(std::string_view text, size_t at) {
    size_t end = at;
    while (end < text.size() && isDigit(text[end])) ++end;
    return end - at;
}

char charAt(std::string_view text, size_t at) { return at < text.size() ? text[at] : '\0'; }

// What a text has of an attribution.
struct Signs {
    bool date = false;  // with a year, or all numbers
    bool time = false;
    bool address = false;
    bool isEarly = false;  // a number or an address is among the first words
    bool verb = false;
    bool verbIsLast = false;
};

// "2025", "04.03.25", "10:15"
void noteNumbers(std::string_view text, Signs& signs) {
    for (size_t i = 0; i < text.size(); ++i) {
        const size_t first = digitsAt(text, i);
        if (first == 0) continue;
        const size_t next = i + first;
        const char between = charAt(text, next);
        const size_t second = digitsAt(text, next + 1);
        const bool isYear = first == 4 && (text.substr(i, 2) == "19" || text.substr(i, 2) == "20");
        const bool isDay = first <= 2 && (second == 1 || second == 2) &&
                           (between == '.' || between == '/' || between == '-') &&
                           charAt(text, next + 1 + second) == between &&
                           digitsAt(text, next + 2 + second) >= 2;
        signs.date = signs.date || isYear || isDay;
        signs.time = signs.time || (first <= 2 && between == ':' && second == 2);
        i = next;
    }
}

bool hasDigitOrAt(std::string_view word) {
    return std::ranges::any_of(word, isDigit) || word.find('@') != std::string_view::npos;
}

// Whether one of the first `count` words has a number or is an address.
bool isNumberAmong(const std::vector<std::string_view>& words, size_t count) {
    const auto end = words.begin() + static_cast<ptrdiff_t>(std::min(words.size(), count));
    return std::any_of(words.begin(), end, hasDigitOrAt);
}

Signs signsOf(std::string_view text, const std::vector<std::string_view>& words) {
    Signs signs;
    noteNumbers(text, signs);
    signs.address = text.find('@') != std::string_view::npos;
    signs.isEarly = isNumberAmong(words, kFirstWords);
    signs.verb = std::ranges::any_of(words, isVerb);
    signs.verbIsLast = !words.empty() && isVerb(words.back());
    forEachListed(kVerbsWithinWords, [&](std::string_view verb) {
        const size_t at = text.rfind(verb);
        if (at == std::string_view::npos) return;
        signs.verb = true;
        signs.verbIsLast = signs.verbIsLast || text.size() - at <= verb.size() + 1;
    });
    return signs;
}

// What an attribution ends with; dashes if it begins with them.
bool hasEnd(std::string_view text) {
    return text.ends_with(':') || text.ends_with("...") || text.ends_with("--");
}

bool endsWithAddress(std::string_view text) {
    return text.ends_with(">:") || text.ends_with("):") || text.ends_with("]:");
}

}  // namespace

AttributionForm attributionForm(std::string_view text) {
    if (text.size() > kLongestAttribution) return AttributionForm::kNone;
    const std::string compared = comparable(text);
    text = compared;
    if (!hasEnd(text) || text.starts_with("--") != text.ends_with("--")) return AttributionForm::kNone;
    if (text.starts_with("--")) text = bareWord(text);
    const std::vector<std::string_view> words = wordsOf(text);
    if (words.empty() || isListed(kOwnBeginnings, bareWord(words.front()))) return AttributionForm::kNone;
    const Signs signs = signsOf(text, words);
    if (signs.isEarly && signs.verb && signs.date && (signs.time || signs.address)) {
        return AttributionForm::kComplete;
    }
    if (signs.isEarly && signs.verb && (signs.date || signs.time || signs.address)) {
        return AttributionForm::kDated;
    }
    const bool isQuoter = isListed(kQuoters, words.front());
    const bool namesSender = signs.address && endsWithAddress(text);
    if (namesSender && (isQuoter || (signs.isEarly && signs.date && signs.time)))
        return AttributionForm::kDated;
    if (signs.verbIsLast && words.size() <= kWordsOfShort) return AttributionForm::kVerbAlone;
    return AttributionForm::kNone;
}

bool opensAttribution(std::string_view line) {
    const std::string text = comparable(line.substr(0, kLongestAttribution));
    const std::vector<std::string_view> words = wordsOf(text);
    return !words.empty() && isListed(kOpenings, words.front()) && isNumberAmong(words, kFirstWords);
}

bool opensWithDate(std::string_view line) {
    Signs signs;
    noteNumbers(line.substr(0, kLongestAttribution), signs);
    return signs.date && opensAttribution(line);
}

bool mayBeginAttribution(std::string_view line) {
    constexpr size_t kSoon = 2;
    constexpr size_t kShort = 4;
    const std::string text = comparable(line.substr(0, kLongestAttribution));
    const std::vector<std::string_view> words = wordsOf(text);
    const Signs signs = signsOf(text, words);
    return signs.date || signs.time || signs.address || isNumberAmong(words, kSoon) ||
           (!words.empty() && words.size() <= kShort && isListed(kOpenings, words.front()));
}

bool mayEndAttribution(std::string_view line) {
    constexpr size_t kEndBytes = 24;
    const size_t end = line.find_last_not_of(" \t\r") + 1;  // 0 if there is nothing else
    if (line.size() > kLongestAttribution || end == 0) return false;
    const std::string_view text = line.substr(0, end);
    if ((static_cast<uint8_t>(text.back()) & 0x80) == 0) return hasEnd(text);
    // The wide colon, invisible characters and wide blanks are of three bytes, but for U+00A0.
    const char lead = end < 3 ? '\0' : text[end - 3];
    if (lead != '\xE2' && lead != '\xEF' && !text.ends_with("\xC2\xA0")) return false;
    return hasEnd(comparable(text.substr(end - std::min(end, kEndBytes))));
}

}  // namespace emltool
