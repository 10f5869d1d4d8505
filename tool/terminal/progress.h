// One line on standard error that shows the progress of long work.
#pragma once

#include <chrono>
#include <string_view>

#include "tool/terminal/console.h"

namespace emltool {

// It is shown only to a person: if standard error is a terminal, quiet was not asked for, and the work does not
// write to standard output while that is a terminal (its lines would mix with this one). It appears after half a second, changes at most ten times
// a second, and is removed by the destructor.
//
//     ProgressLine progress(console);
//     while (work()) {
//         if (progress.due()) progress.show(formatted("{} of {} messages", done, all));
//     }
class ProgressLine {
  public:
    ProgressLine(const Console& console, bool writesToStandardOutput);
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Whether something may ever be shown.
    bool isOn() const { return on_; }

    // Whether it is time to show something. Cheap enough to be called for every message.
    bool due() const { return on_ && Clock::now() >= next_; }

    // Milliseconds until due() is true, for a poll that waits; -1 when it never is.
    int untilDue() const;

    // Puts `text`, cut to the width of the terminal, instead of what was shown before.
    void show(std::string_view text);

    // Removes the line, for instance before a warning is written. The next one may follow at once.
    void clear();

    // Seconds since the work began.
    double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

  private:
    using Clock = std::chrono::steady_clock;

    bool on_;
    bool shown_ = false;
    Clock::time_point begin_;
    Clock::time_point next_;
};

}  // namespace emltool
