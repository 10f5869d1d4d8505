// Renders one message to standard output, for the viewers' tests where the tool is not built:
//     render_main FILE html|rtf|text
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "standalone/input.h"
#include "standalone/message.h"
#include "standalone/output.h"
#include "standalone/services.h"

namespace {

int fail(const char* what, const char* of) {
    std::fprintf(stderr, "render_main: %s: %s\n", of, what);
    return 1;
}

int render(const char* path, bool rich) {
    emlhost::Services services;
    EmlHostServices& record = *services.record();
    EmlIOobj* const input = record.openFile(&record, const_cast<char*>(path));
    if (input == nullptr) return fail("cannot be opened", path);
    int code = 0;
    {
        emlhost::OpenMessage message(input, services);
        emlhost::DescriptorOutput output(1);
        const EmlResult status =
            message.extract(0, output, rich ? EML_EXTRACT_PREFER_RICH : 0, rich ? 0 : EML_CHARSET_UTF_8)
                .status;
        if (status != EML_OK) code = fail(std::to_string(status).c_str(), path);
        if (output.error()) code = fail("cannot be written", path);
    }
    if (input->release != nullptr) input->release(input);
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view form = argc == 3 ? argv[2] : "";
    if (form != "html" && form != "rtf" && form != "text") {
        std::fputs("usage: render_main FILE html|rtf|text\n", stderr);
        return 2;
    }
    return render(argv[1], form != "text");
}
