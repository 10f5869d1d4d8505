#include "faults/made_messages.h"

#include "reference/packed_rtf.h"
#include "support/opened_message.h"
#include "support/scenarios.h"

namespace eml::test {
namespace {

// Bodies in every form that a rendering has.
const std::string kRenderedHeader =
    "From: =?x?Q?a=E9?= <a@b>\nDate: Tue, 15 Nov 1994 08:12:31 -0500\nTo: c\nTo: d\nSubject: s\nImportance: "
    "High\n";

std::string withAttachments(const std::string& bodyHeader, const std::string& body) {
    return crlf(kRenderedHeader + "Content-Type: multipart/mixed; boundary=b\n\n--b\n" + bodyHeader + "\n") +
           body +
           crlf(
               "\n--b\nContent-Type: image/png; name=x\n\n1\n--b\nContent-Type: image/png; "
               "name=y\n\n2\n--b--\n");
}

void addBodies(std::vector<MadeMessage>& messages) {
    const std::string packed =
        reference::textOf(reference::packRtf(reference::bytesOf("{\\rtf1 text text text text text text}")));
    messages.push_back({"text", withAttachments("Content-Type: text/plain; charset=koi8-r\n", "body")});
    messages.push_back(
        {"text, quoted-printable", withAttachments("Content-Transfer-Encoding: quoted-printable\n",
                                                   std::string(9000, 'x') + "=20\r\n=3D")});
    messages.push_back(
        {"text, base64", withAttachments("Content-Transfer-Encoding: base64\n", std::string(12000, 'Q'))});
    messages.push_back({"html", withAttachments("Content-Type: text/html\n", "<p>")});
    messages.push_back(
        {"html, base64", withAttachments("Content-Type: text/html\nContent-Transfer-Encoding: base64\n",
                                         std::string(9000, 'Q'))});
    messages.push_back({"rtf, packed", withAttachments("Content-Type: application/rtf\n", packed)});
    messages.push_back({"header only", crlf(kRenderedHeader)});
}

// What a conversion allocates.
void addStreams(std::vector<MadeMessage>& messages) {
    std::string manyFields = "Content-Type: text/plain\r\n";
    for (int i = 0; i < 150; ++i) manyFields += "To:\r\n";
    const std::string encodedHeader = "Subject: =?utf-8?Q?Caf=C3=A9?= =?utf-8?B?Q2Fmw6k=?=\r\nTo: a\r\n";
    std::string parts = "Content-Type: multipart/mixed; boundary=b\r\nSubject: s\r\n\r\n";
    parts += "--b\r\nContent-Type: multipart/alternative; boundary=\"a longer one\"\r\n\r\n";
    parts += "--a longer one\r\nContent-Type: text/plain\r\n\r\nthe text\r\n--a longer one--\r\n";
    for (int i = 0; i < 12; ++i)
        parts += "--b\r\nContent-Type: image/png; name=" + std::to_string(i) + ".png\r\n\r\nxx\r\n";
    messages.push_back({"long plain text", "From: a\r\nTo: b\r\n\r\n" + std::string(9000, 'x')});
    messages.push_back({"many fields", manyFields + "\r\ntext\r\n"});
    messages.push_back({"encoded words", encodedHeader + "\r\ntext\r\n"});
    messages.push_back({"long quoted-printable text",
                        "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + std::string(9000, 'x')});
    messages.push_back({"long base64 text", encodedHeader + "Content-Transfer-Encoding: base64\r\n\r\n" +
                                                std::string(12000, 'A')});
    messages.push_back({"many parts", parts + "--b--\r\n"});
    messages.push_back(
        {"an attachment", "Subject: s\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\nPDF\r\n"});
    messages.push_back({"no empty line", "From: a\r\nTo: b\r\n"});
}

std::string richForTheFilter() {
    std::string base64;
    for (int i = 0; i < 200; ++i)
        base64 += "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2\n";
    std::string many;
    for (int i = 0; i < 7; ++i) many += "--b\nContent-Type: image/x; name=n\n\ncontent\n";
    return crlf("Subject: =?koi8-r?Q?a_name?= " + std::string(5000, 's') +
                "\nTo: t\nTo: " + std::string(3000, 't') +
                "\nTo: v\nDate: Tue, 5 Mar 2024 14:07:09\nPriority: p\n"
                "Content-Type: multipart/mixed; boundary=b\n\n"
                "--b\nContent-Type: multipart/alternative; boundary=longer-than-the-first\n\n"
                "--longer-than-the-first\nContent-Type: text/plain\n\ntext\n--longer-than-the-first--\n"
                "--b\nContent-Type: application/x; name=base64\nContent-Transfer-Encoding: base64\n\n" +
                base64 +
                "--b\nContent-Type: application/x; name=qp\n"
                "Content-Transfer-Encoding: quoted-printable\n\na=3Db\n" +
                many + "--b--\n");
}

std::vector<MadeMessage> makeAll() {
    std::vector<MadeMessage> messages;
    for (const Scenario& scenario : scenarios()) messages.push_back({scenario.name, scenario.message});
    addBodies(messages);
    addStreams(messages);
    for (const std::string& message : subFileMessages())
        messages.push_back({"sub-files " + std::to_string(messages.size()), message});
    return messages;
}

}  // namespace

std::vector<std::string> subFileMessages() {
    return {richForTheFilter(), crlf("Content-Type: image/x; name=n\n\ncontent\n"),
            crlf("Subject: s\nTo: t\n\ntext\n"), "Subject: without an empty line\r\nTo: t",
            crlf("Content-Type: application/pkcs7-mime\nSubject: s\n\nTWFu\n")};
}

const std::vector<MadeMessage>& mimeMessages() {
    static const std::vector<MadeMessage> kMessages = {
        {"files inside text",
         "Content-Type: text/plain; charset=koi8-r\n\nbefore\nbegin 644 \xC1.txt\n#0V%T\n`\nend\nbetween\n"
         "=ybegin line=128 size=3 name=y.bin\n\x8D\x8E\x8F\n=yend size=3\nafter \xC1\n"},
        {"names in every form",
         "Content-Type: multipart/related; boundary=b\n\n--b\nContent-ID: <id>\n"
         "Content-Type: image/png; name*0*=koi8-r''%C1; name*1=\"b\"; name=x\n"
         "Content-Disposition: attachment; filename=\"=?koi8-r?B?wcI=?=\"\nContent-Description: "
         "=?koi8-r?Q?=C1?= =?x-none?Q?=C1?=\nContent-Transfer-Encoding: base64\n\nTWFu!TQ==TQ\n--b--\n"},
        {"guessed text, and text in a charset of the host",
         "Content-Type: multipart/mixed; boundary=b\n\n--b\n\n\xE9" + std::string(70000, 'x') +
             "\xE9\n--b\nContent-Type: text/plain; charset=koi8-r; format=flowed\n"
             "Content-Transfer-Encoding: quoted-printable\n\n> a =\n=C1 =ZZ \n> b\n--b\n"
             "Content-Type: text/plain; charset=x-none\n\n\xC1\n--b--\n"},
        {"a message in a message, signed",
         "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"; boundary=s\n\n--s\n"
         "Content-Type: message/rfc822\n\nFrom: a (b) <c@d>, e: f@g;;\nDate: Tue, 5 Mar 2024 14:07:09 +0100\n"
         "Message-ID: <a@b> <c@d>\n\nx\n--s\nContent-Type: application/pgp-signature\n\ny\n--s--\n"},
        {"a long message", "A: b\n\n" + std::string((1 << 20) + 100, 'x')},
    };
    return kMessages;
}

const std::vector<MadeMessage>& madeMessages() {
    static const std::vector<MadeMessage> kMessages = makeAll();
    return kMessages;
}

}  // namespace eml::test
