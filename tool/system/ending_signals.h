// Signals that ask for the end, for work that ends in good order.
#pragma once

#include "standalone/unique_descriptor.h"

namespace emltool {

// While it lives, SIGINT, SIGTERM and SIGHUP are only noted; a second one ends the process at once. SIGPIPE
// is an error of the write. One object at a time.
class EndingSignals {
  public:
    // Throws Problem.
    EndingSignals();
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    // Can be read once a signal has come.
    int descriptor() const { return reading_.get(); }

    // The signal, or 0.
    static int caught();

    // Ends the process as the signal does that has come.
    [[noreturn]] static void end();

  private:
    emlhost::UniqueDescriptor reading_;
    emlhost::UniqueDescriptor writing_;
};

}  // namespace emltool
