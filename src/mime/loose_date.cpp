#include "mime/date_forms.h"
#include "mime/date_words.h"
#include "mime/header_fields.h"

namespace eml {

namespace {

constexpr int64_t kLastLooseYear = 9999;  // larger numbers are something else

// Walks the tokens once and takes each for what it can be at its place. The first of each kind counts.
class LooseDate {
  public:
    LooseDate(const DateTokens& tokens, DateParts& parts) : tokens_(tokens), parts_(parts) {}

    void read() {
        size_t at = 0;
        while (tokens_.at(at).kind != DateTokenKind::kEnd) {
            const DateToken& token = tokens_.at(at);
            at = token.isNumber() ? readNumber(at) : token.isWord() ? readWord(at) : readSign(at);
        }
    }

  private:
    [[nodiscard]] const DateToken& at(size_t index) const { return tokens_.at(index); }

    [[nodiscard]] bool hasDate() const { return parts_.year != 0 && parts_.month != 0 && parts_.day != 0; }
    [[nodiscard]] bool hasNone() const { return parts_.year == 0 && parts_.month == 0 && parts_.day == 0; }

    [[nodiscard]] bool isShortNumber(size_t index) const {
        return at(index).isNumber() && at(index).digits <= 2;
    }

    [[nodiscard]] bool isWord(size_t index, std::string_view word) const {
        return at(index).isWord() && equalNoCase(at(index).word, word);
    }

    // "am", "a.m.": how many tokens it takes, 0 for none.
    [[nodiscard]] size_t halfOfDay(size_t index, bool& afternoon) const {
        afternoon = isWord(index, "pm") || isWord(index, "p");
        if (isWord(index, "am") || isWord(index, "pm")) return 1;
        const bool letter = isWord(index, "a") || afternoon;
        if (!letter || !at(index + 1).isSign('.') || !isWord(index + 2, "m")) return 0;
        return at(index + 3).isSign('.') ? 4 : 3;
    }

    void setYear(const DateToken& token) {
        const int64_t year = fullYear(token);
        if (year <= kLastLooseYear) parts_.year = year;
    }

    // The time has been read up to the token at `next`.
    size_t endTime(size_t next) {
        bool afternoon = false;
        if (const size_t length = halfOfDay(next, afternoon); length != 0) {
            if (parts_.hour == 12) parts_.hour = 0;
            if (afternoon && parts_.hour < 12) parts_.hour += 12;
            next += length;
        }
        const bool midnight = parts_.hour == 24 && parts_.minute == 0 && parts_.second == 0;
        parts_.hasTime = (parts_.hour < 24 || midnight) && parts_.minute < 60 && parts_.second <= 60;
        timeSeen_ = true;
        zonePlace_ = next;
        return next;
    }

    size_t readTime(size_t index, char separator) {
        parts_.hour = at(index).number;
        parts_.minute = at(index + 2).number;
        size_t next = index + 3;
        if (at(next).isSign(separator) && isShortNumber(next + 1)) {
            parts_.second = at(next + 1).number;
            next += 2;
        }
        const bool point = at(next).isSign('.') || at(next).isSign(',');
        if (point && at(next + 1).isNumber() && !at(next + 1).gapBefore) next += 2;  // parts of a second
        return endTime(next);
    }

    // HHMM or HHMMSS.
    void splitTime(int64_t number, bool seconds) {
        parts_.second = seconds ? number % 100 : 0;
        if (seconds) number /= 100;
        parts_.minute = number % 100;
        parts_.hour = number / 100;
    }

    // YYYYMMDD, and HHMM or HHMMSS directly after it.
    size_t readCompact(size_t index) {
        int64_t number = at(index).number;
        const uint32_t digits = at(index).digits;
        if (digits > 8) {
            splitTime(digits == 14 ? number % 1000000 : number % 10000, digits == 14);
            number /= digits == 14 ? 1000000 : 10000;
        }
        parts_.year = number / 10000;
        parts_.month = number / 100 % 100;
        parts_.day = number % 100;
        yearFirst_ = true;
        return digits > 8 ? endTime(index + 1) : index + 1;
    }

    [[nodiscard]] bool isCompact(const DateToken& token) const {
        return hasNone() && (token.digits == 8 || token.digits == 12 || token.digits == 14);
    }

    [[nodiscard]] bool isNumericDate(size_t index) const {
        const DateToken& sign = at(index + 1);
        const bool separated = sign.isSign('-') || sign.isSign('/') || sign.isSign('.');
        return hasNone() && separated && isShortNumber(index + 2) && at(index + 3).isSign(sign.sign) &&
               at(index + 4).isNumber() && (at(index).digits > 2 || at(index + 4).digits >= 2);
    }

