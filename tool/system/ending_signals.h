// SIGINT, SIGTERM and SIGHUP, which ask the program to end: without leaving half-written files, or in good order.
#pragma once

#include <csignal>
#include <string>

#include "standalone/unique_descriptor.h"

namespace emltool {

// Lets SIGINT, SIGTERM and SIGHUP remove the file that removeOnSignal named, and then end the program as they
// always do.
void installSignalHandlers();

// The one file to remove; "" for none. Must be called while signals are held back.
void removeOnSignal(const std::string& path);

// Holds back the signals of installSignalHandlers, so that a file and the record of it come and go together.
class SignalsHeldBack {
  public:
    SignalsHeldBack();
    ~SignalsHeldBack();
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

  private:
    sigset_t before_;
};

// While it lives, SIGINT, SIGTERM and SIGHUP are only noted; a second one ends the process at once. SIGPIPE
// becomes an error of the write. There may be only one object at a time.
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
