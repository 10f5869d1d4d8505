// Seeded random messages for the filter's scan: fragments of headers, boundaries and text, in one style of
// line ends or several, some of them with filler that moves a place to the border of an input buffer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bytes/ascii.h"

namespace eml::test {

using FilterChoices = std::vector<std::string_view>;

inline const FilterChoices kScanHeaderLines = {
    "Mime-Version: 1.0",
    "Content-Type: multipart/mixed; boundary=b",
    "Content-Type: multipart/mixed; boundary=b",
    "Content-Type: Multipart/Mixed;~ boundary=\"b\"",
    "Content-Type: multipart/mixed;~\tboundary=b; charset=utf-8",
    "Content-Type: multipart/alternative; boundary=b",
    "Content-Type: multipart/alternative; boundary=n",
    "Content-Type: multipart/related; boundary=b",
    "Content-Type: multipart/related;~ type=\"text/html\"; boundary=\"n\"",
    "Content-Type: multipart/report; report-type=delivery-status; boundary=b",
    "Content-Type: multipart/signed; protocol=x; boundary=b",
    "Content-Type: multipart/appledouble; boundary=a",
    "Content-Type: multipart/digest; boundary=b",
    "Content-Type: multipart/mixed; boundary=\"\"",
    "Content-Type: multipart/mixed; boundary=\"n",
    "Content-Type: multipart/mixed;boundary=b\tc",
    "Content-Type: multipart/mixed~Subject: no boundary here",
    "Content-Type: text/plain; charset=koi8-r",
    "Content-Type: text/plain",
    "Content-Type: text/plain;~ charset=\"utf-8\"",
    "Content-Type: text/html; charset=\"\"iso-8859-2\"",
    "Content-Type: text/html; reach=1; charset=gb2312",
    "Content-Type: text/html; CHARSET=big5",
    "Content-Type: text/plain; charset=nonsense",
    "Content-Type:text/plain;charset=",
    "Content-Type: application/pdf; name=a.pdf",
    "Content-Type: application/pdf;~ name=\"a b.pdf\"",
    "Content-Type: application/pdf; x=y; name=never.pdf",
    "Content-Type: application/applefile",
    "Content-Type: application/pkcs7-mime; name=smime.p7m",
    "Content-Type: application/pkcs7-signature; name=smime.p7s",
    "Content-Type: application/x-pkcs7-signature",
    "Content-Type: IMAGE/png; name=",
    "Content-Type: image/png; name=\"\"; x",
    "Content-Type: audio/x;~name=at-line-start",
    "Content-Type: video/mpeg\t;name=v;w",
    "Content-Type: message/rfc822",
    "Content-Type: message/rfc822; name=given.eml",
    "Content-Type: message/delivery-status",
    "Content-Type: x/"
    "01234567890123456789012345678901234567890123456789012345678901234567",
    "Content-Type:",
    "Content-Transfer-Encoding: base64",
    "Content-Transfer-Encoding: Base64",
    "Content-Transfer-Encoding: quoted-printable",
    "Content-Transfer-Encoding: 7BIT",
    "Content-Transfer-Encoding:\t8bit",
    "Content-Transfer-Encoding: binary",
    "Content-Disposition: attachment; filename=x.bin",
    "Content-Disposition: attachment; filename=\"\"q.bin\"",
    "Content-Disposition: attachment;~ filename=folded.bin; size=4",
    "Content-Disposition: attachment; size=100; filename=a.txt",
    "Content-Disposition: attachment",
    "Content-Disposition: inline; filename=\"logo.png",
    "Content-Disposition: form-data; filename=f",
    "Subject: Re: Quarterly report: Q3",
    "Subject: Fw:  ?:*",
    "Subject:",
    "X-Other: value",
    " continued",
    "\tboundary=t",
    "From - --b inside",
};

inline const FilterChoices kScanBodyLines = {
    "--b",
    "--b",
    "--b",
    "--b--",
    "--b----",
    "--n",
    "--n--",
    "--a",
    "--a--",
    "--bc",
    "--B",
    "--",
    "-- ",
    "--b text behind",
    "text --b within",
    "a line of text",
    "x",
    "",
    "",
    "",
};

inline std::string linesOf(std::string_view text, const std::string& lineEnd) {
    std::string result;
    for (const char letter : text) {
        if (letter == '~') {
            result += lineEnd;
        } else {
            result += letter;
        }
    }
    return result + lineEnd;
}

class FilterMessageMaker {
  public:
    explicit FilterMessageMaker(uint64_t seed) : random_(seed) {
        const char* const kStyles[] = {"\r\n", "\r\n", "\n", "\n", "\r"};
        style_ = kStyles[below(5)];
        mixed_ = below(6) == 0;
    }

