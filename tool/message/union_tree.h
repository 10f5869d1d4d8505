// A message with the files of all three readings.
#pragma once

#include "tool/message/tree.h"

namespace emltool {

// The tree of the MIME reader, followed by the files that only the other readings have, numbered on. `visitor` sees
// each content once; of those that are not in the message it sees nothing. Throws Problem.
MessageTree readUnionTree(MessageFile& file, AttachmentVisitor& visitor);

}  // namespace emltool
