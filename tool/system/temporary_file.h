// Temporary files: one without a name for what is only read again, and the care for those with a name when a
// signal ends the program.
#pragma once

#include <csignal>
#include <string>

#include "standalone/unique_descriptor.h"

namespace emltool {

// An open file without a name, in $TMPDIR or /tmp. Throws Problem.
class TemporaryFile {
  public:
    TemporaryFile();

    int descriptor() const { return descriptor_.get(); }
    emlhost::UniqueDescriptor release() { return std::move(descriptor_); }

  private:
    emlhost::UniqueDescriptor descriptor_;
};

// Lets SIGINT, SIGTERM and SIGHUP remove the file that removeOnSignal named, and then end the program as they
// always do.
void installSignalHandlers();

// The one file to remove; "" for none. Call it while signals are held back.
void removeOnSignal(const std::string& path);

// Holds back the signals of installSignalHandlers, so that a file and the note of it come and go together.
class SignalsHeldBack {
  public:
    SignalsHeldBack();
    ~SignalsHeldBack();
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

  private:
    sigset_t before_;
};

}  // namespace emltool
