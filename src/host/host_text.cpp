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

// Both conversions are made in two calls: the first only sizes the result. A size that is no positive number
// of 31 bits is none, and a second call that claims more than the first has lied: its result is not used.
template <class Call>
ConvertedText convertInTwoCalls(EmlAllocator& allocator, const void* text, uint32_t length, Call call) {
    EmlTextSpan source{const_cast<void*>(text), length};
    EmlTextSpan sized{nullptr, 0};
    call(source, sized);
    if (sized.length == 0 || sized.length > INT32_MAX) return {};
    auto* bytes = static_cast<uint8_t*>(allocateBlock(allocator, uint64_t{sized.length} + 2));
    if (bytes == nullptr) return {};
    source = {const_cast<void*>(text), length};
    EmlTextSpan written{bytes, sized.length};
    call(source, written);
    if (written.length > sized.length) {
        freeBlock(allocator, bytes);
        return {};
    }
    bytes[written.length] = 0;
    bytes[written.length + 1] = 0;
    return {bytes, written.length};
}

}  // namespace

ConvertedText convertBetween(EmlHostServices& services, const void* text, uint32_t length, uint32_t charset,
                             uint32_t target) {
    if (services.convertTextFrom == nullptr || length == 0) return {};
    const ScopedCharset scope(services, target);
    return convertInTwoCalls(
        services.allocator, text, length, [&](EmlTextSpan& source, EmlTextSpan& destination) {
            services.convertTextFrom(&services, charset, &source, &destination, EML_CONVERT_SUBSTITUTE);
        });
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
