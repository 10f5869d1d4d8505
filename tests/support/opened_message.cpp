#include "support/opened_message.h"

#include <algorithm>
#include <cstring>

namespace eml::test {
namespace {

// Content longer than this is cut in dumps, and a checksum stands for the rest.
constexpr size_t kDumpedContent = 2000;

std::string hex(uint64_t value) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), kDigits[value & 15]);
        value >>= 4;
    } while (value != 0);
    return "0x" + text;
}

uint64_t checksum(std::string_view bytes) {
    uint64_t sum = 0xCBF29CE484222325;
    for (char byte : bytes) sum = (sum ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
    return sum;
}

std::string number(const char* name, uint32_t value) {
    return value == kUntouched ? ""
                               : std::string(" ") + name + "=" + std::to_string(static_cast<int32_t>(value));
}

std::string describedLine(int32_t index, const SubFile& file) {
    std::string text = "sub-file " + std::to_string(index) + ": result=" + std::to_string(file.result);
    if (file.result != EML_OK) return text + "\n";
    text += " kind=" + std::to_string(file.info.kind);
    if (file.hasName && file.info.kind != EML_KIND_MESSAGE) text += " name=\"" + escaped(file.name) + "\"";
    text += number("size", static_cast<uint32_t>(file.info.size)) + " flags=" + hex(file.info.flags);
    text += number("charset", file.info.charset) + number("parent", static_cast<uint32_t>(file.info.parent));
    text += number("children", file.info.childCount);
    for (size_t i = 0; i < file.children.size(); ++i) {
        text += (i == 0 ? ": " : ", ") + std::to_string(file.children[i]);
    }
    return text + "\n";
}

std::string contentLines(const Extracted& content, uint32_t resultFlags) {
    std::string text = "  content: result=" + std::to_string(content.result) + " flags=" + hex(resultFlags) +
                       " bytes=" + std::to_string(content.bytes.size());
    if (content.sizeField != content.bytes.size()) text += " sizeField=" + hex(content.sizeField);
    if (!content.closed) text += " not closed";
    text += "\n";
    std::string_view rest = std::string_view(content.bytes).substr(0, kDumpedContent);
    while (!rest.empty()) {
        const size_t lineEnd = rest.find('\n');
        const size_t length = lineEnd == std::string_view::npos ? rest.size() : lineEnd + 1;
        text += "  | " + escaped(rest.substr(0, length)) + "\n";
        rest.remove_prefix(length);
    }
    if (content.bytes.size() > kDumpedContent)
        text += "  ... checksum of the whole " + hex(checksum(content.bytes)) + "\n";
    return text;
}

}  // namespace

std::string crlf(std::string_view text) {
    std::string result;
    char last = 0;
    for (char byte : text) {
        if (byte == '\n' && last != '\r') result += '\r';
        result += byte;
        last = byte;
    }
    return result;
}

std::string escaped(std::string_view text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string result;
    for (char letter : text) {
        const auto byte = static_cast<uint8_t>(letter);
        switch (byte) {
            case '\n':
                result += "\\n";
                break;
            case '\r':
                result += "\\r";
                break;
            case '\t':
                result += "\\t";
                break;
            case '\\':
                result += "\\\\";
                break;
            default:
                if (byte >= 0x20 && byte < 0x7F) {
                    result += letter;
                } else {
                    result += std::string("\\x") + kDigits[byte >> 4] + kDigits[byte & 15];
                }
        }
    }
    return result;
}

OpenedMessage::OpenedMessage(RecordingHost& host, uint32_t flags)
    : host_(host), context_(emlInit2(&host.input(), &host.services(), flags, 0, 0, &result_)) {}

void OpenedMessage::close() {
    emlShutdown2(context_);
    context_ = nullptr;
}

uint32_t OpenedMessage::subFileCount() {
    EmlContainerInfo info{};
    return emlGetContainerInfo2(context_, &info, &host_.record()) == EML_OK ? info.subFileCount : 0;
}

uint32_t OpenedMessage::charset() {
    EmlContainerInfo info{};
    return emlGetContainerInfo2(context_, &info, &host_.record()) == EML_OK ? info.charset : UINT32_MAX;
}

SubFile OpenedMessage::describe(int32_t number, uint32_t flagsBefore) {
    return describeSubFile(host_, flagsBefore, [&](EmlSubFileInfo* info) {
        return emlGetSubFileInfo2(context_, number, info, &host_.record());
    });
}

Extracted OpenedMessage::extract(int32_t number, uint32_t options, EmlExtractInfo* extractInfo) {
    MemoryOutput output(host_);
    Extracted content{};
    content.result = emlExtractSubFileToIOobj2(context_, number, &output.object(), extractInfo, 0, options);
    content.bytes = output.bytes();
    content.writes = output.writes();
    content.sizeField = output.sizeField();
    content.opened = output.opened();
    content.closed = output.closed();
    return content;
}

void OpenedMessage::visitAll() {
    if (context_ == nullptr) return;
    const auto count = static_cast<int32_t>(subFileCount());
    for (int32_t i = -1; i <= count; ++i) {
        (void)describe(i);
        EmlExtractInfo info{};
        (void)extract(i, 0, &info);
    }
}

std::string dumpContainer(std::string_view message, uint32_t flags) {
    RecordingHost host(message);
    OpenedMessage opened(host, flags);
    std::string text = "open: flags=" + hex(flags) + " result=" + std::to_string(opened.result()) + "\n";
    if (opened.context() == nullptr) return text;
    const uint32_t count = opened.subFileCount();
    text += "container: sub-files=" + std::to_string(count) + " charset=" + std::to_string(opened.charset()) +
            "\n";
    for (int32_t i = 0; i < static_cast<int32_t>(count); ++i) {
        const SubFile file = opened.describe(i);
        text += describedLine(i, file);
        if (file.result != EML_OK || file.info.kind != EML_KIND_ATTACHMENT) continue;
        EmlExtractInfo info{};
        const Extracted content = opened.extract(i, 0, &info);
        text += contentLines(content, info.resultFlags);
    }
    return text;
}

}  // namespace eml::test
