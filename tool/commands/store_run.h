// A run of `eml extract --store`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/cli/command.h"
#include "tool/commands/extract_work.h"
#include "tool/commands/store_manifest.h"
#include "tool/message/content_store.h"
#include "tool/system/ending_signals.h"

namespace emltool {

class StoreRun {
  public:
    // Finds out whether the store and the manifest can be written. Throws Problem.
    StoreRun(Console& console, const GlobalOptions& options, const ExtractRequest& request);
    ~StoreRun();

    // Whether an earlier run is done with this message.
    bool takeDone(const MessageSource& source);

    // How many were done.
    uint64_t done() const { return done_; }

    // Reads the message and stores its attachments. Throws Problem, also if something could not be stored.
    MessageTree read(MessageFile& file, Selection& selection, const MessageSource& source);

    // The message is done: its rows are written. `problem` is the first one that it had, or NULL. Throws Problem.
    void end(const MessageSource& source, const Problem* problem);

    // Ends the process the way a signal does, if one has come.
    void endIfAsked() const;

  private:
    Console& console_;
    const GlobalOptions& options_;
    const ExtractRequest& request_;
    ContentStore store_;
    std::optional<StoreManifest> manifest_;
    std::optional<EndingSignals> signals_;
    std::string rows_;  // of the message that is being read
    uint64_t files_ = 0;
    uint64_t done_ = 0;
};

}  // namespace emltool
