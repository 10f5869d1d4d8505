#include "tool/system/pending_file.h"

#include "tool/system/ending_signals.h"

namespace emltool {

PendingFile::PendingFile(const std::string& folder, mode_t mode) {
    SignalsHeldBack heldBack;
    output_ = emlhost::FileOutput::create(folder, error_, mode);
    if (output_ != nullptr) removeOnSignal(output_->temporaryPath());
}

PendingFile::~PendingFile() {
    SignalsHeldBack heldBack;
    output_.reset();
    removeOnSignal("");
}

std::error_code PendingFile::commit(const std::string& name, emlhost::CommitPolicy policy) {
    SignalsHeldBack heldBack;
    std::error_code error = output_->commit(name, policy);
    if (!error) removeOnSignal("");
    return error;
}

}  // namespace emltool
