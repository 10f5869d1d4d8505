// eml batch: many messages, one JSON line each.
#include <sched.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>

#include "tool/batch/database_output.h"
#include "tool/batch/run.h"
#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/message/sha256_need.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"
#include "tool/text/size_text.h"

namespace emltool {

namespace {

constexpr unsigned kMaxJobs = 4096;
constexpr uint64_t kMinMemory = uint64_t{16} << 20;

// The processors that this process may use.
unsigned processors() {
    cpu_set_t set;
    int count = ::sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : 1;
    return static_cast<unsigned>(std::max(count, 1));
}

class BatchCommandRun final : public CommandRun {
  public:
    explicit BatchCommandRun(CLI::App& app) {
        app.add_option("PATH", options_.paths,
                       "messages, folders, mbox files, archives; - reads paths from standard input")
            ->type_name("");
        app.add_flag("-0,--null", null_, "paths on standard input end with a zero byte");
        app.add_option("--name", options_.pattern, "only files in folders with such names, as in '*.eml'")
            ->type_name("GLOB");
        app.add_option("-o,--output", options_.output,
                       "write the rows to FILE, which must not exist; NAME.sqlite becomes a database")
            ->type_name("FILE");
        app.add_flag("--resume", options_.resume, "continue FILE, which an earlier run has begun");
        app.add_option("-j,--jobs", jobs_, "worker processes; 0 means one per processor (default: 1)")
            ->type_name("N");
        app.add_flag("--ordered", options_.ordered,
                     "rows in the order of the input, even with several workers");
        app.add_option("--shard", shard_, "only the K-th of N shares, by a hash of the path")
            ->type_name("K/N");
        app.add_option("--timeout", timeout_,
                       "give up on a message after SECONDS; 0 means never (default: 300)")
            ->type_name("SECONDS");
        app.add_option("--max-memory", memory_,
                       "give up on a message that needs more, as in 512M (default: no limit)")
            ->type_name("SIZE");
        app.add_flag("-r,--recursive", options_.worker.row.recursive,
                     "open embedded messages, signed parts and winmail.dat");
        app.add_flag("--text", options_.worker.row.text, "include the text of the message");
        app.add_flag("--markdown", options_.worker.row.markdown,
                     "include the message as Markdown, as \"eml render --to=markdown\" makes it");
        app.add_flag("--html", options_.worker.row.html,
                     "include the HTML of its text, as sent: not made harmless");
        app.add_flag("--parts", options_.worker.row.parts, "include all parts, as \"eml tree\" has them");
        app.add_option("--headers", headers_,
                       "include fields of the header: all, or their names with commas between")
            ->type_name("NAMES");
        app.add_flag("--digest", options_.worker.row.digest, "include SHA-256 of message and attachments");
        app.add_flag("--full", full_,
                     "-r and all that can be included: text, markdown, html, parts, headers, digest");
        app.add_flag("--threads", options_.threads,
                     "tell which messages are of one conversation; the rows come at the end");
        app.add_flag("--force", options_.worker.row.force, "also read what does not look like a message");
        app.add_flag("--errors-ok", errorsOk_, "exit with 0 once everything is read, even with error rows");
    }

    ExitCode run(Console& console, const GlobalOptions& global) override {
        complete();
        if (options_.threads) checkThreads(global);
        options_.worker.row.form = answerForm(global);
        if (isDatabasePath(options_.output)) completeForDatabase(global);
        const AnswerForm& form = options_.worker.row.form;
        checkMimeOptions(form);
        checkDigests(form.reading);
        BatchCounts counts;
        {
            BatchRun batch(options_, console);
            counts = batch.run();
        }
        bool isForPerson =
            ::isatty(STDERR_FILENO) != 0 && (!options_.output.empty() || ::isatty(STDOUT_FILENO) == 0);
        if (counts.errors > 0 || isForPerson || console.verbose()) console.note(summary(counts));
        return counts.errors > 0 && !errorsOk_ ? ExitCode::kInPart : ExitCode::kDone;
    }

  private:
    void complete() {
        if (options_.paths.empty()) throw usageProblem("batch: no PATH given; see \"eml batch --help\"");
        auto lists = std::count(options_.paths.begin(), options_.paths.end(), "-");
        if (lists > 1) throw usageProblem("batch: - is given twice");
        if (null_ && lists == 0) throw usageProblem("batch: -0 is for the paths on standard input; add -");
        if (options_.resume && options_.output.empty()) throw usageProblem("batch: --resume needs -o FILE");
        if (null_) options_.separator = '\0';
        completeContent();
        completeJobs();
        completeShard();
        completeLimits();
    }

    // What it has columns for.
    void completeForDatabase(const GlobalOptions& global) {
        if (global.schema == 1 || global.reading != Reading::kMime)
            throw usageProblem("a database has what the MIME reader gives, in version 2 of the answers");
        options_.worker.row.text = options_.worker.row.parts = true;
    }

    // What only the MIME reader has.
    void checkMimeOptions(const AnswerForm& form) const {
        if (form.reading == Reading::kMime && form.schema != 1) return;
        const RowOptions& row = options_.worker.row;
        const std::pair<bool, const char*> wanted[] = {{full_, "--full"},
                                                       {row.markdown, "--markdown"},
                                                       {row.html, "--html"},
                                                       {row.parts, "--parts"},
                                                       {row.headers.has_value(), "--headers"}};
        for (const auto& [isWanted, option] : wanted) {
            if (isWanted)
                throw usageProblem(
                    formatted("{} is what the MIME reader gives, in version 2 of the answers", option));
        }
    }

