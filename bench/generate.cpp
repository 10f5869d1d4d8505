#include "bench/generate.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "bench/encode.h"
#include "bench/text.h"

namespace emlbench {

namespace {

constexpr std::array<std::pair<std::string_view, Kind>, 12> kKinds{{{"typical", Kind::kTypical},
                                                                    {"base64", Kind::kBase64},
                                                                    {"qp", Kind::kQuotedPrintable},
                                                                    {"qp-heavy", Kind::kQuotedHeavy},
                                                                    {"8bit", Kind::kPlain},
                                                                    {"mixture", Kind::kMixture},
                                                                    {"parts", Kind::kParts},
                                                                    {"headers", Kind::kHeaders},
                                                                    {"text-base64", Kind::kTextBase64},
                                                                    {"text-qp", Kind::kTextQuoted},
                                                                    {"text-8bit", Kind::kTextPlain},
                                                                    {"mail", Kind::kMail}}};

constexpr uint64_t kMixturePart = 10'000'000;
constexpr uint64_t kSmallMail = 5'000;

// Writes one message; knows the boundary that the parts of a level have.
class MessageWriter {
  public:
    MessageWriter(uint64_t seed, const TextSink& sink) : random_(seed), sink_(sink) {}

    [[nodiscard]] uint64_t written() const { return written_; }
    Random& random() { return random_; }

    void put(std::string_view text) {
        written_ += text.size();
        sink_(text);
    }

    std::string hex(unsigned digits) {
        std::string text;
        for (unsigned i = 0; i < digits; ++i) text += "0123456789abcdef"[random_.below(16)];
        return text;
    }

    void delimiter(const std::string& boundary) { put("\r\n--" + boundary + "\r\n"); }
    void closeDelimiter(const std::string& boundary) { put("\r\n--" + boundary + "--\r\n"); }

    void messageHeader(const std::string& contentType);
    void headerLines(uint64_t count);
    void paragraphs(Kind kind, uint64_t size);
    void base64(uint64_t size);
    void base64Text(uint64_t size);
    void attachment(Kind kind, uint64_t size, unsigned number);
    void alternatives(uint64_t size);

  private:
    std::string host() { return "mx" + hex(2) + ".example.org"; }

