// Guards that no input and no host can ever meet. They stay: a mistake about them must not become a stray
// access.
//
//     if (EML_NEVER(condition)) return ...;     the condition is never true
//
// A debug build asserts it, a release build still tests it, and the build that counts which branches the
// tests reach leaves it out. The comment beside each says why it cannot be.
#pragma once

#include <cassert>

namespace eml {

// A guard that was met after all. A debug build stops here.
[[nodiscard]] inline bool guardIsMet() {
    assert(false);
    return true;
}

}  // namespace eml

#ifdef EML_COUNT_BRANCHES
#define EML_NEVER(condition) (sizeof(condition) == 0)
#else
#define EML_NEVER(condition) ((condition) && eml::guardIsMet())
#endif
