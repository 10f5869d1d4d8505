#include "support/random_messages.h"

namespace eml::test {
namespace {

using Choices = std::vector<std::string_view>;

const Choices kLineEnds = {"\r\n", "\r\n", "\r\n", "\n", "\n", "\r"};

const Choices kTopLines = {
    "Content-Type: multipart/mixed; boundary=b",
    "Content-Type: multipart/mixed; boundary=\"b\"",
    "Content-Type: multipart/related; boundary=b",
    "Content-Type: multipart/alternative; boundary=b",
    "Content-Type: multipart/signed; boundary=b",
    "content-type:\tMULTIPART/signed; micalg=sha1;\r\n boundary=b",
    "Content-Type: multipart/mixed;\r\n\tboundary=bb",
    "Content-Type: multipart/mixed; boundary=\"\"",
    "Content-Type: multipart/digest; boundary=b",
    "Content-Type: text/html; charset=utf-8",
    "Content-Type: text/plain; charset=\"iso-8859-2\"; name=a.txt",
    "Content-Type: text/plain;\r\n charset=koi8-r;\r\n name=a.txt",
    "Content-Type: application/rtf",
    "Content-Type: application/pkcs7-mime; name=smime.p7m",
    "Content-Type: message/rfc822",
    "Content-Transfer-Encoding: base64",
    "Content-Transfer-Encoding: \"Quoted-Printable\"",
    "Content-Disposition: attachment; filename=whole.bin",
    "Content-Disposition: attachment;\r\n filename=\"folded name.txt\"",
    "Content-Disposition: inline; filename=never.bin",
    "Subject: Re: hello",
    " boundary=b",
    " charset=nonsense",
    "Content-Disposition: attachment",
};

const Choices kPartLines = {
    "Content-Type: text/plain; charset=utf-8",
    "Content-Type: text/plain",
    "Content-Type: text/html; charset=\"windows-1251\"",
    "Content-Type: application/rtf",
    "Content-Type: image/png; name=\"a b.png\"",
    "Content-Type: image/png; name=plain.png; charset=utf-8",
    "Content-Type: application/pkcs7-signature; name=smime.p7s",
    "Content-Type: message/rfc822",
    "Content-Type: message/rfc822; name=given.eml",
    "Content-Type: multipart/alternative; boundary=n",
    "Content-Type: multipart/related; boundary=n",
    "Content-Type: multipart/related; boundary=\"bn\"",
    "Content-Type: multipart/mixed; boundary=n",
    "Content-Type: multipart/related;\r\n boundary=m",
    "Content-Type: multipart/alternative;\r\n\tboundary=m",
    "Content-Disposition: attachment; filename=\"x.bin\"",
    "Content-Disposition: inline; name=\"\"",
    "Content-Disposition: inline;\r\n filename=logo.png",
    "Content-Transfer-Encoding: base64",
    "Content-Transfer-Encoding: quoted-printable",
    "Content-Transfer-Encoding: 8bit",
    " charset=koi8-r",
    "\tname=\"tab name\"",
    " boundary=n",
    "Subject: Fw: ??:>",
    "Subject: a/b:c",
};

const Choices kFragments = {
    "--b",
    "--b",
    "--b",
    "--b--",
    "--n",
    "--n",
    "--n--",
    "--m",
    "--m--",
    "--bn",
    "--bb",
    "--b \t\"",
    "--",
    "-",
    "--b-",
    "text",
    "a line of text",
    "middle --b of a line",
    "\r\n",
    "\r\n",
    "\r\n",
    "\r\n\r\n",
    "\r\n\r\n",
    "\n",
    "\r",
    "\n\n",
    "\r\r",
    "\n\r",
    "\r\n\r",
    " ",
    "\t",
    "\"",
    "Attachment Converted: \"c:\\x\\file.doc\"",
    "Attachment Converted:",
    "attachment converted: no",
    "TWFu",
    "=3D=\r\n",
    "Subject: embedded subject",
    "subject:Re:  x",
    "Subject: \x80\xFF",
};

constexpr std::string_view kZeroRun("\0\0\0\0\0\0\0\0", 8);

const Choices kLeafTypes = {
    "text/plain",
    "text/plain",
    "text/html",
    "application/rtf",
    "image/png",
    "message/rfc822",
    "application/x-pkcs7-signature",
};

const Choices kMultipartTypes = {"mixed", "alternative", "related", "signed", "report", "digest"};

}  // namespace

std::string MessageMaker::soup() {
    std::string message;
    for (size_t lines = below(4); lines != 0; --lines) {
        message += pick(kTopLines);
        message += pick(kLineEnds);
    }
    message += pick(kLineEnds);
    for (size_t pieces = below(30); pieces != 0; --pieces) {
        const size_t kind = below(20);
        if (kind < 8) {
            message += pick(kPartLines);
            message += pick(kLineEnds);
        } else if (kind == 8) {
            message += kZeroRun.substr(0, 1 + below(8));
        } else {
            message += pick(kFragments);
            if (below(2) != 0) message += pick(kLineEnds);
        }
    }
    return message;
}

std::string MessageMaker::part(int depth, std::string_view lineEnd) {
    if (depth > 0 && below(2) == 0) return multipart(depth - 1, lineEnd);
    std::string text = "Content-Type: " + std::string(pick(kLeafTypes));
    if (below(3) == 0) text += "; charset=iso-8859-" + std::to_string(1 + below(16));
    text += lineEnd;
    if (below(3) == 0) {
        text += "Content-Disposition: " + std::string(below(2) == 0 ? "inline" : "attachment") + ";" +
                std::string(lineEnd) + " filename=\"file " + std::to_string(below(100)) + ".bin\"" +
                std::string(lineEnd);
    }
    if (below(3) == 0) text += "Content-Transfer-Encoding: base64" + std::string(lineEnd);
    text += lineEnd;
    for (size_t lines = below(4); lines != 0; --lines) {
        text += pick(kFragments).substr(0, 3) == "--b" ? std::string_view("not a delimiter")
                                                       : "some text, some text";
        text += lineEnd;
    }
    return text;
}

std::string MessageMaker::multipart(int depth, std::string_view lineEnd) {
    const std::string end(lineEnd);
    const std::string boundary = (below(2) == 0 ? "b" : "=_next_part_") + std::to_string(boundaries_++);
    std::string text = "Content-Type: multipart/" + std::string(pick(kMultipartTypes)) + ";" +
                       (below(2) == 0 ? end + "\t" : " ") + "boundary=\"" + boundary + "\"" + end + end;
    if (below(3) == 0) text += "preamble" + end;
    for (size_t parts = below(4) + 1; parts != 0; --parts) {
        text += "--" + boundary + end + part(depth, lineEnd);
        if (below(4) != 0) text += end;
    }
    if (below(6) != 0) text += "--" + boundary + "--" + end;
    if (below(3) == 0) text += "epilogue" + end;
    return text;
}

std::string MessageMaker::tree() {
    const std::string_view lineEnd = pick(kLineEnds);
    boundaries_ = 0;
    std::string message = "From: someone@example.org" + std::string(lineEnd);
    if (below(12) == 0) message += "Content-Disposition: attachment; filename=own.eml" + std::string(lineEnd);
    return message + multipart(3, lineEnd);
}

std::string MessageMaker::damaged(std::string message) {
    for (size_t times = 1 + below(4); times != 0 && !message.empty(); --times) {
        const size_t at = below(message.size());
        const size_t length = 1 + below(12);
        switch (below(4)) {
            case 0:
                message.erase(at, length);
                break;
            case 1:
                message.insert(at, message.substr(at, length));
                break;
            case 2:
                message.insert(at, pick(kFragments));
                break;
            default:
                message[at] = "\r\n\0- \";"[below(7)];
                break;
        }
    }
    return message;
}

std::string MessageMaker::filler(size_t length) {
    const size_t kind = below(5);
    std::string text(length, kind == 0 ? '\0' : 'f');
    if (kind <= 1) return text;
    const std::string_view lineEnd = pick(kLineEnds);
    const size_t lineLength = 20 + below(200);
    for (size_t at = lineLength; at + 2 < length; at += lineLength) text.replace(at, lineEnd.size(), lineEnd);
    if (kind == 4 && length > 40) text.replace(length - 30, 20, 20, '\0');
    return text;
}

std::string MessageMaker::atBlockBorder(std::string message) {
    if (message.empty()) return message;
    // Behind a line end, so that the filler is a line of its own more often than not.
    size_t at = below(message.size());
    const size_t lineEnd = message.find('\n', at);
    if (below(3) != 0 && lineEnd != std::string::npos) at = lineEnd + 1;
    // The blocks of the header count from the start of the message, those of the scan from the end of the
    // header.
    size_t base = 0;
    for (const std::string_view emptyLine : {"\r\n\r\n", "\n\n", "\r\r"}) {
        const size_t found = message.find(emptyLine);
        if (found != std::string::npos && base == 0) base = found + emptyLine.size();
    }
    if (below(3) == 0) base = 0;
    const size_t border = base + 4096 * (1 + below(3)) - 20 + below(30);
    if (border > at) message.insert(at, filler(border - at));
    return message;
}

std::string MessageMaker::any() {
    std::string message = below(2) == 0 ? soup() : tree();
    if (below(2) == 0) message = damaged(std::move(message));
    if (below(3) == 0) message = atBlockBorder(std::move(message));
    if (below(6) == 0) message = atBlockBorder(std::move(message));
    return message;
}

}  // namespace eml::test
