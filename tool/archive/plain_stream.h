// What comes through a pipe and is no archive: its only member.
#pragma once

#include <string>
#include <vector>

#include "standalone/unique_descriptor.h"
#include "tool/archive/member_stream.h"

namespace emltool {

class PlainStream final : public MemberStream {
  public:
    // `beginning` has been read already. `path` is what problems call it.
    PlainStream(std::string path, emlhost::UniqueDescriptor file, std::string beginning)
        : path_(std::move(path)), file_(std::move(file)), bytes_(std::move(beginning)) {}

    Got next(MemberEvent& event) override;
    int descriptor() const override { return file_.get(); }

  private:
    enum class State { kAtBegin, kInBytes, kAtEnd, kOver };

    std::string path_;
    emlhost::UniqueDescriptor file_;
    std::string bytes_;
    State state_ = State::kAtBegin;
    uint64_t read_ = 0;
};

// Appends what the descriptor has now to `bytes`: kLater if that is nothing yet. Throws Problem.
ByteSource::Got readReady(const std::string& path, int descriptor, std::string& bytes);

}  // namespace emltool
