// The code that a call may give when an entry of the host fails in it.
#pragma once

#include "faults/session.h"

namespace eml::test {

// Whether `call` may give `code` when a call of `entry` has failed in it. `undisturbed` is what it gives
// otherwise.
[[nodiscard]] bool isStatedCode(Reader reader, Call call, Entry entry, EmlResult undisturbed, EmlResult code);

// The same when the open of the message was disturbed, so that the context knows less of it than there is.
[[nodiscard]] bool isCodeOfCall(Reader reader, Call call, EmlResult code);

}  // namespace eml::test
