#include "tool/text/mail_footer.h"

#include <algorithm>
#include <string>

#include "tool/text/mail_words.h"

namespace emltool {

namespace {

constexpr size_t kLinesOfFooter = 20;   // and no more, without empty ones
constexpr size_t kLinesAfterRule = 3;   // one of them says what it is
constexpr size_t kBytesLookedAt = 400;  // of a line
constexpr size_t kShortestRule = 3;
constexpr size_t kLongestDeviceLine = 100;
constexpr size_t kWordsOfDeviceLine = 8;

// What a footer begins with, so that no line of dashes is needed.
constexpr std::string_view kBeginnings =
    "to unsubscribe|to stop receiving|to be removed from|to manage your subscription|"  // English
    "you received this message because|you are receiving this|you're receiving this|"
    "you received this email because|you have received this e-mail because|"
    "this message was sent to|this email was sent to|this e-mail was sent to|"
    "if you no longer wish to receive|if you would like to unsubscribe|"
    "if you wish to unsubscribe|click here to unsubscribe|unsubscribe here|unsubscribe:|"
    "do you yahoo!?|join the world's largest e-mail service|this sf.net email is sponsored|"
    "this sf.net email sponsored|this email has been checked for viruses|"
    "this e-mail has been checked for viruses|virus-free.|"
    "this message has been scanned for viruses|this e-mail has been scanned|"
    "this email has been scanned|confidentiality notice|notice: this communication|"
    "notice: this e-mail|notice: this email|notice: this message|"
    "this e-mail and any attachment|this email and any attachment|"
    "this message and any attachment|the information contained in this e|"
    "the information contained in this message|"
    "sie erhalten diese e-mail, weil|sie erhalten diesen newsletter|um sich abzumelden|"  // German
    "diese e-mail wurde von avast|diese e-mail enthält vertrauliche|"
    "vous recevez ce message car|vous recevez cet e-mail car|pour vous désabonner|"  // French
    "pour se désabonner|pour vous désinscrire|ce message et toutes les pièces jointes|"
    "has recibido este mensaje porque|recibe este correo porque|para darse de baja|"  // Spanish
    "para cancelar la suscripción|para anular la suscripción|"
    "hai ricevuto questo messaggio perché|ricevi questa e-mail perché|per cancellarti|"  // Italian
    "per annullare l'iscrizione|"
    "você recebeu essa mensagem porque|você está recebendo este|para cancelar a inscrição|"  // Portuguese
    "para cancelar a sua inscrição|para cancelar sua inscrição|"
    "u ontvangt deze e-mail omdat|u ontvangt dit bericht omdat|om je af te melden|"  // Dutch
    "om u af te melden|je ontvangt dit bericht omdat|"
    "du får det här mejlet eftersom|du har fått det här meddelandet eftersom|"  // Swedish, Danish, Norwegian
    "för att avregistrera|du modtager denne mail, fordi|du modtager denne e-mail, fordi|"
    "for at afmelde|du mottar denne e-posten fordi|du mottar denne meldingen fordi|"
    "for å melde deg av|"
    "otrzymujesz tę wiadomość, ponieważ|otrzymałeś tę wiadomość, ponieważ|aby wypisać się|"  // Polish
    "aby zrezygnować z subskrypcji|"
    "вы получили это сообщение, поскольку|вы получили это письмо, потому что|"  // Russian
    "вы получили это сообщение, потому что|чтобы отписаться|чтобы отменить подписку|"
    "tuto zprávu jste dostali, protože|chcete-li se odhlásit|pro odhlášení|"  // Czech
    "sait tämän viestin, koska|saat tämän viestin, koska|"                    // Finnish
    "abonelikten çıkmak|"                                                     // Turkish
    "配信停止|登録解除|このメールに心当たり|您收到此邮件是因为|如果您不想再收到|退订|取消订阅|"
    "您收到這封郵件是因為|取消訂閱|";  // Japanese, Chinese

// What a footer says soon after a line of dashes.
constexpr std::string_view kWords =
    "mailing list|mailinglist|unsubscribe|subscription|listinfo|mailman|googlegroups|"
    "yahoogroups|yahoo! groups|listserv|majordomo|sponsored by|do you yahoo|get your free|"
    "hotmail|checked for viruses|scanned for viruses|sent via |sent from my |virus-free|"
    "confidential|disclaimer|intended recipient|intended only for|you received this message|"
    "you are receiving this|list archives|abmelden|abbestellen|abzumelden|verteiler|"
    "vertraulich|désabonner|désinscrire|désinscription|liste de diffusion|confidentiel|"
    "darse de baja|cancelar la suscripción|lista de correo|confidencial|cancellarti|"
    "annullare l'iscrizione|disiscri|riservat|cancelar a inscrição|cancelar inscrição|"
    "lista de discussão|afmelden|uitschrijven|vertrouwelijk|avregistrera|avprenumerera|"
    "e-postlista|afmeld|frameld|meld deg av|avslutt abonnement|postliste|wypisać się|"
    "zrezygnować z subskrypcji|lista dyskusyjna|poufn|отписаться|рассылк|конфиденциальн|"
    "odhlásit|odhlášení|důvěrn|peruuta tilaus|postituslista|luottamuksellis|abonelik|"
    "e-posta listesi|gizli|メーリングリスト|配信停止|登録解除|退订|取消订阅|邮件列表|取消訂閱|郵件列表|";

// What a phone begins its line with, and what else the line names.
constexpr std::string_view kDevices =
    "sent from my |sent from mobile|sent from outlook|sent from yahoo mail|"
    "sent from mail for windows|sent from samsung|sent with proton mail|"
    "sent from proton mail|get outlook for |sent via |von meinem iphone gesendet|"
    "von meinem ipad gesendet|von meinem handy gesendet|von meinem smartphone gesendet|"
    "von meinem android|von meinem samsung|von meinem huawei|gesendet von |"
    "gesendet mit |envoyé de mon |envoyé depuis |enviado desde mi |enviado desde |"
    "inviato da |inviato dal |enviado do meu |enviado do |verstuurd vanaf |verzonden vanaf |"
    "skickat från |sendt fra min |sendt fra |wysłane z |wysłano z |отправлено с |"
    "отправлено из |odesláno z |lähetetty iphonesta|lähetetty ipadista|"
    "lähetetty puhelimesta|lähetetty samsung|lähetetty android|iphoneから送信|ipadから送信|发自我的|從我的 "
    "iphone 傳送|"
    "iphone'umdan gönderildi|iphone’umdan gönderildi|";
constexpr std::string_view kDeviceNames =
    "iphone|iphon|ipad|android|samsung|galaxy|huawei|xiaomi|nokia|blackberry|sony|htc|phone|handy|"
    "smartphone|tablet|mobil|outlook|yahoo|proton|mail|gmx|web.de|ios|小米|手机|华为|téléphone|"
    "telefon|телефон|";

std::string comparableLine(std::string_view line) { return comparable(line.substr(0, kBytesLookedAt)); }

// How many of the lines after a line of dashes or the like may say what it begins; 0 for another line. Two dashes begin a
// signature, unless the line below them tells otherwise.
size_t linesAfterRule(std::string_view line) {
    const size_t end = line.find_last_not_of(" \t") + 1;  // 0 if there is nothing else
    if (line.substr(0, end).find_first_not_of("-_=*~# ") != std::string_view::npos) return 0;
    if (line.substr(0, end) == "--") return 1;
    return end < kShortestRule ? 0 : kLinesAfterRule;
}

// Whether one of the first `count` lines after `rule` says that they are a footer.
bool saysWhatItIs(std::span<const std::string_view> lines, size_t rule, size_t count) {
    size_t seen = 0;
    for (size_t i = rule + 1; i < lines.size() && seen < count; ++i) {
        if (isBlankLine(lines[i])) continue;
        ++seen;
        const std::string text = comparableLine(lines[i]);
        if (containsListed(kWords, text) || beginsWithListed(kBeginnings, text)) return true;
    }
    return false;
}

}  // namespace

size_t footerStart(std::span<const std::string_view> lines, size_t begin, bool afterRuleAlone) {
    size_t start = lines.size();
    size_t seen = 0;
    for (size_t i = lines.size(); i-- > begin;) {
        if (isBlankLine(lines[i])) continue;
        if (++seen > kLinesOfFooter) break;
        const bool beginsParagraph = i > 0 && (i == begin || isBlankLine(lines[i - 1]));
        if (const size_t count = linesAfterRule(lines[i]); count != 0) {
            const bool underlines = !beginsParagraph && count > 1 && lines[i].front() != '_';
            if (!underlines && saysWhatItIs(lines, i, count)) start = i;
            continue;
        }
        if (!afterRuleAlone && beginsParagraph && beginsWithListed(kBeginnings, comparableLine(lines[i])))
            start = i;
    }
    return start;
}

bool isDeviceLine(std::string_view line) {
    if (line.size() > kLongestDeviceLine) return false;
    const std::string text = comparable(line);
    return wordsOf(text).size() <= kWordsOfDeviceLine && beginsWithListed(kDevices, text) &&
           containsListed(kDeviceNames, text);
}

}  // namespace emltool
