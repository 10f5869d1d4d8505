#include "host/host_text.h"

namespace eml {

namespace {

// The services' current charset, set for the time of a conversion.
class ScopedCharset {
  public:
    ScopedCharset(EmlHostServices& services, uint32_t charset)
        : services_(services), saved_(services.currentCharset) {
        services.currentCharset = charset;
    }
    ~ScopedCharset() { services_.currentCharset = saved_; }
    ScopedCharset(const ScopedCharset&) = delete;
    ScopedCharset& operator=(const ScopedCharset&) = delete;

  private:
    EmlHostServices& services_;
    uint32_t saved_;
};

// The first of the two calls of a conversion only sizes the result. A size that is no positive number of 31 bits
// is none.
template <class Call>
uint32_t sizeByCall(const void* text, uint32_t length, Call call) {
    EmlTextSpan source{const_cast<void*>(text), length};
    EmlTextSpan sized{nullptr, 0};
    call(source, sized);
    return sized.length > INT32_MAX ? 0 : sized.length;
}

// The second call. One that claims more than there is room for has lied: its result is not used.
template <class Call>
bool convertByCall(const void* text, uint32_t length, Call call, EmlTextSpan& destination) {
    const uint32_t room = destination.length;
    EmlTextSpan source{const_cast<void*>(text), length};
    call(source, destination);
    return destination.length <= room;
}

template <class Call>
ConvertedText convertInTwoCalls(EmlAllocator& allocator, const void* text, uint32_t length, Call call) {
    const uint32_t size = sizeByCall(text, length, call);
    if (size == 0) return {};
    auto* bytes = static_cast<uint8_t*>(allocateBlock(allocator, uint64_t{size} + 2));
    if (bytes == nullptr) return {};
    EmlTextSpan written{bytes, size};
    if (!convertByCall(text, length, call, written)) {
        freeBlock(allocator, bytes);
        return {};
    }
    bytes[written.length] = 0;
    bytes[written.length + 1] = 0;
    return {bytes, written.length};
}

// The host's conversion from a charset into the current one.
auto callFrom(EmlHostServices& services, uint32_t charset) {
    return [&services, charset](EmlTextSpan& source, EmlTextSpan& destination) {
        services.convertTextFrom(&services, charset, &source, &destination, EML_CONVERT_SUBSTITUTE);
    };
}

}  // namespace

ConvertedText convertBetween(EmlHostServices& services, const void* text, uint32_t length, uint32_t charset,
                             uint32_t target) {
    if (services.convertTextFrom == nullptr || length == 0) return {};
    const ScopedCharset scope(services, target);
    return convertInTwoCalls(services.allocator, text, length, callFrom(services, charset));
}

uint32_t convertedSize(EmlHostServices& services, const void* text, uint32_t length, uint32_t charset,
                       uint32_t target) {
    if (services.convertTextFrom == nullptr || length == 0) return 0;
    const ScopedCharset scope(services, target);
    return sizeByCall(text, length, callFrom(services, charset));
}

uint32_t convertInto(EmlHostServices& services, const void* text, uint32_t length, uint32_t charset,
                     uint32_t target, EmlTextSpan room) {
    if (services.convertTextFrom == nullptr || length == 0) return 0;
    const ScopedCharset scope(services, target);
    return convertByCall(text, length, callFrom(services, charset), room) ? room.length : 0;
}

}  // namespace eml

uint8_t* eml2ConvertText(EmlHostServices& services, const void* text, uint32_t length, uint32_t charset,
                         uint32_t& resultLength) {
    if (text == nullptr || length == 0 || services.convertText == nullptr) return nullptr;
    const eml::ScopedCharset scope(services, charset);
    if (charset == 0 && services.resetCharset != nullptr) services.resetCharset(&services, 0);
    const eml::ConvertedText result = eml::convertInTwoCalls(
        services.allocator, text, length, [&](EmlTextSpan& source, EmlTextSpan& destination) {
            services.convertText(&services, &source, &destination, EML_CONVERT_FORM, 0);
        });
    resultLength = result.length;
    return result.bytes;
}
