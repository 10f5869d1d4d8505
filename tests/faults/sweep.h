// Fails every call that the library makes of its host, one after the other, over one scene.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "faults/session.h"

namespace eml::test {

// Which faults of a kind are taken, and what came of them.
class Faults {
  public:
    // Takes one of `stride` faults; 1 takes all.
    explicit Faults(uint64_t stride) : stride_(stride) {}

    // Every scene has a beginning of its own, so that over the scenes every place has its turn.
    void beginScene(uint64_t seed) {
        next_ = seed % stride_;
        ++scenes;
    }

    [[nodiscard]] bool take() {
        ++offered;
        if (next_++ % stride_ != 0) return false;
        ++injected;
        return true;
    }

    uint64_t scenes = 0;
    uint64_t offered = 0;   // faults to choose from: host calls of undisturbed runs, in every way to fail
    uint64_t injected = 0;  // runs with a fault
    uint64_t struck = 0;    // host calls that failed in them
    uint64_t compared = 0;  // answers compared with the undisturbed ones

  private:
    uint64_t stride_;
    uint64_t next_ = 0;
};

class Sweep {
  public:
    // Runs it undisturbed: how often each entry is called, and what each call answers, which is the same in a
    // context of its own and in one in which all others were made before.
    explicit Sweep(const Scene& scene, HostOptions options = {});

    // A fault in the open. Every call of what is open then gives a code of its own, and the same answer when
    // it is made again; the close frees everything.
    void failOpens(Faults& faults);

    // A fault in each call of a context of its own. The code is a stated one; the same call made again, and
    // another one, answer as if nothing had been.
    void failSteps(Faults& faults);

    // A fault in one of all calls of one context, where each finds what those before it left.
    void failInLine(Faults& faults);

    // Each entry missing from the open on, and from after it.
    void takeEntriesAway(Faults& faults);

  private:
    using CallCounts = std::vector<uint64_t>;  // by entry

    struct Kind {
        Entry entry;
        Way way;
        bool onwards;
    };

    [[nodiscard]] static const std::vector<Kind>& kinds();
    [[nodiscard]] static CallCounts callsOf(Session& session, const CallCounts* before = nullptr);
    [[nodiscard]] std::string placeOf(const Kind& kind, uint64_t nth, const Step* step) const;

    void measureFresh();
    void failOpen(const Kind& kind, uint64_t nth, Faults& faults);
    void useAfterOpenFault(Session& session, const Kind& kind, Faults& faults);
    void failStep(size_t index, const Kind& kind, uint64_t nth, Faults& faults);
    void failLine(const Kind& kind, uint64_t nth, Faults& faults);
    void checkInLine(Session& session, size_t index, const Kind& kind, Faults& faults);
    void takeAway(Entry entry, bool beforeOpen, Faults& faults);
    [[nodiscard]] bool mayDependOnCalls(const Step& step) const;
    [[nodiscard]] bool isUndisturbed(size_t index, const Kind& kind, const Answer& answer) const;
    [[nodiscard]] bool isSameButForCharset(size_t index, const Answer& answer) const;
    void expectStated(size_t index, const Kind& kind, const Answer& answer);
    void expectSame(Session& session, size_t index, const Kind& kind, const char* when, Faults& faults);
    void expectCodeOfCall(const Step& step, const Answer& answer) const;
    static void finish(Session& session, Faults& faults);

    const Scene& scene_;
    HostOptions options_;
    EmlResult openCode_ = EML_OK;
    bool opens_ = false;
    std::vector<Step> steps_;
    std::vector<Answer> answers_;       // of all calls in one context
    std::vector<Answer> freshAnswers_;  // of each in a context of its own
    CallCounts openCalls_;
    CallCounts lineCalls_;
    std::vector<CallCounts> stepCalls_;
};

}  // namespace eml::test
