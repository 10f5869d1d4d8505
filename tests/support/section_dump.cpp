// Sections as text, of the model and of the library alike.
#include "container/container_context.h"
#include "support/opened_message.h"
#include "support/reference_scan.h"

namespace eml::test {
namespace {

std::string quoted(const char* text) { return text == nullptr ? "none" : "\"" + escaped(text) + "\""; }

std::string quoted(const std::optional<std::string>& text) { return text ? quoted(text->c_str()) : "none"; }

template <class Section>
std::string sectionText(const Section& section) {
    return "[" + std::to_string(section.start) + "," + std::to_string(section.end) + ") body [" +
           std::to_string(section.bodyStart) + "," + std::to_string(section.bodyEnd) + ") class " +
           std::to_string(section.contentClass) + " encoding " +
           std::to_string(static_cast<uint32_t>(section.encoding)) + " charset " +
           std::to_string(section.charset) + " boundary " + quoted(section.boundary) + " " +
           std::to_string(section.boundaryLength) + " attachment " + (section.isAttachment != 0 ? "1" : "0") +
           " flags " + std::to_string(section.flags) + " name " + quoted(section.fileName) + "\n";
}

template <class Message>
std::string headText(const Message& message, uint32_t result) {
    return "result " + std::to_string(result) + " bodyOffset " + std::to_string(message.bodyOffset) +
           " class " + std::to_string(message.contentClass) + " encoding " +
           std::to_string(static_cast<uint32_t>(message.encoding)) + " charset " +
           std::to_string(message.charset) + " boundary " + quoted(message.boundary) + " " +
           std::to_string(message.boundaryLength) + " attachments " +
           std::to_string(message.attachmentCount) + "\n";
}

template <class Pointer>
std::string bodyText(const char* role, const Pointer& section) {
    return std::string(role) + (section ? " " + sectionText(*section) : " none\n");
}

template <class Message>
std::string bodiesText(const Message& message) {
    return bodyText("plain", message.plainBody) + bodyText("html", message.htmlBody) +
           bodyText("rtf", message.rtfBody);
}

}  // namespace

std::string dumpSections(const ReferenceMessage& message) {
    std::string text = headText(message, message.result);
    for (const SectionPointer& section : message.sections) text += sectionText(*section);
    return text + bodiesText(message);
}

std::string dumpSections(const EmlContainerContext& context, uint32_t result) {
    std::string text = headText(context, result);
    for (const EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        text += sectionText(node->section);
    }
    return text + bodiesText(context);
}

}  // namespace eml::test
