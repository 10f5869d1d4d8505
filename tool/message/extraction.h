// Sub-files written to disk.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "standalone/output.h"
#include "tool/message/output_folder.h"
#include "tool/message/tree.h"

namespace emltool {

// What happens if a file with the new name exists already.
enum class OnConflict { kRename, kSkip, kOverwrite, kFail };

// The sub-files that the user chose. Without a choice, all attachments are chosen.
class Selection {
  public:
    // `numbers` as the user wrote them. With `recursive`, what is inside a chosen message is chosen too.
    // Throws Problem.
    Selection(const std::vector<std::string>& numbers, bool recursive);

    // Whether this sub-file is chosen. If so, it counts as found.
    bool wants(const SubFilePath& path);

    // Whether something inside this embedded message may be chosen.
    bool reachesInto(const SubFilePath& path) const;

    bool isAll() const { return choices_.empty(); }

    // The choices that wants() was never asked about.
    std::vector<std::string> notFound() const;

  private:
    struct Choice {
        SubFilePath path;
        bool found;
    };

    std::vector<Choice> choices_;
    bool recursive_;
};

// Throw Problem if the content of the entry is not in the message; if the reader could not write it.
void checkInFile(const MessageFile& file, const SubFileEntry& entry);
void checkExtracted(const MessageFile& file, const SubFileEntry& entry,
                    const emlhost::Extraction& extraction);

struct ExtractionOptions {
    OnConflict onConflict = OnConflict::kFail;
    bool onlyPlan = false;
    bool digest = false;  // also of what is written
    std::function<void(const SubFileEntry& entry)>
        onWritten;  // as soon as the file has its name; may be empty
};

// Writes each chosen attachment into a file of the folder. A failure is noted in the entry.
class Extractor final : public AttachmentVisitor {
  public:
    Extractor(MessageFile& file, Selection& selection, const ExtractionOptions& options, OutputFolder& folder)
        : file_(file), selection_(selection), options_(options), folder_(folder) {}

    void visit(SubFileContent& content, SubFileEntry& entry) override;
    bool opens(const SubFileEntry& entry) const override { return selection_.reachesInto(entry.path); }

  private:
    void extract(SubFileContent& content, SubFileEntry& entry);
    void write(SubFileContent& content, emlhost::Output& output, SubFileEntry& entry);
    void commit(emlhost::FileOutput& output, SubFileEntry& entry);

    MessageFile& file_;
    Selection& selection_;
    const ExtractionOptions& options_;
    OutputFolder& folder_;
};

}  // namespace emltool
