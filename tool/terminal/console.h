// Standard output and standard error.
#pragma once

#include <string>
#include <string_view>

#include "tool/terminal/problem.h"

namespace emltool {

enum class ColorChoice { kAuto, kAlways, kNever };
enum class Verbosity { kQuiet, kNormal, kVerbose };

// Standard output is a pipe that nobody reads any more.
struct BrokenPipe {};

// Standard output cannot be written, so it is useless to go on with the next file.
struct StandardOutputProblem : Problem {
    using Problem::Problem;
};

// Emphasis, which never carries meaning by itself.
class Style {
  public:
    explicit Style(bool on) : on_(on) {}

    std::string label(std::string_view text) const { return wrap("1", text); }
    std::string number(std::string_view text) const { return wrap("36", text); }
    std::string note(std::string_view text) const { return wrap("2", text); }
    std::string warning(std::string_view text) const { return wrap("33", text); }
    std::string error(std::string_view text) const { return wrap("31", text); }

  private:
    std::string wrap(std::string_view code, std::string_view text) const;

    bool on_;
};

class Console {
  public:
    explicit Console(ColorChoice color = ColorChoice::kAuto, Verbosity verbosity = Verbosity::kNormal);

    bool quiet() const { return verbosity_ == Verbosity::kQuiet; }
    bool verbose() const { return verbosity_ == Verbosity::kVerbose; }

    // How standard output is to be emphasised.
    const Style& style() const { return outStyle_; }

    // Data, for standard output. Buffered until flush, or until there is much. Throws StandardOutputProblem
    // or BrokenPipe.
    void print(std::string_view text);
    void flush();

    // One line each on standard error: "eml: SUBJECT: TEXT", or "eml: TEXT" without a subject. The texts are shown as visible() has them.
    // Warnings are omitted if the user asked for quiet.
    void report(const Problem& problem);
    void note(std::string_view text) const;  // not a warning: how something ended
    void warn(std::string_view subject, std::string_view text);

    // Whether warn was called, even if nothing was printed.
    bool hasWarned() const { return hasWarned_; }

  private:
    Verbosity verbosity_;
    Style outStyle_;
    Style errorStyle_;
    std::string pending_;
    bool hasWarned_ = false;
};

}  // namespace emltool
