// Where the rows of a batch go.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <string_view>

namespace emltool {

// Nothing else is written while one of these is.
class RowSink {
  public:
    virtual ~RowSink() = default;

    // Takes whole lines. Throws Problem, StandardOutputProblem or BrokenPipe; what was written before stays whole.
    virtual void write(std::string_view lines) = 0;

    // Gives all rows, those of an earlier run too, their conversations. False, with the rows as they were, if goesOn()
    // was false once. Throws as write does. Nothing is written afterwards.
    virtual bool addThreads(const std::function<bool()>& goesOn) = 0;

    // All rows are there. Throws as write does.
    virtual void finish() {}

    // Whether files can be what is written.
    virtual bool isFile() const = 0;

    // Whether `file` is what is written, by whatever name it was found.
    virtual bool isSameFile(const struct stat& file) const = 0;
};

}  // namespace emltool
