#include "support/journal.h"

namespace eml::test {

const char* entryName(Entry entry) {
    static constexpr std::array<const char*, kEntryCount> kNames = {
        "allocate",          "reallocate",
        "allocateZeroed",    "free",
        "duplicateString",   "convertText",
        "convertTextFrom",   "openFile",
        "isLeadByte",        "resetCharset",
        "storeDate",         "record.allocate",
        "record.reallocate", "record.allocateZeroed",
        "record.free",       "input.open",
        "input.read",        "input.seek",
        "input.tell",        "input.close",
        "output.open",       "output.write",
        "output.seek",       "output.tell",
        "output.close",      "output.release",
        "conversion.open",   "conversion.convert",
        "conversion.close",  "progress",
    };
    return kNames[static_cast<size_t>(entry)];
}

const char* wayName(Way way) {
    static constexpr std::array<const char*, 5> kNames = {"fails", "says -1", "one byte", "half", "too much"};
    return kNames[static_cast<size_t>(way)];
}

bool Journal::note(Entry entry) {
    const uint64_t number = ++calls_[index(entry)];
    if (recording_) sequence_.push_back(entry);
    const Fault fault = faults_[index(entry)];
    const bool fails = fault.nth != 0 && (number == fault.nth || (fault.onwards && number > fault.nth));
    if (fails) ++failed_;
    return fails;
}

std::string Journal::sequenceText() const {
    std::string text;
    for (Entry entry : sequence_) {
        if (!text.empty()) text += ' ';
        text += entryName(entry);
    }
    return text;
}

}  // namespace eml::test