    Random random_;
    const TextSink& sink_;
    uint64_t written_ = 0;
};

void MessageWriter::messageHeader(const std::string& contentType) {
    put("Return-Path: <anna.schmidt@example.com>\r\n");
    for (unsigned hop = 3; hop != 0; --hop) {
        put("Received: from " + host() + " (" + host() + " [192.0.2." + std::to_string(hop) + "])\r\n\tby " +
            host() + " (Postfix) with ESMTPS id " + hex(10) +
            "\r\n\tfor <robert.meier@example.org>; Tue, 14 May 2024 09:2" + std::to_string(hop) +
            ":17 +0200 (CEST)\r\n");
    }
    put("DKIM-Signature: v=1; a=rsa-sha256; c=relaxed/relaxed; d=example.com; s=2024;\r\n"
        "\th=from:to:subject:date:message-id:mime-version:content-type;\r\n");
    put("\tbh=" + hex(43) + "=;\r\n");
    for (unsigned line = 0; line < 5; ++line) put((line == 0 ? "\tb=" : "\t ") + hex(68) + "\r\n");
    put("From: =?UTF-8?Q?Anna_Schmidt-M=C3=BCller?= <anna.schmidt@example.com>\r\n"
        "To: Robert Meier <robert.meier@example.org>,\r\n"
        "\t\"Sales, North\" <sales-north@example.org>\r\n"
        "Cc: team@example.org\r\n");
    put("Subject: Re: " + asciiWords(5, random_) + "\r\n");
    put("Date: Tue, 14 May 2024 09:21:14 +0200\r\n");
    put("Message-ID: <" + hex(8) + "." + hex(12) + "@example.com>\r\n");
    put("In-Reply-To: <" + hex(8) + "." + hex(12) + "@example.org>\r\n");
    put("References: <" + hex(8) + "." + hex(12) + "@example.org>\r\n\t<" + hex(24) + "@example.org>\r\n");
    put("User-Agent: Courier Pigeon 4.2\r\nX-Spam-Score: -2.1\r\nMIME-Version: 1.0\r\n");
    put("Content-Type: " + contentType + "\r\n\r\n");
}

// About `size` encoded bytes of text.
void MessageWriter::paragraphs(Kind kind, uint64_t size) {
    const uint64_t end = written_ + size;
    const Language language = kind == Kind::kQuotedHeavy ? Language::kRussian : Language::kGerman;
    while (written_ < end) {
        const std::string text = paragraph(language, random_);
        put(kind == Kind::kPlain ? text + "\r\n" : quotedPrintableLines(text));
    }
}

void MessageWriter::base64(uint64_t size) {
    uint64_t left = size / 78 * 57 + size % 78 / 4 * 3;
    std::vector<uint8_t> bytes;
    while (left != 0) {
        bytes.resize(static_cast<size_t>(std::min<uint64_t>(left, 57 * 1024)));
        for (size_t i = 0; i < bytes.size(); i += 8) {
            uint64_t bits = random_.bits();
            for (size_t k = i; k < std::min(i + 8, bytes.size()); ++k, bits >>= 8) {
                bytes[k] = static_cast<uint8_t>(bits & 0xFF);
            }
        }
        put(base64Lines(bytes));
        left -= bytes.size();
    }
}

void MessageWriter::base64Text(uint64_t size) {
    const uint64_t end = written_ + size;
    std::string text;
    while (written_ < end) {
        while (text.size() < size_t{57} * 64) text += paragraph(Language::kGerman, random_) + "\r\n";
        const size_t whole = written_ + 78 * 64 < end ? text.size() / 57 * 57 : text.size();
        put(base64Lines({reinterpret_cast<const uint8_t*>(text.data()), whole}));
        text.erase(0, whole);
    }
}

// Stands in front of the other header lines.
void MessageWriter::headerLines(uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        put("X-Trace-" + std::to_string(i % 100) + ": " + asciiWords(4, random_) + "\r\n");
    }
}

// The header and the body of one attachment.
void MessageWriter::attachment(Kind kind, uint64_t size, unsigned number) {
    const bool isBase64 = kind == Kind::kBase64;
    const std::string name = "attachment-" + std::to_string(number) + (isBase64 ? ".pdf" : ".txt");
    put(isBase64 ? "Content-Type: application/pdf;\r\n" : "Content-Type: text/plain; charset=utf-8;\r\n");
    put("\tname=\"" + name + "\"\r\nContent-Transfer-Encoding: ");
    put(isBase64 ? "base64" : kind == Kind::kPlain ? "8bit" : "quoted-printable");
    put("\r\nContent-Disposition: attachment;\r\n\tfilename=\"" + name + "\"\r\n\r\n");
    if (isBase64) {
        base64(size);
    } else {
        paragraphs(kind, size);
    }
}

// A text and an HTML body in a multipart/alternative of their own, about `size` bytes.
void MessageWriter::alternatives(uint64_t size) {
    const std::string boundary = "alt_" + hex(24);
    put("Content-Type: multipart/alternative; boundary=\"" + boundary + "\"\r\n");
    delimiter(boundary);
    put("Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n");
    paragraphs(Kind::kQuotedPrintable, size * 2 / 5);
    delimiter(boundary);
    put("Content-Type: text/html; charset=UTF-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n");
    put("<html><head><meta charset=3D\"utf-8\"></head><body style=3D\"font-family:=\r\nsans-serif\">\r\n");
    const uint64_t end = written_ + size * 3 / 5;
    while (written_ < end) {
        put("<p class=3D\"MsoNormal\">");
        paragraphs(Kind::kQuotedPrintable, 1);
        put("</p>\r\n");
    }
    put("</body></html>\r\n");
    closeDelimiter(boundary);
}

void writeParts(MessageWriter& writer, const std::string& boundary, uint64_t count) {
    for (uint64_t i = 1; i <= count; ++i) {
        writer.delimiter(boundary);
        const Kind kind = i % 2 == 0 ? Kind::kBase64 : Kind::kQuotedPrintable;
        writer.attachment(kind, 100 + writer.random().below(100), static_cast<unsigned>(i));
    }
}

void writeMixture(MessageWriter& writer, const std::string& boundary, uint64_t size) {
    constexpr std::array kOrder{Kind::kBase64, Kind::kQuotedPrintable, Kind::kPlain, Kind::kQuotedHeavy};
    for (unsigned number = 1; writer.written() < size; ++number) {
        writer.delimiter(boundary);
        writer.attachment(kOrder[number % kOrder.size()], std::min(kMixturePart, size - writer.written()),
                          number);
    }
}

void writeText(MessageWriter& writer, Kind kind, uint64_t size) {
    const char* const encoding = kind == Kind::kTextBase64  ? "base64"
                                 : kind == Kind::kTextPlain ? "8bit"
                                                            : "quoted-printable";
    writer.messageHeader(std::string("text/plain; charset=utf-8\r\nContent-Transfer-Encoding: ") + encoding);
    if (kind == Kind::kTextBase64) {
        writer.base64Text(size);
    } else {
        writer.paragraphs(kind == Kind::kTextPlain ? Kind::kPlain : Kind::kQuotedPrintable, size);
    }
}

void writeMultipart(MessageWriter& writer, Kind kind, uint64_t size) {
    const std::string boundary = "----=_Part_" + writer.hex(20);
    writer.messageHeader("multipart/mixed;\r\n\tboundary=\"" + boundary + "\"");
    writer.put("This is a multi-part message in MIME format.\r\n");
    writer.delimiter(boundary);
    writer.alternatives(kind == Kind::kTypical ? size / 2 : 2000);
    switch (kind) {
        case Kind::kTypical:
            writer.delimiter(boundary);
            writer.attachment(Kind::kBase64, size - std::min(size, writer.written() + 300), 1);
            break;
        case Kind::kParts:
            writeParts(writer, boundary, size);
            break;
        case Kind::kMixture:
            writeMixture(writer, boundary, size);
            break;
        default:
            writer.delimiter(boundary);
            writer.attachment(kind, size, 1);
    }
    writer.closeDelimiter(boundary);
}

}  // namespace