    void completeContent() {
        RowOptions& row = options_.worker.row;
        if (full_) row.recursive = row.text = row.markdown = row.html = row.parts = row.digest = true;
        if (headers_.empty() && full_) headers_ = "all";
        if (headers_.empty()) return;
        row.headers.emplace();
        if (equalNoCase(headers_, "all")) return;
        std::string_view rest = headers_;
        while (!rest.empty()) {
            const size_t end = std::min(rest.find(','), rest.size());
            std::string name = lowerCase(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (name.empty() || name.find_first_of(" :\t") != std::string::npos)
                throw usageProblem(
                    formatted("--headers={}: not names of fields with commas between", headers_));
            row.headers->push_back(std::move(name));
        }
    }

    static void checkThreads(const GlobalOptions& global) {
        if (global.schema == 1)
            throw usageProblem("--threads is not in version 1 of the answers; leave out --schema=1");
        if (global.reading != Reading::kMime)
            throw usageProblem("--threads goes by ids that the MIME reader reads; --reader does not apply");
    }

    // Loads libcrypto where it is needed, once for all workers.
    void checkDigests(Reading reading) const {
        if (options_.worker.row.digest) needSha256("--digest");
        if (options_.shards > 1) needSha256("--shard");
        if (options_.threads) needSha256("--threads");
        if (options_.resume) needSha256("--resume");
        if (reading != Reading::kMime) hasSha256();  // to tell what that reading leaves out
    }

    void completeJobs() {
        std::optional<unsigned> jobs = parseNumber(jobs_);
        if (!jobs || *jobs > kMaxJobs) {
            throw usageProblem(formatted("-j {}: not a number from 0 to {}", jobs_, kMaxJobs));
        }
        options_.jobs = *jobs == 0 ? processors() : *jobs;
    }

    void completeShard() {
        if (shard_.empty()) return;
        size_t slash = shard_.find('/');
        std::optional<unsigned> shard = parseNumber(std::string_view(shard_).substr(0, slash));
        std::optional<unsigned> shards;
        if (slash != std::string::npos) shards = parseNumber(std::string_view(shard_).substr(slash + 1));
        if (!shard || !shards || *shard < 1 || *shard > *shards) {
            throw usageProblem(formatted("--shard={}: not K/N with K from 1 to N, as in 3/16", shard_));
        }
        options_.shard = *shard;
        options_.shards = *shards;
    }

    void completeLimits() {
        constexpr double kMaxTimeout = 1e6;
        std::optional<double> timeout = parseDecimal(timeout_);
        if (!timeout || !std::isfinite(*timeout) || *timeout < 0 || *timeout > kMaxTimeout) {
            throw usageProblem(
                formatted("--timeout={}: not a number of seconds from 0 to {:.0f}", timeout_, kMaxTimeout));
        }
        options_.timeout = std::chrono::milliseconds(static_cast<int64_t>(std::ceil(*timeout * 1000)));
        if (memory_.empty()) return;
        std::optional<uint64_t> memory = parseSize(memory_);
        if (!memory || *memory < kMinMemory) {
            throw usageProblem(
                formatted("--max-memory={}: not a size of 16M or more, as in 512M or 2G", memory_));
        }
        options_.worker.maxMemory = *memory;
    }

    static std::string summary(const BatchCounts& counts) {
        std::string text = formatted("{} message{} read, {} of them with errors", counts.rows,
                                     counts.rows == 1 ? "" : "s", counts.errors);
        if (counts.finished > 0) text += formatted("; {} were there already", counts.finished);
        return text;
    }

    BatchOptions options_;
    std::string headers_;
    bool full_ = false;
    std::string jobs_ = "1";
    std::string shard_;
    std::string memory_;
    std::string timeout_ = "300";
    bool null_ = false;
    bool errorsOk_ = false;
};

std::unique_ptr<CommandRun> declareBatch(CLI::App& app) { return std::make_unique<BatchCommandRun>(app); }

}  // namespace

const Command kBatchCommand = {
    "batch", "many messages, folders, mbox files and archives: one JSON line each", "PATH...|-",
    "Worker processes read the messages. One that crashes its worker, takes too long or needs too much "
    "memory\n"
    "has an error in its row, and the work continues. Folders are read with everything in them, in the "
    "order\n"
    "of the names. A file that begins with \"From \" is an mbox, whose messages have an index, from 0 on.\n"
    "So are tar (plain, or with gzip, bzip2, xz, Zstandard), zip and single compressed files; rows have the "
    "name\n"
    "of the member. A pipe may deliver all of these: PATH is /dev/stdin then.\n"
    "In a Maildir only the messages are read. The file with the rows is not. --resume continues after "
    "Ctrl-C.\n"
    "\"eml schema\" prints what a row holds.\n\n"
    "--threads adds \"thread\" to the rows, which is equal for the messages of one conversation, by their "
    "ids\n"
    "and, where these lead nowhere, their subjects. All messages must be known first: FILE is completed at "
    "the\n"
    "end, those of an earlier run with it, and standard output gets no row before. With --shard, the "
    "messages\n"
    "of that share alone count.\n\n"
    "Exit codes: 0 everything read, 1 finished with errors in some rows, 2 and above not finished.\n\n"
    "Examples:\n"
    "  eml batch -j 0 -o rows.jsonl archive/          all processors\n"
    "  eml batch -j 0 -o rows.jsonl --resume archive/ continues where that stopped\n"
    "  eml batch --shard=3/16 archive/                the third of 16 parts, on any machine\n"
    "  eml batch -j 0 --threads -o rows.jsonl archive/ all of them, with their conversations\n"
    "  zcat big.mbox.gz | eml batch /dev/stdin        as it comes\n"
    "  find archive -name '*.eml' -print0 | eml batch -0 - | jq -r .message.metadata.subject\n",
    declareBatch};

}  // namespace emltool
