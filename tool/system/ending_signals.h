// SIGINT, SIGTERM and SIGHUP, which ask the program to end: without leaving half-written files, or in good order.
#pragma once

#include <csignal>
#include <string>

#include "standalone/unique_descriptor.h"

namespace emltool {

// Lets SIGINT, SIGTERM and SIGHUP remove the file that removeOnSignal named, and then end the program as they
// always do.
void installSignalHandlers();

// The one file to remove. It need not be there: call this before the file is created, and leave it until the file is
// gone or has another name.
void removeOnSignal(const std::string& path);

// No longer this file.
void stopRemoving(const std::string& path);

// While it lives, SIGINT, SIGTERM and SIGHUP are only noted; a second one removes the file of removeOnSignal and ends
// the process at once. SIGPIPE becomes an error of the write. There may be only one object at a time.
class EndingSignals {
  public:
    // Throws Problem.
    EndingSignals();
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    // Becomes readable when a signal has come.
    int descriptor() const { return reading_.get(); }

    // The signal, or 0.
    static int caught();

    // Ends the process the way the signal does.
    [[noreturn]] static void end();

  private:
    emlhost::UniqueDescriptor reading_;
    emlhost::UniqueDescriptor writing_;
};

}  // namespace emltool
