// What a subject is about, without the marks of replies and forwards.
#pragma once

#include <string>
#include <string_view>

namespace emltool {

struct SubjectBase {
    std::string text;  // may be empty
    bool isReplyOrForward = false;
};

// The base subject of `subject`, a decoded one (RFC 5256 section 2.1): without "Re:", "Fw:" and "Fwd:", "[...]" before
// it or before those, "(fwd)" at the end and "[fwd: ...]" around it, and with single blanks. The prefixes of other
// languages ("AW:", "Rép :") are part of it, since that is what everybody who follows the RFC compares.
SubjectBase subjectBase(std::string_view subject);

}  // namespace emltool