    std::string make() {
        std::string message = headerBlock(below(8) == 0);
        for (size_t i = below(12); i > 0; --i) {
            for (size_t j = below(3); j > 0; --j) message += linesOf(pick(kScanBodyLines), lineEnd());
            if (below(3) != 0) message += linesOf(below(2) == 0 ? "--b" : pick(kScanBodyLines), lineEnd());
            if (below(2) == 0) message += headerBlock(false);
        }
        if (below(2) == 0) message += linesOf("--b--", lineEnd());
        if (below(4) == 0) message.resize(message.size() - below(std::min<size_t>(message.size(), 4) + 1));
        if (below(8) == 0) damage(message);
        if (below(2) == 0) moveToBorder(message);
        // A keyword that ends where the message ends has a table of its own.
        for (const std::string_view last : {"charset=", "7bit", "8bit", "base64", "printable"}) {
            if (message.size() < last.size()) continue;
            if (equalNoCase(reinterpret_cast<const uint8_t*>(message.data()) + message.size() - last.size(),
                            last.data(), last.size()))
                message += "~";
        }
        return message;
    }

  private:
    size_t below(size_t limit) { return static_cast<size_t>(random_() % limit); }
    std::string_view pick(const FilterChoices& choices) { return choices[below(choices.size())]; }

    std::string lineEnd() {
        const char* const kAny[] = {"\r\n", "\n", "\r"};
        return mixed_ && below(3) == 0 ? kAny[below(3)] : style_;
    }

    std::string headerBlock(bool unended) {
        std::string block;
        for (size_t i = below(5); i > 0; --i) block += linesOf(pick(kScanHeaderLines), lineEnd());
        return unended ? block : block + lineEnd();
    }

    void damage(std::string& message) {
        for (size_t i = below(3) + 1; i > 0 && !message.empty(); --i) {
            const size_t place = below(message.size());
            const size_t kind = below(4);
            if (kind == 0) message.erase(place, below(9));
            if (kind == 1) message.insert(place, message.substr(below(message.size()), below(20)));
            if (kind == 2) message[place] = '\0';
            if (kind == 3) message[place] = "\r\n;\" =-"[below(7)];
        }
    }

    // Filler before a place, so that the place comes to a border of 4096 bytes or close to it.
    void moveToBorder(std::string& message) {
        if (message.empty()) return;
        const size_t place = below(message.size() + 1);
        const size_t border = 4096 * (below(3) + 1) + below(25) - std::min<size_t>(12, place);
        if (border <= place) return;
        std::string filler;
        const size_t wanted = border - place;
        const size_t width = below(4) == 0 ? 100000 : 20 + below(80);
        while (filler.size() < wanted) {
            filler += std::string(width, 'f').substr(0, wanted - filler.size());
            if (filler.size() < wanted) filler += lineEnd();
        }
        filler.resize(wanted);
        // In the middle of the text before the place, at a line start where there is one.
        const size_t start = message.rfind('\n', place == 0 ? 0 : below(place));
        message.insert(start == std::string::npos || start + 1 > place ? 0 : start + 1, filler);
    }

    std::mt19937_64 random_;
    std::string style_;
    bool mixed_;
};

[[nodiscard]] inline std::string randomFilterMessage(uint64_t seed) {
    return FilterMessageMaker(seed).make();
}

}  // namespace eml::test
