// Conversion by charset label with iconv, as a host supplies it to the MIME reader.
#pragma once

#include <emlreader/eml_mime.h>
#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace agreement {

inline void* openConversion(void*, const char* label) {
    const iconv_t conversion = iconv_open("UTF-8", label);
    return conversion == reinterpret_cast<iconv_t>(-1) ? nullptr : conversion;
}

inline uint32_t convert(void* conversion, const void* source, uint32_t* sourceLength, void* destination,
                        uint32_t* destinationLength, int32_t last) {
    constexpr char kReplacement[] = "\xEF\xBF\xBD";
    auto* from = const_cast<char*>(static_cast<const char*>(source));
    auto* to = static_cast<char*>(destination);
    size_t fromLeft = *sourceLength;
    size_t toLeft = *destinationLength;
    uint32_t replaced = 0;
    while (fromLeft != 0) {
        if (iconv(conversion, &from, &fromLeft, &to, &toLeft) != static_cast<size_t>(-1)) break;
        const bool invalid = errno == EILSEQ || (errno == EINVAL && last != 0);
        if (!invalid || toLeft < 3) break;
        std::memcpy(to, kReplacement, 3);
        to += 3;
        toLeft -= 3;
        ++from;
        --fromLeft;
        ++replaced;
    }
    // Back to the first shift state, which may write what was held back.
    if (fromLeft == 0 && last != 0) iconv(conversion, nullptr, nullptr, &to, &toLeft);
    *sourceLength -= static_cast<uint32_t>(fromLeft);
    *destinationLength -= static_cast<uint32_t>(toLeft);
    return replaced;
}

inline void closeConversion(void* conversion) { iconv_close(conversion); }

inline constexpr EmlMimeConvert kConvert = {nullptr, openConversion, convert, closeConversion};

}  // namespace agreement
