/* Shows what is in a message: its header, its attachments, its text. With the C++ wrapper. */
#include <emlreader/emlreader.hpp>

#include <iostream>

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    emlreader::Message message(argv[1]);

    for (auto [name, value] : message.headers()) {
        if (value) std::cout << name << ": " << message.toUtf8(*value) << '\n';
    }
    for (const emlreader::SubFile& file : message.subFiles()) {
        if (!file.isAttachment()) continue;
        size_t bytes = 0;
        file.extract([&bytes](std::string_view piece) { bytes += piece.size(); });
        std::cout << file.number() << ' ' << file.name() << ": " << bytes << " bytes\n";
    }
    std::cout << '\n' << message.text(false);
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
