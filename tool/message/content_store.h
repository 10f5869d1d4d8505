// A folder that has each content once, under its SHA-256.
#pragma once

#include <bitset>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "standalone/file_output.h"
#include "standalone/output.h"
#include "tool/message/output_folder.h"
#include "tool/text/sha256.h"

namespace emltool {

// DIR/ab/cdef...: the first two digits name a folder, the other 62 the file. A file that is there is whole, and several
// programs may write one store at once. What is there with the right size is not written again.
class ContentStore {
  public:
    explicit ContentStore(const std::string& path) : folder_(path), output_(folder_) {}

    // Creates the folder if it is missing, and finds out whether it can be written. Throws Problem.
    void prepare();

    // Removes the folder if prepare() created it and nothing is in there.
    void removeIfEmpty() { folder_.removeIfEmpty(); }

    // Takes one content after the other. A content of up to this size is in a file only once its digest is known.
    static constexpr size_t kMaxHeld = size_t{256} << 10;
    emlhost::Output& output() { return output_; }

    struct Stored {
        std::string sha256;
        std::string path;
        bool isNew = false;
    };

    // Gives what was written to output() its place. Throws Problem, after which nothing of it is there.
    Stored store();

  private:
    // Computes the digest of what passes, and writes it into a temporary file if it is long.
    class HeldOutput final : public emlhost::Output {
      public:
        explicit HeldOutput(OutputFolder& folder) : Output(Seeking::kNotAtAll), folder_(folder) {}

        std::string digest() { return hexText(hash_.finish()); }

        // The file, with all that was written. NULL on failure, with the cause in `error`.
        std::unique_ptr<emlhost::FileOutput> takeFile(std::error_code& error);

        // Removes what takeFile() would return.
        void drop() { restart(); }

      private:
        int put(uint64_t position, std::span<const uint8_t> bytes) noexcept override;
        int finish() noexcept override;
        int restart() noexcept override;
        int openFile() noexcept;
        int append(std::span<const uint8_t> bytes) noexcept;

        OutputFolder& folder_;
        Sha256 hash_;
        std::unique_ptr<uint8_t[]> held_;
        size_t heldSize_ = 0;
        std::unique_ptr<emlhost::FileOutput> file_;  // once there is too much for memory
    };

    std::string path() const;
    std::error_code makeFolder(const std::string& name);

    OutputFolder folder_;
    HeldOutput output_;
    std::bitset<256> hasFolder_;  // known to be there, by the first two digits
};

}  // namespace emltool
