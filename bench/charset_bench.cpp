// Charset names to ids: the names of real mail, the ones that are found first, late and not at all among
// them.
#include <array>
#include <string_view>

#include "bench/benchmarks.h"
#include "charset/charset_names.h"

namespace emlbench {

namespace {

constexpr std::array<std::string_view, 10> kParameters{
    "charset=\"utf-8\"",       "charset=UTF-8;",        "charset=iso-8859-1", "charset=\"ISO-8859-15\"",
    "charset=us-ascii",        "charset=windows-1252",  "charset=\"gb2312\"", "charset=iso-2022-jp",
    "charset=\"koi8-r\"; x=y", "charset=x-unknown-name"};

constexpr std::string_view kPrefix = "charset=";

eml::Cursor cursorOver(std::string_view text) {
    const auto* const begin = reinterpret_cast<const uint8_t*>(text.data());
    return {begin, begin + text.size()};
}

void lookUpParameters(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::string_view parameter : kParameters) {
            benchmark::DoNotOptimize(eml2MapCharset(cursorOver(parameter)));
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(kParameters.size()));
}

// The same names, cut out already.
void lookUpNames(benchmark::State& state) {
    std::array<std::string_view, kParameters.size()> names;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string_view name = kParameters[i].substr(kPrefix.size());
        name.remove_prefix(name.starts_with('"') ? 1 : 0);
        names[i] = name.substr(0, name.find_first_of("\"; "));
    }
    for (auto _ : state) {
        for (const std::string_view name : names) {
            benchmark::DoNotOptimize(mapEMLcharset(cursorOver(name).pos, static_cast<uint32_t>(name.size())));
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(names.size()));
}

}  // namespace

void addCharsetBenchmarks(const Add& add) {
    add("charset look-up/container form (parameter)", 0, lookUpParameters);
    add("charset look-up/plain form (name)", 0, lookUpNames);
}

}  // namespace emlbench
