/* Shows a message as the MIME reader sees it: header, tree of parts, text, defects. With the C++ wrapper. */
#include <emlreader/emlreader.hpp>

#include <iostream>
#include <string>

using emlreader::mime::Address;
using emlreader::mime::Defect;
using emlreader::mime::Message;
using emlreader::mime::Part;

static void printHeader(const Message& message) {
    std::cout << "Subject: " << message.subject() << '\n';
    for (const Address& from : message.from()) {
        std::cout << "From:    " << from.name << " <" << from.address << ">\n";
    }
    if (const auto date = message.date()) {
        std::cout << "Date:    " << date->time.time_since_epoch().count() << ", zone " << date->zone.count()
                  << " minutes\n";
    }
}

static void printPart(const Part& part) {
    std::cout << std::string(part.depth() * 2, ' ') << part.mediaType();
    if (!part.isMultipart()) std::cout << ' ' << part.name() << ' ' << part.measure().size;
    if (part.isTextBody()) std::cout << " text";
    if (part.isHtmlBody()) std::cout << " html";
    if (part.isAttachment()) std::cout << " attachment";
    std::cout << '\n';
}

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const Message message(argv[1]);
    printHeader(message);
    for (const Part& part : message.parts()) printPart(part);
    std::cout << '\n' << message.text() << '\n';
    for (const Defect& defect : message.defects()) {
        std::cout << defect.name() << " in part " << defect.part << " at " << defect.offset << '\n';
    }
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
