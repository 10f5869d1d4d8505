#include "tool/message/sha256_need.h"

#include "tool/terminal/problem.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

void needSha256(std::string_view what) {
    const std::string lack = sha256Lack();
    if (lack.empty()) return;
    throw usageProblem(formatted("{} needs SHA-256, which needs libcrypto; this program was {}", what, lack));
}

}  // namespace emltool
