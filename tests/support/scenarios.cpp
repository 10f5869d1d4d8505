#include "support/scenarios.h"

#include <emlreader/eml.h>

#include "support/opened_message.h"

namespace eml::test {
namespace {

std::string rich() {
    std::string base64;
    for (int i = 0; i < 200; ++i)
        base64 += "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2\n";
    return crlf(
        "From: a@example.org\nDate: Tue, 15 Nov 1994 08:12:31 -0500\nSubject: =?utf-8?Q?everything?= at "
        "once\n"
        "Content-Type: multipart/mixed;\n boundary=\"outer\"\n\npreamble\n"
        "--outer\nContent-Type: multipart/related; boundary=rel\n\n"
        "--rel\nContent-Type: multipart/alternative;\n boundary=alt\n\n"
        "--alt\nContent-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: "
        "quoted-printable\n\nplain =3D\n"
        "--alt\nContent-Type: text/html\n\n<b>html</b>\n--alt--\n"
        "--rel\nContent-Type: image/png; name=\"logo.png\"\nContent-Transfer-Encoding: base64\n\n" +
        base64 +
        "--rel--\n"
        "--outer\nContent-Type: message/rfc822\n\nSubject: Re: embedded\n\nbody\n"
        "--outer\nContent-Disposition: attachment; filename=raw.bin\n\nraw\n"
        "--outer\nContent-Transfer-Encoding: quoted-printable\nContent-Type: text/plain; "
        "name=qp.txt\n\na=3Db=\nc\n"
        "--outer--\nepilogue\n");
}

std::string signedMixed() {
    return crlf(
        "Content-Type: multipart/signed; boundary=s\n\n--s\nContent-Type: multipart/mixed; boundary=m\n\n"
        "--m\nContent-Type: application/rtf\n\n{\\rtf1}\n--m\nContent-Type: image/png; name=a\n\nx\n--m--\n"
        "--s\nContent-Type: application/pkcs7-signature; name=smime.p7s\n\nx\n--s--\n");
}

}  // namespace

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> kScenarios = {
        {"empty", "", 0},
        {"plain", crlf("Subject: x\n\ntext\n"), 0},
        {"rich", rich(), 0},
        {"rich in folders", rich(), EML_OPEN_ROOT_FOLDER | EML_OPEN_ATTACHMENTS_FOLDER},
        {"signed", signedMixed(), EML_OPEN_ROOT_FOLDER},
        {"named",
         crlf("Content-Type: text/html; charset=koi8-r\nContent-Disposition: attachment; filename=x\n\ny\n"),
         0},
        {"converted",
         crlf("Content-Type: multipart/mixed\n\nAttachment Converted: \"a\"\nAttachment Converted: b\n"),
         EML_OPEN_CONVERTED_ATTACHMENTS},
        {"encrypted", crlf("Content-Type: application/pkcs7-mime; name=smime.p7m\n\nTWFu\n"), 0},
        {"related without parts",
         crlf("Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: multipart/related; "
              "boundary=n\n\nx\n--b--\n"),
         0},
        {"two related levels",
         crlf("Content-Type: multipart/related; boundary=b\n\n--b\nContent-Type: multipart/related; "
              "boundary=n\n\n"
              "--n\nContent-Type: text/html\n\nh\n--n\nContent-Type: image/png; name=i\n\nx\n--n--\n--b--\n"),
         0},
    };
    return kScenarios;
}

}  // namespace eml::test
