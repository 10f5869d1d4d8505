#include "tool/text/text_spans.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "tool/text/mail_words.h"

namespace emltool {
namespace {

char letterOf(SpanKind kind) { return nameOf(kind).front(); }

// A letter for each line: o, q, a, s or f.
std::string kindsOf(std::string_view text) {
    std::string letters;
    for (const TextSpan& span : textSpans(text)) {
        EXPECT_EQ(span.firstLine, letters.size() + 1);
        letters.append(span.lines, letterOf(span.kind));
    }
    return letters;
}

struct Marked {
    std::string text;
    std::string kinds;
};

// A text whose lines begin with the letter of their kind and a blank.
Marked marked(std::string_view lines) {
    Marked result;
    for (const std::string_view line : linesOf(lines)) {
        result.kinds += line.front();
        result.text.append(line.substr(2)) += '\n';
    }
    return result;
}

struct Row {
    const char* rule;
    const char* lines;
};

void expectRows(std::span<const Row> rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const Marked expected = marked(row.lines);
        EXPECT_EQ(kindsOf(expected.text), expected.kinds) << expected.text;
    }
}

TEST(TextSpans, Quotes) {
    const Row rows[] = {
        {"lines with a mark", "q > one\nq >> two\nq >three\no four\n"},
        {"an empty line belongs to the span before it", "o one\no \nq > two\nq \no three\n"},
        {"a line inside a quote that has no mark is the sender's",
         "q > a long line that\no was broken\nq > here\n"},
        {"an indented mark, where two lines have it", "q  > one\nq  > two\no x\n"},
        {"a single one may be an arrow", "o see\no  > this\n"},
        {"what an mbox quotes is no quote", "o one\no >From here on\no two\n"},
        {"unless it stands in one", "q > one\nq >From here on\n"},
        {"comparisons and faces are text", "o the size is\no >= 3\no >:-(\n"},
        {"an interpreter's prompt is text", "o Try this:\no >>> 1 + 1\no 2\no >>> 2 + 2\n"},
        {"but not among other depths", "q > a\nq >>> b\n"},
        {"bars are text", "o | a | b |\no | 1 | 2 |\n"},
        {"bars below an attribution", "a On 4 March 2025, Anna wrote:\nq | one\nq |\nq | two\no three\n"},
        {"a table below it is text", "o On 4 March 2025, Anna wrote:\no | a | b |\n"},
        {"initials below an attribution",
         "a Anna Example wrote on 4 March 2025:\nq AE> one\nq AE> two\no three\n"},
        {"initials alone are text", "o sh> ls\no sh> cd\n"},
        {"indented below an attribution",
         "a On 4 March 2025, Anna wrote:\na \nq   one\nq \nq   two\nq \no three\n"},
    };
    expectRows(rows);
}

TEST(TextSpans, Attributions) {
    const Row rows[] = {
        {"with a date", "a On 4 March 2025, Anna wrote:\na \nq > one\no two\n"},
        {"with an address", "a Anna Example <anna@example.org> writes:\nq > one\n"},
        {"with a name alone", "a Anna wrote:\nq > one\n"},
        {"over two lines",
         "a On Tue, 4 Mar 2025 at 10:15, Anna Example\na <anna@example.org> wrote:\nq > one\n"},
        {"over three",
         "a On Tue, 4 Mar 2025 at 10:15, Anna Example\na of the office <anna@example.org>\na wrote:\nq > "
         "one\n"},
        {"below a line of text", "o Thanks for the 2 books!\na On 4 March 2025, Anna wrote:\nq > one\n"},
        {"over two lines below a line of text",
         "o Thanks for both\na On Tue, 4 Mar 2025 at 10:15, Anna Example\na <anna@example.org> wrote:\nq > "
         "one\n"},
        {"with a time in brackets", "a * Anna Example <anna@example.org> [2025-03-04 10:15]:\nq > one\n"},
        {"between dashes",
         "a ---- On Tue, 04 Mar 2025 10:15:22 +0100 Anna <anna@example.org> wrote ----\nq > one\n"},
        {"that names who is quoted", "a Quoting Anna Example <anna@example.org>:\nq > one\n"},
        {"with marks of direction",
         "a \u202AOn Tue, Mar 4, 2025 at 10:15 AM \u202BAnna\u202C wrote:\u202C\nq > one\n"},
        {"without a quote below it is text", "o On 4 March 2025, Anna wrote:\no one\n"},
        {"a sentence about oneself is text", "o I wrote on 4 March 2025 to the list:\nq > nothing came\n"},
        {"too far from the quote", "o On 4 March 2025, Anna wrote:\no \no \no \no \nq > one\n"},
        {"an answer above it",
         "o Yes.\no \na On Tue, 4 Mar 2025 at 10:15, Anna <anna@example.org> wrote:\na \nq one\nq \nq two\n"},
        {"with nothing below it",
         "o Yes.\no \na On Tue, 4 Mar 2025 at 10:15, Anna <anna@example.org> wrote:\n"},
        {"and a signature below that",
         "o Yes.\no \na On Tue, 4 Mar 2025 at 10:15, Anna <anna@example.org> wrote:\na \ns -- \ns Ben\n"},
        {"who wrote without a date is text without marks", "o Yes.\no Anna wrote:\no one\n"},
    };
    expectRows(rows);
}

// One language: the attributions of its mail programs, the titles above a whole message, and its main fields.
struct Language {
    const char* name;
    std::vector<const char*> attributions;
    std::vector<const char*> titles;
    std::array<const char*, 4> fields;  // From, Date, To, Subject
    const char* device;                 // "Sent from my phone"; "" if none is known
};

const Language kLanguages[] = {
    {"English",
     {"On Tue, 4 Mar 2025 at 10:15, Anna Example <anna@example.org> wrote:",
      "On 04/03/2025 10:15, Anna Example wrote:",
      "On Mar 4, 2025, at 10:15 AM, Anna Example <anna@example.org> wrote:",
      "At 10:15 04/03/2025, Anna wrote:", "In article <x@example.org>, Anna Example writes:",
      "2025-03-04 10:15 GMT+01:00 Anna Example <anna@example.org>:"},
     {"-----Original Message-----", "-------- Original Message --------",
      "---------- Forwarded message ---------", "Begin forwarded message:"},
     {"From:", "Sent:", "To:", "Subject:"},
     "Sent from my iPhone"},
    {"German",
     {"Am Di., 4. März 2025 um 10:15 Uhr schrieb Anna Beispiel <anna@example.org>:",
      "Am 04.03.25 um 10:15 schrieb Anna Beispiel:",
      "Anna Beispiel <anna@example.org> schrieb am 04.03.2025 10:15:",
      "Zitat von Anna Beispiel <anna@example.org>:"},
     {"-----Ursprüngliche Nachricht-----", "-------- Weitergeleitete Nachricht --------",
      "Anfang der weitergeleiteten Nachricht:"},
     {"Von:", "Gesendet:", "An:", "Betreff:"},
     "Von meinem iPhone gesendet"},
    {"French",
     {"Le mar. 4 mars 2025 à 10:15, Anna Exemple <anna@example.org> a écrit :",
      "Le 04/03/2025 à 10:15, Anna Exemple a écrit\u00A0:"},
     {"-----Message d'origine-----", "-------- Message transféré --------", "Début du message réexpédié :"},
     {"De :", "Envoyé :", "À :", "Objet :"},
     "Envoyé de mon iPhone"},
    {"Spanish",
     {"El mar, 4 mar 2025 a las 10:15, Ana Ejemplo (<ana@example.org>) escribió:",
      "El 04/03/2025 a las 10:15, Ana Ejemplo escribió:"},
     {"-----Mensaje original-----", "-------- Mensaje reenviado --------"},
     {"De:", "Enviado el:", "Para:", "Asunto:"},
     "Enviado desde mi iPhone"},
    {"Italian",
     {"Il giorno mar 4 mar 2025 alle ore 10:15 Anna Esempio <anna@example.org> ha scritto:",
      "Il 04/03/2025 10:15, Anna Esempio ha scritto:"},
     {"-----Messaggio originale-----", "-------- Messaggio Inoltrato --------"},
     {"Da:", "Inviato:", "A:", "Oggetto:"},
     "Inviato da iPhone"},
    {"Portuguese",
     {"Em ter., 4 de mar. de 2025 às 10:15, Ana Exemplo <ana@example.org> escreveu:",
      "Em 04/03/2025 10:15, Ana Exemplo escreveu:"},
     {"-----Mensagem original-----", "-------- Mensagem encaminhada --------"},
     {"De:", "Enviada em:", "Para:", "Assunto:"},
     "Enviado do meu iPhone"},
    {"Dutch",
     {"Op di 4 mrt 2025 om 10:15 schreef Anna Voorbeeld <anna@example.org>:",
      "Op 04-03-2025 om 10:15 schreef Anna Voorbeeld:"},
     {"-----Oorspronkelijk bericht-----", "-------- Doorgestuurd bericht --------"},
     {"Van:", "Verzonden:", "Aan:", "Onderwerp:"},
     "Verstuurd vanaf mijn iPhone"},
    {"Swedish",
     {"Den tis 4 mars 2025 kl 10:15 skrev Anna Exempel <anna@example.org>:",
      "Den 2025-03-04 kl. 10:15, skrev Anna:"},
     {"-----Ursprungligt meddelande-----", "-------- Vidarebefordrat meddelande --------"},
     {"Från:", "Skickat:", "Till:", "Ämne:"},
     "Skickat från min iPhone"},
    {"Danish",
     {"Den tir. 4. mar. 2025 kl. 10.15 skrev Anna Eksempel <anna@example.org>:",
      "Den 04-03-2025 kl. 10:15 skrev Anna Eksempel:"},
     {"-----Oprindelig meddelelse-----", "-------- Videresendt besked --------"},
     {"Fra:", "Sendt:", "Til:", "Emne:"},
     "Sendt fra min iPhone"},
    {"Norwegian",
     {"tir. 4. mars 2025 kl. 10:15 skrev Anna Eksempel <anna@example.org>:",
      "Den 04.03.2025 10:15, skrev Anna Eksempel:"},
     {"-----Opprinnelig melding-----", "-------- Videresendt melding --------"},
     {"Fra:", "Sendt:", "Til:", "Emne:"},
     "Sendt fra min iPhone"},
    {"Polish",
     {"wt., 4 mar 2025 o 10:15 Anna Przykład <anna@example.org> napisał(a):",
      "W dniu 04.03.2025 o 10:15, Anna Przykład pisze:"},
     {"-----Oryginalna wiadomość-----", "-------- Treść przekazanej wiadomości --------"},
     {"Od:", "Wysłano:", "Do:", "Temat:"},
     "Wysłane z iPhone'a"},
    {"Russian",
     {"вт, 4 мар. 2025 г. в 10:15, Анна Пример <anna@example.org>:", "04.03.2025 10:15, Анна Пример пишет:",
      "4 марта 2025 г., в 10:15, Анна <anna@example.org> написал(а):",
      "Вторник, 4 марта 2025, 10:15 +03:00 от Анна Пример <anna@example.org>:"},
     {"-----Исходное сообщение-----", "-------- Пересылаемое сообщение --------",
      "Начало переадресованного сообщения:"},
     {"От:", "Отправлено:", "Кому:", "Тема:"},
     "Отправлено с iPhone"},
    {"Czech",
     {"út 4. 3. 2025 v 10:15 odesílatel Anna Příkladová <anna@example.org> napsal:",
      "Dne 04. 03. 25 v 10:15 Anna Příkladová napsal(a):"},
     {"-----Původní zpráva-----", "-------- Přeposlaná zpráva --------"},
     {"Od:", "Odesláno:", "Komu:", "Předmět:"},
     "Odesláno z iPhonu"},
    {"Finnish",
     {"ti 4. maalisk. 2025 klo 10.15 Anna Esimerkki (anna@example.org) kirjoitti:",
      "Anna Esimerkki kirjoitti 4.3.2025 klo 10:15:"},
     {"-----Alkuperäinen viesti-----", "-------- Välitetty viesti --------"},
     {"Lähettäjä:", "Lähetetty:", "Vastaanottaja:", "Aihe:"},
     "Lähetetty iPhonesta"},
    {"Turkish",
     {"Anna Örnek <anna@example.org>, 4 Mar 2025 Sal, 10:15 tarihinde şunu yazdı:",
      "04.03.2025 10:15 tarihinde Anna Örnek yazdı:"},
     {"-----Özgün İleti-----", "-----Orijinal Mesaj-----"},
     {"Kimden:", "Gönderildi:", "Kime:", "Konu:"},
     "iPhone'umdan gönderildi"},
    {"Japanese",
     {"2025年3月4日(火) 10:15 山田太郎 <taro@example.jp>:", "On 2025/03/04 10:15, 山田太郎 wrote:",
      "山田太郎さんは書きました:", "2025/03/04 10:15、山田太郎 <taro@example.jp> のメール:"},
     {"-----元のメッセージ-----", "-------- 転送メッセージ --------"},
     {"差出人:", "送信日時:", "宛先:", "件名:"},
     "iPhoneから送信"},
    {"Chinese",
     {"张三 <san@example.cn> 于2025年3月4日周二 10:15写道：",
      "在 2025/3/4 10:15, 张三 写道:", "在 2025-03-04 10:15:22，\"张三\" <san@example.cn> 写道："},
     {"-----邮件原件-----", "------------------ 原始邮件 ------------------", "-------- 转发的邮件 --------"},
     {"发件人：", "发送时间：", "收件人：", "主题："},
     "发自我的iPhone"},
};

TEST(TextSpans, AttributionsOfManyLanguages) {
    for (const Language& language : kLanguages) {
        for (const std::string attribution : language.attributions) {
            SCOPED_TRACE(std::string(language.name) + ": " + attribution);
            EXPECT_EQ(kindsOf("abc\n\n" + attribution + "\n> def\nghi\n"), "ooaqo");
            EXPECT_EQ(kindsOf(attribution + "\n\n> def\n"), "aaq");
            EXPECT_EQ(kindsOf("abc\n" + attribution + "\nghi\n").substr(0, 1), "o");
        }
    }
}

// At each blank, into two lines and into three.
TEST(TextSpans, AttributionsAreFoundWhereTheyAreWrapped) {
    for (const Language& language : kLanguages) {
        const std::string attribution = language.attributions.front();
        for (size_t at = attribution.find(' ', 12); at != std::string::npos;
             at = attribution.find(' ', at + 1)) {
            std::string wrapped = attribution;
            wrapped[at] = '\n';
            SCOPED_TRACE(wrapped);
            EXPECT_EQ(kindsOf("abc\n\n" + wrapped + "\n> def\n"), "ooaaq");
            const size_t second = wrapped.rfind(' ');
            if (second == std::string::npos || second < at) continue;
            wrapped[second] = '\n';
            SCOPED_TRACE(wrapped);
            EXPECT_EQ(kindsOf("abc\n\n" + wrapped + "\n> def\n"), "ooaaaq");
        }
    }
}

TEST(TextSpans, WholeMessagesOfManyLanguages) {
    for (const Language& language : kLanguages) {
        SCOPED_TRACE(language.name);
        const auto& [from, date, to, subject] = language.fields;
        const std::string fields =
            std::string(from) + " Anna\n" + date + " 4.3.2025 10:15\n" + to + " Ben\n" + subject + " Lunch\n";
        EXPECT_EQ(kindsOf("abc\n\n" + fields + "\ndef\n\nghi\n"), "ooqqqqqqqq");
        EXPECT_EQ(kindsOf("abc\n\n________________________________\n" + fields + "\ndef\n"), "ooqqqqqqq");
        for (const std::string title : language.titles) {
            SCOPED_TRACE(title);
            EXPECT_EQ(kindsOf("abc\n\n" + title + "\n" + fields + "\ndef\n"), "ooqqqqqqq");
            EXPECT_EQ(kindsOf("abc\n\n" + title + "\ndef\n"), "ooqq");
        }
        EXPECT_EQ(kindsOf(std::string("abc\n\n") + language.device + "\n\n> def\n"), "oossq");
        EXPECT_EQ(kindsOf(std::string("abc\n\n") + language.device + "\nghi\n"), "oooo");
    }
}

TEST(TextSpans, WholeMessages) {
    const Row rows[] = {
        {"a line that says where it ends",
         "o See below.\no \nq ----- Forwarded message -----\nq abc\nq ----- End forwarded message -----\nq "
         "\no Well?\n"},
        {"its own marks", "o Yes.\no \nq -----Original Message-----\nq > abc\no No.\nq > def\n"},
        {"fields whose text has marks",
         "o Yes.\no \nq From: Anna\nq Sent: Tuesday\nq To: Ben\nq Subject: x\nq \nq > abc\no No.\n"},
        {"fields of several lines",
         "o Yes.\no \nq From: Anna\nq Sent: Tuesday\nq To: Ben <ben@example.org>,\nq  Carl\nq   "
         "<carl@example.org>; D\nq Subject: x\nq \nq abc\n"},
        {"fields in bold, with empty lines",
         "o Yes.\no \nq *From:* Anna\nq \nq *Sent:* Tuesday\nq \nq *To:* Ben\nq \nq *Subject:* x\nq abc\n"},
        {"a whole header",
         "o See.\no \nq Received: from a.example\nq  by b.example; Tue\nq Date: Tue\nq From: "
         "a@example.org\nq To: b@example.org\nq Subject: x\nq \nq abc\n"},
        {"what bounces say", "o It failed.\no \nq --- Below this line is a copy of the message.\nq abc\n"},
        {"indented, as long as it is",
         "o See.\no \nq   From: Anna\nq   Sent: Tuesday\nq   To: Ben\nq   Subject: x\nq \nq   abc\nq \no "
         "Well?\n"},
        {"two of the fields are text", "o Yes.\no \no From: Ulm\no To: Berlin\no on Tuesday\n"},
        {"a memorandum is text",
         "o MEMORANDUM\no From: the office\no To: all\no Date: Tuesday\no Subject: lunch\no \no Soup.\n"},
        {"a form that begins the text is text",
         "o From: anna@example.org\no To: shop@example.org\no Date: 2025-03-04\no Subject: books\no \no Send "
         "me two.\n"},
        {"a list above them stays",
         "o To-do: books\no \nq From: Anna\nq Sent: Tuesday\nq To: Ben\nq Subject: x\n"},
        {"a patch is text", "o --- original\no +++ changed\no @@ -1 +1 @@\n"},
        {"the word in a sentence is text", "o The original message\no was lost.\n"},
    };
    expectRows(rows);
}

TEST(TextSpans, Signatures) {
    const Row rows[] = {
        {"after dashes and a blank", "o abc\no \ns -- \ns Anna\ns Ulm\n"},
        {"nothing after them", "o abc\ns -- \n"},
        {"without the blank, near the end", "o abc\ns --\ns Anna\n"},
        {"far from the end they are a line of the text",
         "o abc\no --\no 1\no 2\no 3\no 4\no 5\no 6\no 7\no 8\no 9\no 10\no 11\no 12\n"},
        {"with own text after the quote below", "o abc\no --\no def\nq > ghi\no jkl\n"},
        {"with the blank, there too", "o abc\ns -- \ns Anna\nq > ghi\no jkl\n"},
        {"up to a quote", "o abc\ns -- \ns Anna\ns \na On 4 March 2025, Ben wrote:\nq > def\n"},
        {"up to a footer", "o abc\ns -- \ns Anna\nf _________________\nf Friends mailing list\n"},
        {"inside an OpenPGP signature",
         "o abc\ns - -- \ns Anna\ns -----BEGIN PGP SIGNATURE-----\ns \ns iQ==\ns -----END PGP "
         "SIGNATURE-----\n"},
        {"an OpenPGP signature that does not end is text",
         "o abc\no -----BEGIN PGP SIGNATURE-----\no iQ==\n"},
        {"a name below the text is text", "o abc\no \no Regards\no Anna\n"},
        {"a sentence about a telephone is text",
         "o abc\no \no Sent from my office, this mail takes longer than from any phone.\n"},
    };
    expectRows(rows);
}

TEST(TextSpans, Footers) {
    const Row rows[] = {
        {"of a list, after a line",
         "o abc\no \nf _______________________________________________\nf Friends mailing list\nf "
         "Friends@example.org\nf https://example.org/mailman/listinfo/friends\n"},
        {"of a list, below its quote",
         "q > abc\nq \nf ---------------------------\nf To unsubscribe, write to x@example.org\n"},
        {"after two dashes",
         "o abc\no \nf -- \nf To UNSUBSCRIBE, email to friends-request@example.org\nf with a subject of "
         "\"unsubscribe\".\n"},
        {"of a group",
         "o abc\no \nf -- \nf You received this message because you are subscribed to the group.\nf To "
         "unsubscribe, send mail.\n"},
        {"as a paragraph", "o abc\no \nf You are receiving this because you were mentioned.\n"},
        {"in German", "o abc\no \nf Um sich abzumelden, klicken Sie hier.\n"},
        {"in Japanese", "o abc\no \nf 配信停止はこちら\n"},
        {"about viruses", "o abc\no \nf ---\nf This email has been checked for viruses.\n"},
        {"about secrets", "o abc\no \nf CONFIDENTIALITY NOTICE: this is secret.\n"},
        {"below a whole message",
         "o abc\no \nq -----Original Message-----\nq def\nq \nf ______________\nf Friends mailing list\n"},
        {"right below the text", "o abc\nf ______________\nf Friends mailing list\n"},
        {"a heading is text", "o abc\no \no Questions\no ---------\no There is a mailing list.\n"},
        {"a line alone is text", "o abc\no ----------\no def\n"},
        {"the whole text is text", "o To unsubscribe, click on the link below.\n"},
        {"inside a paragraph it is text", "o abc\no To unsubscribe, click on the link.\n"},
        {"above the sender's own text it is text",
         "o abc\no \no To unsubscribe, click.\no \nq > def\no ghi\n"},
        {"a line, and a talk about mailing lists far below",
         "o ---\no one\no two\no three\no four, of a mailing list\n"},
    };
    expectRows(rows);
}

TEST(TextSpans, NothingAndEmptyLines) {
    EXPECT_EQ(textSpans(""), std::vector<TextSpan>());
    EXPECT_EQ(kindsOf("\n"), "o");
    EXPECT_EQ(kindsOf("\n\n> a\n"), "qqq");
    EXPECT_EQ(kindsOf("a\n\n"), "oo");
    EXPECT_EQ(kindsOf("a\n> b"), "oq");
    EXPECT_EQ(kindsOf("\r\n\t\n"), "oo");
}

TEST(TextSpans, AreAppended) {
    std::vector<TextSpan> spans = textSpans("a\n> b\n");
    appendSpans(spans, textSpans("> c\nd\n"));
    EXPECT_EQ(spans, (std::vector<TextSpan>{
                         {SpanKind::kOwn, 1, 1}, {SpanKind::kQuote, 2, 2}, {SpanKind::kOwn, 4, 1}}));
}

// Lines that mean something here, and some that are broken.
const std::vector<std::string> kPieces = {
    "",
    " ",
    "abc",
    "> abc",
    ">> abc",
    ">>> abc",
    " > abc",
    ">From abc",
    "| abc",
    "AE> abc",
    "  abc",
    "-- ",
    "--",
    "- -- ",
    "---",
    "_____________",
    "On Tue, 4 Mar 2025 at 10:15, Anna <anna@example.org> wrote:",
    "On Tue, 4 Mar 2025 at 10:15, Anna",
    "<anna@example.org> wrote:",
    "wrote:",
    "-----Original Message-----",
    "----- End forwarded message -----",
    "From: Anna <anna@example.org>",
    "Sent: Tuesday",
    "To: Ben",
    "Subject: x",
    "Received: by x",
    "X-Y: z",
    "-----BEGIN PGP SIGNATURE-----",
    "-----END PGP SIGNATURE-----",
    "Friends mailing list",
    "To unsubscribe, click here",
    "Sent from my iPhone",
    "\xEF\xBC\x9A",
    "\xFF\xC3",
    "\xE2\x80\x94\xE2\x80",
};

TEST(TextSpans, EachLineOfRandomTextsIsInOneSpan) {
    std::mt19937 random(1);
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        const size_t lines = random() % 30;
        for (size_t i = 0; i < lines; ++i) text += kPieces[random() % kPieces.size()] + '\n';
        const std::vector<TextSpan> spans = textSpans(text);
        size_t next = 1;
        for (size_t i = 0; i < spans.size(); ++i) {
            ASSERT_EQ(spans[i].firstLine, next) << text;
            ASSERT_GT(spans[i].lines, 0U) << text;
            ASSERT_TRUE(i == 0 || spans[i].kind != spans[i - 1].kind) << text;
            next += spans[i].lines;
        }
        ASSERT_EQ(next, lines + 1) << text;
    }
}

// With the square of the lines this would not end before the tests are given up.
TEST(TextSpans, OfManyLinesAreFoundInLinearTime) {
    std::vector<std::string> shapes = {"> a\nb\n",
                                       "> a\n\nb\n",
                                       "a",
                                       "-- \na\n> b\n",
                                       "X-Y: z\n> a\n",
                                       "On 4 March 2025, Anna wrote:\n\n\n",
                                       "-----Original Message-----\n> a\n"};
    for (const std::string& piece : kPieces) shapes.push_back(piece + "\n");
    for (const std::string& shape : shapes) {
        SCOPED_TRACE(testing::PrintToString(shape));
        std::string text;
        for (size_t i = 0; i < 20'000; ++i) text += shape;
        EXPECT_FALSE(textSpans(text).empty());
    }
}

}  // namespace
}  // namespace emltool
