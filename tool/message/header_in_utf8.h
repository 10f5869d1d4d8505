// The header of a message whose raw bytes above 127 are not UTF-8 and have no charset.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <memory>
#include <string>

#include "standalone/input.h"

namespace emltool {

class HeaderInUtf8 {
  public:
    // Converts the fields of part `root`, where they need it, by the charset that the text of the message
    // names, or else by their letters. Throws what the MIME reader throws.
    HeaderInUtf8(const emlreader::mime::Message& message, uint32_t root);

    // For its fields, which have the order and the names of those of the message; its other answers are not the
    // message's. The part itself if nothing was converted.
    const emlreader::mime::Part& part() const { return part_; }
    bool isConverted() const { return converted_ != nullptr; }

  private:
    std::string bytes_;
    std::unique_ptr<emlhost::MemoryInput> input_;
    std::unique_ptr<emlreader::mime::Message> converted_;
    emlreader::mime::Part part_;
};

}  // namespace emltool
