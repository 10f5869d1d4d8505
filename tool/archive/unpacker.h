// An archive that is taken apart in a process of its own, as it is seen from outside.
#pragma once

#include <string>

#include "tool/archive/member_stream.h"
#include "tool/system/isolated_process.h"

namespace emltool {

// Takes nothing for granted of what the process says.
class Unpacker final : public MemberStream {
  public:
    // `descriptor` is a file, or a pipe of which `beginning` has been read already. `path` is what problems call it.
    // Throws Problem if archives cannot be read here.
    Unpacker(std::string path, int descriptor, std::string beginning);

    Got next(MemberEvent& event) override;
    int descriptor() const override { return process_.replies.get(); }

  private:
    Got receive();
    bool take(MemberEvent& event);
    MemberEvent failed(MemberEvent::Failure failure, std::string text);

    std::string path_;
    IsolatedProcess process_;
    std::string bytes_;
    size_t taken_ = 0;  // of bytes_
    std::string reason_;
    bool isOver_ = false;
};

}  // namespace emltool
