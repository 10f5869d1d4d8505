#include "mime/file_name.h"

#include <array>

namespace eml {

bool appendFileName(std::string_view disposition, std::string_view contentType, const HeaderText& how,
                    TextBuilder& out, uint32_t& problems) {
    struct Source {
        std::string_view parameters;
        std::string_view name;
    };
    // The last two are where neither RFC has them, and some programs do.
    const std::array<Source, 4> sources = {
        {{disposition, "filename"}, {contentType, "name"}, {contentType, "filename"}, {disposition, "name"}}};
    const uint32_t start = out.length();
    for (const Source& source : sources) {
        if (appendParameter(source.parameters, source.name, how, out, problems) && out.length() != start)
            return true;
    }
    return false;
}

}  // namespace eml
