// Tests of what needs SHA-256, which a program may have been built without.
#pragma once

#include <gtest/gtest.h>

#include "tool/text/sha256.h"

namespace emltool {

class NeedsSha256 : public testing::Test {
  protected:
    void SetUp() override {
        if (!hasSha256()) GTEST_SKIP() << sha256Lack();
    }
};

}  // namespace emltool