std::optional<Kind> kindNamed(std::string_view name) {
    for (const auto& [kindName, kind] : kKinds) {
        if (kindName == name) return kind;
    }
    return std::nullopt;
}

void generate(Kind kind, uint64_t size, uint64_t seed, const TextSink& sink) {
    MessageWriter writer(seed, sink);
    switch (kind) {
        case Kind::kTextBase64:
        case Kind::kTextQuoted:
        case Kind::kTextPlain:
            return writeText(writer, kind, size);
        case Kind::kHeaders:
            writer.headerLines(size);
            return writeText(writer, Kind::kTextPlain, 500);
        case Kind::kMail:
            // The header takes about 2 KB.
            if (size >= kSmallMail) return writeMultipart(writer, Kind::kTypical, size);
            return writeText(writer, seed % 2 == 0 ? Kind::kTextPlain : Kind::kTextQuoted,
                             size - std::min<uint64_t>(size, 1'900));
        default:
            return writeMultipart(writer, kind, size);
    }
}

uint64_t mailSize(uint64_t number) {
    // Each step is as frequent as any other.
    constexpr std::array<uint64_t, 13> kSteps{2'000,  3'000,  4'000,  5'000,  6'000,  7'500, 9'500,
                                              12'000, 15'000, 19'000, 26'000, 38'000, 60'000};
    Random random(number);
    const uint64_t step = random.below(kSteps.size() - 1);
    return kSteps[step] + random.below(kSteps[step + 1] - kSteps[step]);
}

}  // namespace emlbench
