// A sub-file as either reader describes it, as a value.
#pragma once

#include <emlreader/eml_host.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/host_value.h"
#include "support/recording_host.h"

namespace eml::test {

struct SubFile {
    EmlResult result;
    EmlSubFileInfo info;  // its pointers are not valid any more
    bool hasName;
    std::string name;
    std::vector<uint32_t> children;
};

// `ask` makes the call, with the record that is to be filled. That holds other bytes than zero before, and
// `flagsBefore`; what is handed over is given back, also when the call failed.
template <class Ask>
SubFile describeSubFile(RecordingHost& host, uint32_t flagsBefore, Ask ask) {
    SubFile file{};
    const HostValue<EmlSubFileInfo> info(host.ownHeap());
    std::memset(&*info, 0xA5, sizeof *info);
    void* const untouched = info->children;
    info->flags = flagsBefore;
    file.result = ask(&*info);
    file.info = *info;
    if (file.info.name != untouched && file.info.name != nullptr) {
        file.hasName = true;
        file.name = file.info.name;
        host.recordHeap().give(file.info.name);
    }
    if (file.info.children != untouched && file.info.children != nullptr) {
        file.children.assign(file.info.children, file.info.children + file.info.childCount);
        host.recordHeap().give(file.info.children);
    }
    return file;
}

}  // namespace eml::test