    // Y-M-D; else M/D/Y with "/", D-M-Y with "-" and "."; the other way round where that is the only one.
    size_t readNumericDate(size_t index) {
        const DateToken& first = at(index);
        parts_.month = at(index + 2).number;
        if (first.digits > 2) {
            setYear(first);
            parts_.day = at(index + 4).number;
            yearFirst_ = true;
            return index + 5;
        }
        parts_.day = first.number;
        setYear(at(index + 4));
        const bool monthFirst = at(index + 1).isSign('/') ? first.number <= 12 : parts_.month > 12;
        if (monthFirst) {
            parts_.day = parts_.month;
            parts_.month = first.number;
        }
        return index + 5;
    }

    size_t readNumber(size_t index) {
        const DateToken& token = at(index);
        if (!timeSeen_ && token.digits <= 2) {
            bool afternoon = false;
            if (at(index + 1).isSign(':') && isShortNumber(index + 2)) return readTime(index, ':');
            const bool dotted = at(index + 1).isSign('.') && isShortNumber(index + 2);
            if (dotted && parts_.day != 0 && parts_.month != 0) return readTime(index, '.');
            if (halfOfDay(index + 1, afternoon) != 0) {
                parts_.hour = token.number;
                return endTime(index + 1);
            }
        }
        if (isNumericDate(index)) return readNumericDate(index);
        if (isCompact(token)) return readCompact(index);
        const bool afterT = index > 0 && isWord(index - 1, "t") && !token.gapBefore && yearFirst_;
        if (afterT && !timeSeen_ && (token.digits == 4 || token.digits == 6)) {
            splitTime(token.number, token.digits == 6);
            return endTime(index + 1);
        }
        placeNumber(index);
        return index + 1;
    }

    // A number on its own: the day, the year, or a zone that has lost its "+".
    void placeNumber(size_t index) {
        const DateToken& token = at(index);
        if (token.digits <= 2 && parts_.day == 0) {
            parts_.day = token.number;
        } else if (token.digits >= 2 && parts_.year == 0) {
            setYear(token);
        } else if (timeSeen_ && index == zonePlace_ && !zoneNamed_ && token.digits == 4) {
            setNumericZone(token, 0, true);
        }
    }

    size_t readWord(size_t index) {
        const std::string_view word = at(index).word;
        if (const int64_t month = monthOfWord(word); month != 0 && parts_.month == 0) {
            parts_.month = month;
            // The number before it is the day, whatever number stood further in front.
            const bool sign = index > 1 && at(index - 1).kind == DateTokenKind::kSign;
            const size_t before = sign ? index - 2 : index - 1;
            if (index > 0 && isShortNumber(before) && !timeSeen_) parts_.day = at(before).number;
            return index + 1;
        }
        if (timeSeen_ && !zoneNamed_ && !zoneNumeric_) return readNamedZone(index);
        return index + 1;
    }

    size_t readNamedZone(size_t index) {
        const NamedZone* zone = findZone(at(index).word);
        const bool zulu = index == zonePlace_ && yearFirst_ && isWord(index, "z");
        if (zone == nullptr && !zulu) return index + 1;
        parts_.zoneMinutes = zone != nullptr ? zone->minutes : 0;
        parts_.hasZone = true;
        zoneNamed_ = true;
        const bool summer = isWord(index + 1, "dst");
        if (summer) parts_.zoneMinutes += 60;
        zonePlace_ = summer ? index + 2 : index + 1;
        return zonePlace_;
    }

    // "+0100", "+100", "+01:00", "+1".
    void setNumericZone(const DateToken& token, int64_t minutes, bool east) {
        int64_t hours = token.number;
        if (token.digits > 2) {
            minutes = hours % 100;
            hours /= 100;
        }
        const auto all = static_cast<int32_t>(hours * 60 + minutes);
        parts_.zoneMinutes = east ? all : -all;
        parts_.hasZone = east || all != 0;
        zoneNumeric_ = true;
    }

    size_t readSign(size_t index) {
        const bool east = at(index).isSign('+');
        const DateToken& number = at(index + 1);
        if ((!east && !at(index).isSign('-')) || !number.isNumber() || number.gapBefore) return index + 1;
        const bool place = hasDate() || (timeSeen_ && (east || index == zonePlace_));
        if (!place || zoneNumeric_ || number.digits > 4) return index + 1;
        const bool colon = number.digits <= 2 && at(index + 2).isSign(':') && isShortNumber(index + 3);
        setNumericZone(number, colon ? at(index + 3).number : 0, east);
        return index + (colon ? 4 : 2);
    }

    const DateTokens& tokens_;
    DateParts& parts_;
    size_t zonePlace_ = 0;  // where a zone may follow: after the time, or after its name
    bool timeSeen_ = false;
    bool zoneNamed_ = false;
    bool zoneNumeric_ = false;
    bool yearFirst_ = false;  // a form of ISO 8601: "Z" is UTC
};

}  // namespace

void readLooseDate(const DateTokens& tokens, DateParts& parts) {
    LooseDate date(tokens, parts);
    date.read();
}

}  // namespace eml
