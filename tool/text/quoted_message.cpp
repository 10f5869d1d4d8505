#include "tool/text/quoted_message.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "tool/text/mail_words.h"

namespace emltool {

namespace {

constexpr size_t kLongestLine = 200;     // of those that separate
constexpr size_t kLongestLabel = 40;     // bytes, with the colon
constexpr size_t kLinesOfOneField = 12;  // many recipients

// Between dashes, and alone there.
constexpr std::string_view kTitles =
    "original|original message|reply message|reply separator|original appointment|"          // English
    "ursprüngliche nachricht|original-nachricht|originalnachricht|ursprungliche nachricht|"  // German
    "urspruengliche nachricht|weitergeleitete nachricht|"
    "message d'origine|message d’origine|message original|message initial|message transféré|"  // French
    "message réexpédié|"
    "mensaje original|mensaje reenviado|"                                                   // Spanish
    "messaggio originale|messaggio inoltrato|"                                              // Italian
    "mensagem original|mensagem encaminhada|mensagem reencaminhada|"                        // Portuguese
    "oorspronkelijk bericht|oorspronkelijke bericht|doorgestuurd bericht|"                  // Dutch
    "ursprungligt meddelande|originalmeddelande|vidarebefordrat meddelande|"                // Swedish
    "oprindelig meddelelse|original meddelelse|videresendt meddelelse|videresendt besked|"  // Danish
    "opprinnelig melding|videresendt melding|"                                              // Norwegian
    "wiadomość oryginalna|oryginalna wiadomość|treść przekazanej wiadomości|"               // Polish
    "przekazana wiadomość|wiadomość przekazana dalej|"
    "исходное сообщение|оригинальное сообщение|пересылаемое сообщение|пересланное сообщение|"  // Russian
    "перенаправленное сообщение|пересылаемое письмо|"
    "původní zpráva|původní e-mail|přeposlaná zpráva|"                                    // Czech
    "alkuperäinen viesti|välitetty viesti|edelleenlähetetty viesti|"                      // Finnish
    "özgün ileti|orijinal mesaj|orjinal mesaj|yönlendirilmiş mesaj|yönlendirilen ileti|"  // Turkish
    "iletilmiş mesaj|"
    "元のメッセージ|オリジナルメッセージ|転送メッセージ|転送されたメッセージ|"      // Japanese
    "原始邮件|邮件原件|转发邮件信息|转发的邮件|原邮件|原始郵件|轉寄郵件|原始信件|"  // Chinese
    "원본 메시지|원본 메일|전달된 메시지|eredeti üzenet|mesaj original|"            // and others
    "αρχικό μήνυμα|оригинално съобщение|вихідне повідомлення|";

// After dashes, with more after it: names and dates.
constexpr std::string_view kTitleBeginnings =
    "original message follows|original message from|original message -|forwarded message|"
    "forwarded by|forward message|forwarded mail|forwarded letter|start of forwarded message|"
    "begin forwarded message|this is a copy of the message|this is a copy of your message|"
    "below this line is a copy of|unsent message follows|message header follows|"
    "returned message|weitergeleitet von|transmis par|réexpédié par|reenviado por|"
    "inoltrato da|doorgestuurd door|";

// Alone on a line, without dashes.
constexpr std::string_view kAnnouncements =
    "begin forwarded message:|anfang der weitergeleiteten nachricht:|"
    "anfang der weitergeleiteten e-mail:|début du message réexpédié :|"
    "début du message transféré :|inicio del mensaje reenviado:|inizio messaggio inoltrato:|"
    "início da mensagem encaminhada:|início da mensagem reencaminhada:|"
    "begin doorgestuurd bericht:|vidarebefordrat brev:|start på videresendt besked:|"
    "videresendt melding:|początek przekazywanej wiadomości:|"
    "начало переадресованного сообщения:|začátek přeposílané zprávy:|välitetty viesti alkaa:|"
    "iletilen ileti başlangıcı:|転送されたメッセージ:|下面是被转发的邮件:|開始轉寄郵件:|";

// Between dashes, where a message ends.
constexpr std::string_view kEnds =
    "end of forwarded message|end forwarded message|end of original message|"
    "end original message|end of returned message|ende der weitergeleiteten nachricht|"
    "fin du message transféré|fin del mensaje reenviado|fine messaggio inoltrato|"
    "fim da mensagem encaminhada|конец пересылаемого сообщения|koniec przekazanej wiadomości|"
    "einde doorgestuurd bericht|";

// kSent is a date, by a name that a person would hardly give it; kTrace is a field that servers add.
enum class FieldKind : uint8_t { kFrom, kDate, kSent, kTo, kSubject, kTrace, kOther };

constexpr auto kFrom = FieldKind::kFrom;
constexpr auto kDate = FieldKind::kDate;
constexpr auto kSent = FieldKind::kSent;
constexpr auto kTo = FieldKind::kTo;
constexpr auto kSubject = FieldKind::kSubject;
constexpr auto kTrace = FieldKind::kTrace;
constexpr auto kOther = FieldKind::kOther;

struct FieldLabels {
    FieldKind kind;
    std::string_view labels;
};

constexpr auto kLabels = std::to_array<FieldLabels>({
    {kFrom,
     "from|von|de|expéditeur|remitente|da|mittente|remetente|van|från|fra|od|от|от кого|"
     "lähettäjä|kimden|gönderen|差出人|送信者|发件人|寄件者|寄件人|보낸 사람|від|feladó|"},
    {kDate, "date|datum|fecha|data|dato|дата|päivämäärä|päiväys|tarih|日付|日時|日期|时间|dátum|"},
    {kSent,
     "sent|gesendet|gesendet am|envoyé|envoyé le|enviado|enviado el|enviado em|enviada|"
     "enviada em|inviato|verzonden|skickat|sendt|wysłano|отправлено|odesláno|lähetetty|"
     "gönderildi|gönderme tarihi|送信日時|发送时间|发送日期|寄件日期|보낸 날짜|надіслано|elküldve|"},
    {kTo,
     "to|an|à|destinataire|a|para|aan|till|til|do|кому|komu|vastaanottaja|kime|alıcı|宛先|收件人|"
     "收件者|받는 사람|címzett|newsgroups|"},
    {kSubject,
     "subject|betreff|objet|sujet|asunto|oggetto|assunto|onderwerp|ämne|emne|temat|тема|"
     "předmět|predmet|aihe|konu|件名|主题|主旨|主題|제목|tárgy|"},
    {kTrace,
     "received|return-path|delivered-to|dkim-signature|x-received|received-spf|"
     "authentication-results|arc-seal|x-originating-ip|"},
    {kOther,
     "cc|bcc|importance|sender|organization|attachments|priority|sensitivity|reply to|kopie|"
     "wichtigkeit|copie à|копия|kopia|kopi|kopio|dw|bilgi|抄送|副本|"},
});

constexpr std::string_view kWideColon = "\xEF\xBC\x9A";
constexpr std::string_view kDashes = "-_= \xE2\x80\x94\xE2\x94\x80";  // long ones, too

// A line with a title after dashes.
struct Title {
    std::string_view text;
    bool isFramed = false;  // by dashes after it, too, or by many before it
};

Title titleOf(std::string_view text) {
    constexpr size_t kFew = 2;
    constexpr size_t kMany = 5;
    const size_t begin = text.find_first_not_of(kDashes);
    if (begin == std::string_view::npos || begin < kFew) return {};
    const size_t end = text.find_last_not_of(kDashes) + 1;
    return {text.substr(begin, end - begin), begin >= kMany || text.size() - end >= kFew};
}

// Leaves out most lines of a text, soon.
bool mayBeTitle(std::string_view line) {
    if (line.size() > kLongestLine || line.size() < 4) return false;
    return kDashes.find(line.front()) != std::string_view::npos || line.ends_with(':') ||
           line.ends_with(kWideColon);
}

// "From", also as "*From:*" and "De :"; what the names of other fields are made of.
std::optional<FieldKind> fieldKind(std::string_view line) {
    const std::string_view beginning = line.substr(0, kLongestLabel);
    const size_t colon = std::min(beginning.find(':'), beginning.find(kWideColon));
    if (colon == std::string_view::npos) return std::nullopt;
    std::string label = comparable(line.substr(0, colon));
    std::erase(label, '*');
    for (const FieldLabels& each : kLabels) {
        if (isListed(each.labels, label)) return each.kind;
    }
    const bool isName = label.find('-') != std::string::npos &&
                        label.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos;
    return isName ? std::optional(kOther) : std::nullopt;
}

// The rest of a field that takes several lines.
bool continuesField(std::string_view line) {
    if (line.empty()) return false;
    return line.front() == ' ' || line.front() == '\t' ||
           line.substr(0, kLongestLine).find_first_of("@;") != std::string_view::npos;
}

bool isUnderscores(std::string_view line) {
    const size_t end = line.find_last_not_of(" \t");
    return end != std::string_view::npos && end >= 9 &&
           line.substr(0, end + 1).find_first_not_of('_') == std::string_view::npos;
}

}  // namespace

bool beginsQuotedMessage(std::string_view line) {
    if (!mayBeTitle(line)) return false;
    const std::string text = comparable(line);
    if (isListed(kAnnouncements, text)) return true;
    const Title title = titleOf(text);
    return (title.isFramed && isListed(kTitles, title.text)) ||
           beginsWithListed(kTitleBeginnings, title.text);
}

bool endsQuotedMessage(std::string_view line) {
    if (!mayBeTitle(line)) return false;
    const std::string text = comparable(line);
    return beginsWithListed(kEnds, titleOf(text).text);
}

namespace {

// The fields that have been seen.
class FieldsSeen {
  public:
    void take(FieldKind kind, std::string_view line) {
        has_[static_cast<size_t>(kind)] = true;
        if (!first_) first_ = kind;
        if (line.substr(0, kLongestLine).find('@') != std::string_view::npos) hasAddress_ = true;
    }
    void takeRule() { hasRule_ = true; }

