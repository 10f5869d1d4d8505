// The three readings of a message that the tool offers.
#pragma once

namespace emltool {

// In the order of the words of --reader.
enum class Reading { kMime, kContainer, kFilter };

}  // namespace emltool
