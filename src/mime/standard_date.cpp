#include "mime/date_forms.h"
#include "mime/date_words.h"

namespace eml {

namespace {

constexpr int64_t kFirstYear = 1900;      // of four digits and more
constexpr int64_t kLastYear = 999999999;  // far from where seconds no longer fit in 64 bits

bool isTwoDigits(const DateToken& token, int64_t limit) {
    return token.isNumber() && token.digits == 2 && token.number <= limit;
}

bool readYear(const DateToken& token, DateParts& parts) {
    if (!token.isNumber() || !token.gapBefore || token.digits < 2) return false;
    parts.year = fullYear(token);
    return (token.digits < 4 || token.number >= kFirstYear) && token.number <= kLastYear;
}

bool readDay(const DateTokens& tokens, size_t& at, DateParts& parts) {
    const DateToken& day = tokens.at(at);
    const DateToken& month = tokens.at(at + 1);
    if (!day.isNumber() || day.digits > 2) return false;
    if (!month.isWord() || !month.gapBefore || month.word.size() != 3) return false;
    parts.day = day.number;
    parts.month = monthOfWord(month.word);
    if (parts.month == 0 || !readYear(tokens.at(at + 2), parts)) return false;
    at += 3;
    return true;
}

bool readTime(const DateTokens& tokens, size_t& at, DateParts& parts) {
    const DateToken& hour = tokens.at(at);
    if (!hour.gapBefore || !isTwoDigits(hour, 23)) return false;
    if (!tokens.at(at + 1).isSign(':') || !isTwoDigits(tokens.at(at + 2), 59)) return false;
    parts.hour = hour.number;
    parts.minute = tokens.at(at + 2).number;
    parts.hasTime = true;
    at += 3;
    if (!tokens.at(at).isSign(':')) return true;
    if (!isTwoDigits(tokens.at(at + 1), 60)) return false;
    parts.second = tokens.at(at + 1).number;
    at += 2;
    return true;
}

bool readNumericZone(const DateTokens& tokens, size_t& at, DateParts& parts) {
    const DateToken& sign = tokens.at(at);
    const DateToken& zone = tokens.at(at + 1);
    const bool east = sign.isSign('+');
    if ((!east && !sign.isSign('-')) || !sign.gapBefore) return false;
    if (!zone.isNumber() || zone.gapBefore || zone.digits != 4 || zone.number % 100 > 59) return false;
    const auto minutes = static_cast<int32_t>(zone.number / 100 * 60 + zone.number % 100);
    parts.zoneMinutes = east ? minutes : -minutes;
    parts.hasZone = east || minutes != 0;  // "-0000": nothing is known about the zone
    at += 2;
    return true;
}

bool readNamedZone(const DateTokens& tokens, size_t& at, DateParts& parts) {
    const DateToken& token = tokens.at(at);
    if (!token.isWord()) return false;
    ++at;
    // Letters of the military zones were once defined with the wrong sign: as "-0000".
    if (token.word.size() == 1) return token.word != "J" && token.word != "j";
    const NamedZone* zone = findZone(token.word);
    if (zone == nullptr || !zone->standard) return false;
    parts.zoneMinutes = zone->minutes;
    parts.hasZone = true;
    return true;
}

}  // namespace

int64_t fullYear(const DateToken& token) {
    if (token.digits <= 2) return token.number < 50 ? token.number + 2000 : token.number + 1900;
    return token.digits == 3 ? token.number + 1900 : token.number;
}

bool readStandardDate(const DateTokens& tokens, DateParts& parts) {
    size_t at = 0;
    const DateToken& first = tokens.at(0);
    if (first.isWord()) {
        if (first.word.size() != 3 || !isDayOfWeek(first.word) || !tokens.at(1).isSign(',')) return false;
        at = 2;
    }
    if (!readDay(tokens, at, parts) || !readTime(tokens, at, parts)) return false;
    if (!readNumericZone(tokens, at, parts) && !readNamedZone(tokens, at, parts)) return false;
    return tokens.at(at).kind == DateTokenKind::kEnd && at < kMaxDateTokens;
}

}  // namespace eml