    bool areOfMessage() const {
        const bool hasDate = has(kDate) || has(kSent);
        if (!has(kFrom) || !has(kSubject)) return false;
        if (hasRule_) return hasDate || has(kTo);
        return hasDate && has(kTo) && (hasAddress_ || has(kSent));
    }

    bool areByProgram() const { return hasRule_ || has(kSent); }

    // Whether they are a whole header, which begins with what servers note.
    bool areWhole() const { return first_ == kTrace; }

  private:
    bool has(FieldKind kind) const { return has_[static_cast<size_t>(kind)]; }

    std::array<bool, 7> has_{};
    std::optional<FieldKind> first_;
    bool hasAddress_ = false;
    bool hasRule_ = false;
};

}  // namespace

QuotedHeader quotedHeader(std::span<const std::string_view> lines) {
    FieldsSeen seen;
    size_t end = 0;  // after the last field
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        const bool afterBlank = i > 0 && isBlankLine(lines[i - 1]);
        if (const std::optional<FieldKind> kind = fieldKind(line)) {
            if (i == 0 && *kind == kOther) break;  // "To-do: ..."
            seen.take(*kind, line);
            end = i + 1;
            continue;
        }
        if (i == 0 && isUnderscores(line)) {
            seen.takeRule();
            continue;
        }
        // One empty line may stand before the next field, but not in a whole header.
        const bool goesOn = isBlankLine(line) ? i > 0 && !seen.areWhole()
                                              : end > 0 && (seen.areWhole() || continuesField(line));
        if (!goesOn || afterBlank || i - end >= kLinesOfOneField) break;
    }
    return {end, seen.areOfMessage(), seen.areByProgram()};
}

}  // namespace emltool
