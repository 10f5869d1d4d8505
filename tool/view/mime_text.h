// Texts of a message as the page shows them.
#pragma once

#include <emlreader/mime.hpp>
#include <string>
#include <string_view>

namespace emltool {

// A part of type text/html, UTF-8. If the message does not say its charset, the one that the HTML names counts.
std::string htmlText(const emlreader::mime::Part& part);

// A calendar, UTF-8, which is its charset unless the message says another one (RFC 5545 section 3.1.4).
std::string calendarText(const emlreader::mime::Part& part);

// The charset that HTML names in a <meta> of its first kilobytes; empty without one.
std::string metaCharset(std::string_view html);

}  // namespace emltool
