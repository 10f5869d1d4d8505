#include "tool/commands/store_run.h"

#include "tool/message/manifest.h"
#include "tool/message/store_visitor.h"
#include "tool/text/format.h"

namespace emltool {

StoreRun::StoreRun(Console& console, const GlobalOptions& options, const ExtractRequest& request)
    : console_(console), options_(options), request_(request), store_(request.store) {
    store_.prepare();
    if (request.manifest.empty()) return;
    try {
        manifest_.emplace(console, request.manifest, request.resume);
    } catch (...) {
        store_.removeIfEmpty();
        throw;
    }
    if (request.manifest != "-") signals_.emplace();
}

StoreRun::~StoreRun() { store_.removeIfEmpty(); }

bool StoreRun::takeDone(const MessageSource& source) {
    const bool isDone = manifest_ && manifest_->takeDone(source);
    if (isDone) ++done_;
    return isDone;
}

MessageTree StoreRun::read(MessageFile& file, Selection& selection, const MessageSource& source) {
    StoreVisitor visitor(file, selection, store_, [&](const SubFileEntry& entry) {
        if (!manifest_) return;
        rows_ += manifestRow(source, entry, options_.reading);
        ++files_;
    });
    rows_.clear();
    files_ = 0;
    MessageTree tree = readFiles(file, visitor, options_);
    if (!visitor.failure()) return tree;
    Problem problem = *visitor.failure();
    if (signals_) problem.text += "; --resume goes on with this message";
    throw Problem(problem);
}

void StoreRun::end(const MessageSource& source, const Problem* problem) {
    if (!manifest_) return;
    manifest_->write(rows_ + manifestMessageRow(source, files_, problem));
    rows_.clear();
    files_ = 0;
}

void StoreRun::endIfAsked() const {
    if (!signals_ || EndingSignals::caught() == 0) return;
    console_.note(formatted("stopped; {} is whole so far, and the same command with --resume continues it",
                            request_.manifest));
    EndingSignals::end();
}

}  // namespace emltool
