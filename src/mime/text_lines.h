// Lines of text: every line end as LF, in pieces of any size.
#pragma once

#include <cstdint>

namespace eml {

class LineEnds {
  public:
    // CR LF and CR become LF in [begin, end), also where a piece ends between CR and LF. Gives the new end.
    [[nodiscard]] uint8_t* normalize(uint8_t* begin, uint8_t* end);

  private:
    bool afterCr_ = false;  // the last piece ended in CR
};

}  // namespace eml
