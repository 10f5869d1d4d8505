// An environment variable that has another value for the time of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace emlhost_test {

class TemporaryVariable {
  public:
    TemporaryVariable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        ::setenv(name, value, 1);
    }
    ~TemporaryVariable() {
        if (before_) {
            ::setenv(name_.c_str(), before_->c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }
    TemporaryVariable(const TemporaryVariable&) = delete;
    TemporaryVariable& operator=(const TemporaryVariable&) = delete;

  private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace emlhost_test
