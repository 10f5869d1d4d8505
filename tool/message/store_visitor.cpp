#include "tool/message/store_visitor.h"

namespace emltool {

void StoreVisitor::visit(SubFileContent& content, SubFileEntry& entry) {
    if (failure_ || !selection_.wants(entry.path)) return;
    try {
        store(content, entry);
    } catch (const Problem& problem) {
        if (problem.exit == ExitCode::kInternal) throw;
        if (problem.exit == ExitCode::kOutput) failure_ = problem;
        entry.outcome = Outcome::kFailed;
        entry.problem = problem;
    }
}

void StoreVisitor::store(SubFileContent& content, SubFileEntry& entry) {
    checkInFile(file_, entry);
    emlhost::Output& output = store_.output();
    const emlhost::Extraction extraction = content.extract(output);
    file_.checkReads();
    if (!output.error()) checkExtracted(file_, entry, extraction);
    ContentStore::Stored stored = store_.store();
    entry.size = output.size();
    entry.sha256 = std::move(stored.sha256);
    entry.filePath = std::move(stored.path);
    entry.outcome = stored.isNew ? Outcome::kWritten : Outcome::kSkipped;
    onStored_(entry);
}

}  // namespace emltool
