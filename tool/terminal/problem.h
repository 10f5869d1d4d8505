// What goes wrong, in the words that the user sees.
#pragma once

#include <exception>
#include <string>
#include <system_error>

namespace emltool {

enum class ExitCode : int {
    kDone = 0,
    kInPart = 1,  // some files or messages failed
    kUsage = 2,
    kInput = 3,      // cannot be read
    kNoMessage = 4,  // empty, or not an e-mail message
    kEncrypted = 5,
    kOutput = 6,  // cannot be written
    kNoSubFile = 7,
    kInternal = 70
};

// One problem; thrown if it ends the work on a file.
struct Problem : std::exception {
    Problem(ExitCode exitCode, std::string shortName, std::string concerned, std::string description)
        : exit(exitCode),
          code(std::move(shortName)),
          subject(std::move(concerned)),
          text(std::move(description)) {}

    const char* what() const noexcept override { return text.c_str(); }

    ExitCode exit;
    std::string code;     // for programs: "no-such-file"
    std::string subject;  // the file or option that it is about; may be empty
    std::string text;     // what is wrong and what to do, in one line
};

// Something that was guessed or left out.
struct Warning {
    std::string code;  // for programs: "base64-character"
    std::string text;

    bool operator==(const Warning&) const = default;
};

Problem usageProblem(std::string text);
Problem outOfMemory(std::string subject);

// A system error in the style of this tool: in lower case, like "no such file or directory".
std::string describe(const std::error_code& error);

// The exit code of work on several things.
class Tally {
  public:
    void succeeded() { anyDone_ = true; }
    void failed(ExitCode code) {
        if (first_ == ExitCode::kDone) first_ = code;
    }

    // Done; or the first failure when nothing succeeded; or InPart.
    ExitCode exitCode() const { return first_ != ExitCode::kDone && anyDone_ ? ExitCode::kInPart : first_; }

  private:
    bool anyDone_ = false;
    ExitCode first_ = ExitCode::kDone;
};

}  // namespace emltool
