// The header of a message on its page.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <optional>
#include <string>

#include "tool/view/page.h"

namespace emltool {

// Subject, sender and date of the message whose root is `root`.
ViewSummary summaryOf(const emlreader::mime::Part& root);

// The subject as the page shows it, "(no subject)" without one; HTML.
std::string shownSubject(const emlreader::mime::Part& root);

// Who, to whom and when.
std::string headerTable(const emlreader::mime::Part& root);

// "Tuesday, 4 March 2025, 09:15 (+01:00)": the time on the sender's clock.
std::string dateWords(const emlreader::mime::Date& date);

}  // namespace emltool
