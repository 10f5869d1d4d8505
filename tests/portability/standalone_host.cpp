// Dumps messages through the stand-alone host.
#include <clocale>
#include <optional>
#include <span>

#include "message_dump.h"
#include "standalone/input.h"
#include "standalone/output.h"
#include "standalone/services.h"

namespace {

// One message is read at a time, into one output.
struct StandaloneHost : DumpHost {
    emlhost::Services services;
    std::optional<emlhost::MemoryInput> input;
    std::optional<emlhost::MemoryOutput> output;
};

StandaloneHost& of(DumpHost* self) { return *static_cast<StandaloneHost*>(self); }

EmlIOobj* makeInput(DumpHost* self, const uint8_t* bytes, size_t size) {
    return of(self).input.emplace(std::span(bytes, size)).object();
}

void dropInput(DumpHost* self, EmlIOobj*) { of(self).input.reset(); }

EmlIOobj* makeOutput(DumpHost* self) { return of(self).output.emplace().object(); }

const uint8_t* outputBytes(DumpHost* self, EmlIOobj*, size_t* size) {
    *size = of(self).output->bytes().size();
    return of(self).output->bytes().data();
}

void dropOutput(DumpHost* self, EmlIOobj*) { of(self).output.reset(); }

time_t secondsOf(const uint32_t date[2]) { return static_cast<time_t>(emlhost::dateFrom(date)); }

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    StandaloneHost host{};
    static_cast<DumpHost&>(host) = {host.services.record(),
                                    host.services.hostRecord(),
                                    false,
                                    makeInput,
                                    dropInput,
                                    makeOutput,
                                    outputBytes,
                                    dropOutput,
                                    secondsOf};
    return dumpFiles(&host, argc - 1, argv + 1);
}
