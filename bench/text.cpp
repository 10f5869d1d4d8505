#include "bench/text.h"

#include <array>
#include <span>
#include <string_view>

namespace emlbench {

namespace {

// Chosen so that about 5 % of the UTF-8 bytes are none of ASCII, as in a business letter.
constexpr std::array<std::string_view, 64> kGerman{
    "wir",       "haben",       "die",          "Unterlagen", "für",       "das",      "Treffen",
    "am",        "Dienstag",    "noch",         "nicht",      "erhalten",  "und",      "möchten",
    "Sie",       "bitten",      "uns",          "bis",        "Ende",      "der",      "Woche",
    "eine",      "Rückmeldung", "zu",           "geben",      "damit",     "alles",    "rechtzeitig",
    "vor",       "Beginn",      "gelesen",      "werden",     "kann",      "Angebot",  "Rechnung",
    "Nummer",    "siehe",       "Anhang",       "Lieferung",  "erfolgt",   "zwischen", "München",
    "und",       "Bremen",      "über",         "den",        "Spediteur", "mit",      "freundlichen",
    "Grüßen",    "Änderungen",  "ausgenommen",  "Platz",      "laut",      "Vertrag",  "Absatz",
    "ebenfalls", "natürlich",   "Bereitschaft", "stehen",     "schönen",   "Tag",      "hoffen",
    "später"};

constexpr std::array<std::string_view, 32> kRussian{
    "мы",     "получили", "ваше",     "письмо",     "и",           "благодарим",  "за",        "подробный",
    "ответ",  "договор",  "будет",    "подписан",   "в",           "понедельник", "просим",    "прислать",
    "копию",  "счёта",    "на",       "адрес",      "бухгалтерии", "доставка",    "состоится", "после",
    "оплаты", "товара",   "сообщите", "пожалуйста", "о",           "своём",       "решении",   "завтра"};

constexpr std::array<std::string_view, 24> kAscii{
    "report", "meeting", "minutes",  "draft",  "offer",    "invoice", "travel",   "plan",
    "budget", "review",  "weekly",   "status", "project",  "update",  "summer",   "release",
    "notes",  "team",    "contract", "order",  "question", "reply",   "delivery", "holiday"};

}  // namespace

std::string paragraph(Language language, Random& random) {
    const std::span<const std::string_view> words =
        language == Language::kGerman ? std::span<const std::string_view>(kGerman) : kRussian;
    std::string text;
    for (uint64_t left = 40 + random.below(60); left != 0; --left) {
        text += words[random.below(words.size())];
        if (random.below(12) == 0) text += random.below(2) == 0 ? '.' : ',';
        text += left == 1 ? '.' : ' ';
    }
    return text;
}

std::string asciiWords(unsigned words, Random& random) {
    std::string text;
    for (unsigned i = 0; i < words; ++i) {
        if (i != 0) text += ' ';
        text += kAscii[random.below(kAscii.size())];
    }
    return text;
}

}  // namespace emlbench
