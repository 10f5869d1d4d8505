// What a server notes of a message that it has taken: the field "Received" (RFC 5321 section 4.4).
#pragma once

#include <string>
#include <string_view>

namespace emltool {

// Each is empty if the field does not say it, and has one blank where the field has several. Comments stay where they
// are: they often have the address of the host that really connected.
struct TraceField {
    std::string from;  // "mx.example.org (mx.example.org [192.0.2.1])"
    std::string by;
    std::string via;
    std::string with;  // "ESMTPS"
    std::string id;
    std::string recipient;  // after "for", without angle brackets
    std::string other;      // before the first of these: "(qmail 17 invoked by uid 7)"
    std::string date;       // as written after the last semicolon
};

// `text` is unfolded. A word that begins a clause again belongs to the clause before.
TraceField parseTraceField(std::string_view text);

}  // namespace emltool
