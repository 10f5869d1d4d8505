#include "faults/session.h"

#include <array>
#include <cstring>

#include "faults/container_session.h"
#include "faults/filter_session.h"
#include "faults/mime_session.h"

namespace eml::test {
namespace {

void appendWord(std::string& text, const char* name, uint32_t value) {
    text += std::string(" ") + name + "=" + std::to_string(value);
}

HostOptions optionsFor(const Scene& scene, HostOptions options) {
    // The filter reads a whole header at once when it is longer than its buffer.
    if (isFilter(scene.reader)) {
        options.largestRead = UINT32_MAX;
        options.closesAnyInput = true;
    }
    if (scene.reader == Reader::kMime) options.largestRead = 64 << 10;
    options.inputIsGiven = scene.reader == Reader::kFilterFile;
    return options;
}

}  // namespace

const char* callName(Call call) {
    static constexpr std::array<const char*, 14> kNames = {
        "open",          "query",   "describe",          "attachment info", "metadata", "requests",
        "name and date", "extract", "extract to target", "render",          "convert",  "line",
        "sections",      "close"};
    return kNames[static_cast<size_t>(call)];
}

Session::Session(const Scene& scene, HostOptions options)
    : scene_(scene), host_(scene.message, optionsFor(scene, options)) {}

Answer Session::takeSubFile(EmlResult code, EmlSubFileInfo& info) {
    Answer answer{code, ""};
    TrackedHeap& heap = host_.recordHeap();
    if (info.name != nullptr) {
        answer.text = info.name;
        heap.give(info.name);
    }
    appendWord(answer.text, "kind", info.kind);
    appendWord(answer.text, "size", static_cast<uint32_t>(info.size));
    appendWord(answer.text, "flags", info.flags);
    appendWord(answer.text, "charset", info.charset);
    appendWord(answer.text, "date", info.date[0]);
    appendWord(answer.text, "parent", static_cast<uint32_t>(info.parent));
    appendWord(answer.text, "children", info.childCount);
    if (info.children != nullptr) {
        for (uint32_t i = 0; i < info.childCount; ++i) appendWord(answer.text, "child", info.children[i]);
        heap.give(info.children);
    }
    return answer;
}

Answer Session::takeMetadata(EmlResult code, EmlMetaData& list) {
    Answer answer{code, std::to_string(list.count) + " entries\n"};
    TrackedHeap& heap = host_.recordHeap();
    for (int32_t i = 0; list.entries != nullptr && i < list.count; ++i) {
        EmlMetaDataEntry* const entry = list.entries[i];
        if (entry == nullptr) continue;
        if (entry->name != nullptr) {
            answer.text += entry->name;
            heap.give(entry->name);
        }
        appendWord(answer.text, "has", entry->hasValue);
        appendWord(answer.text, "type", entry->type);
        if (entry->value != nullptr) {
            answer.text += " \"" + std::string(entry->value, entry->valueLength) + "\"";
            if (entry->value[entry->valueLength] != '\0') answer.text += " without a zero byte after it";
            heap.give(entry->value);
        }
        answer.text += '\n';
        heap.give(entry);
    }
    if (list.entries != nullptr) heap.give(list.entries);
    return answer;
}

Answer Session::takeOutput(EmlResult code, const MemoryOutput& output, uint32_t resultFlags) {
    Answer answer{code, output.bytes()};
    appendWord(answer.text, "\nflags", resultFlags);
    answer.text += " size=" + std::to_string(output.sizeField());
    answer.text += output.opened() ? output.closed() ? " closed" : " open" : " untouched";
    return answer;
}

Requests::Requests(RecordingHost& host) : array_(host.ownHeap(), kCount * sizeof(EmlMetaDataRequest*)) {
    static constexpr std::array<const char*, kCount> kNames = {"To", "Subject", "X-None", "Sent"};
    for (size_t i = 0; i < kNames.size(); ++i) {
        names_.push_back(std::make_unique<HostBlock>(host.ownHeap(), std::string_view(kNames[i])));
        const EmlMetaDataRequest request{EML_REQUEST_BY_NAME, names_.back()->chars()};
        records_.push_back(std::make_unique<HostValue<EmlMetaDataRequest>>(host.ownHeap(), request));
        data()[i] = &**records_.back();
    }
}

std::unique_ptr<Session> makeSession(const Scene& scene, HostOptions options) {
    if (scene.reader == Reader::kContainer) return std::make_unique<ContainerSession>(scene, options);
    if (scene.reader == Reader::kMime) return std::make_unique<MimeSession>(scene, options);
    return std::make_unique<FilterSession>(scene, options);
}

}  // namespace eml::test
