#include "faults/sweep.h"

#include <gtest/gtest.h>

#include "faults/stated_codes.h"

namespace eml::test {
namespace {

// What is failed, and in which ways. `release` and `free` give no answer that could fail.
struct EntryWays {
    Entry entry;
    std::vector<Way> ways;
};

const std::vector<EntryWays>& entryWays() {
    static const std::vector<EntryWays> kEntries = {
        {Entry::kAllocate, {Way::kPlain}},
        {Entry::kReallocate, {Way::kPlain}},
        {Entry::kAllocateZeroed, {Way::kPlain}},
        {Entry::kDuplicateString, {Way::kPlain}},
        {Entry::kConvertText, {Way::kPlain, Way::kHalf, Way::kTooMuch}},
        {Entry::kConvertTextFrom, {Way::kPlain, Way::kHalf, Way::kTooMuch}},
        {Entry::kOpenFile, {Way::kPlain}},
        {Entry::kRecordAllocate, {Way::kPlain}},
        {Entry::kRecordReallocate, {Way::kPlain}},
        {Entry::kRecordAllocateZeroed, {Way::kPlain}},
        {Entry::kInputOpen, {Way::kPlain}},
        {Entry::kInputRead, {Way::kPlain, Way::kMinusOne, Way::kOneByte, Way::kHalf, Way::kTooMuch}},
        {Entry::kInputSeek, {Way::kPlain}},
        {Entry::kInputTell, {Way::kPlain, Way::kMinusOne, Way::kTooMuch}},
        {Entry::kInputClose, {Way::kPlain}},
        {Entry::kOutputOpen, {Way::kPlain}},
        {Entry::kOutputWrite, {Way::kPlain, Way::kMinusOne, Way::kHalf}},
        {Entry::kOutputSeek, {Way::kPlain}},
        {Entry::kOutputTell, {Way::kPlain, Way::kMinusOne, Way::kTooMuch}},
        {Entry::kOutputClose, {Way::kPlain}},
        {Entry::kConversionOpen, {Way::kPlain}},
        {Entry::kConversionConvert, {Way::kPlain, Way::kHalf, Way::kTooMuch}},
        {Entry::kProgress, {Way::kPlain}},
    };
    return kEntries;
}

constexpr Entry kRemovable[] = {
    Entry::kAllocate,         Entry::kReallocate,   Entry::kAllocateZeroed,  Entry::kFree,
    Entry::kDuplicateString,  Entry::kConvertText,  Entry::kConvertTextFrom, Entry::kOpenFile,
    Entry::kIsLeadByte,       Entry::kResetCharset, Entry::kStoreDate,       Entry::kRecordAllocate,
    Entry::kRecordReallocate, Entry::kRecordFree,   Entry::kInputOpen,       Entry::kInputRead,
    Entry::kInputSeek,        Entry::kInputTell,    Entry::kInputClose};

// The entries of the options of the MIME reader.
constexpr Entry kRemovableOfMime[] = {Entry::kConversionOpen, Entry::kConversionConvert,
                                      Entry::kConversionClose, Entry::kProgress};

size_t indexOf(Entry entry) { return static_cast<size_t>(entry); }

// A read that delivers everything and claims more is cut to what was asked for: it changes nothing.
bool changesNothing(Entry entry, Way way) { return entry == Entry::kInputRead && way == Way::kTooMuch; }

// Records of the filter, those that name a charset left out.
std::string withoutCharsets(std::string records) {
    constexpr std::string_view kHead("\x1B\t\0\0\0", 5);
    constexpr size_t kLength = 9;
    for (size_t at = records.find(kHead); at != std::string::npos; at = records.find(kHead, at))
        records.erase(at, kLength);
    return records;
}

}  // namespace

const std::vector<Sweep::Kind>& Sweep::kinds() {
    static const std::vector<Kind> kKinds = [] {
        std::vector<Kind> kinds;
        for (const EntryWays& entry : entryWays()) {
            for (const Way way : entry.ways) {
                kinds.push_back({entry.entry, way, false});
                kinds.push_back({entry.entry, way, true});
            }
        }
        return kinds;
    }();
    return kKinds;
}

Sweep::CallCounts Sweep::callsOf(Session& session, const CallCounts* before) {
    CallCounts counts(kEntryCount);
    for (size_t i = 0; i < kEntryCount; ++i) {
        counts[i] = session.host().journal().calls(static_cast<Entry>(i));
        if (before != nullptr) counts[i] -= (*before)[i];
    }
    return counts;
}

std::string Sweep::placeOf(const Kind& kind, uint64_t nth, const Step* step) const {
    std::string place = scene_.name + ": " + entryName(kind.entry) + " " + std::to_string(nth) + " " +
                        wayName(kind.way) + (kind.onwards ? " onwards" : "");
    if (step != nullptr) {
        place += std::string(", in ") + callName(step->call) + " " + std::to_string(step->number) +
                 " options " + std::to_string(step->options) + " detail " + std::to_string(step->detail);
    }
    return place;
}

void Sweep::finish(Session& session, Faults& faults) {
    session.close();
    EXPECT_FALSE(session.isOpen());
    faults.struck += session.host().journal().failed();
}

Sweep::Sweep(const Scene& scene, HostOptions options) : scene_(scene), options_(options) {
    SCOPED_TRACE(scene_.name);
    const auto line = makeSession(scene_, options_);
    openCode_ = line->open();
    openCalls_ = callsOf(*line);
    lineCalls_ = CallCounts(kEntryCount);
    if (!line->isOpen()) return;
    steps_ = line->steps();
    for (const Step& step : steps_) answers_.push_back(line->run(step));
    lineCalls_ = callsOf(*line, &openCalls_);
    measureFresh();
}

void Sweep::measureFresh() {
    for (size_t i = 0; i < steps_.size(); ++i) {
        const auto fresh = makeSession(scene_, options_);
        (void)fresh->open();
        const CallCounts before = callsOf(*fresh);
        const Answer answer = fresh->run(steps_[i]);
        stepCalls_.push_back(callsOf(*fresh, &before));
        freshAnswers_.push_back(answer);
        if (!Session::isRepeatable(steps_[i])) continue;
        EXPECT_TRUE(answer == answers_[i] || mayDependOnCalls(steps_[i]))
            << callName(steps_[i].call) << " " << steps_[i].number << " depends on the calls before it";
    }
}

// A conversion of the filter finds the part that the text is in, whose charset is the message's from then on.
bool Sweep::mayDependOnCalls(const Step& step) const {
    return isFilter(scene_.reader) && (step.call == Call::kQuery || step.call == Call::kDescribe);
}

// A conversion whose read was cut short may find another part, and take its charset; that is the message's
// from then on, and that of a part which names none.
bool Sweep::isUndisturbed(size_t index, const Kind& kind, const Answer& answer) const {
    if (answer == answers_[index] || answer == freshAnswers_[index]) return true;
    return isFilter(scene_.reader) && kind.entry == Entry::kInputRead &&
           !changesNothing(kind.entry, kind.way) && isSameButForCharset(index, answer);
}

bool Sweep::isSameButForCharset(size_t index, const Answer& answer) const {
    if (answer.code != answers_[index].code) return false;
    if (mayDependOnCalls(steps_[index])) return true;
    return steps_[index].call == Call::kConvert &&
           withoutCharsets(answer.text) == withoutCharsets(answers_[index].text);
}

void Sweep::expectStated(size_t index, const Kind& kind, const Answer& answer) {
    const Call call = steps_[index].call;
    const EmlResult undisturbed = answers_[index].code;
    if (changesNothing(kind.entry, kind.way)) {
        EXPECT_TRUE(isUndisturbed(index, kind, answer)) << callName(call) << " gave " << answer.code;
        return;
    }
    EXPECT_TRUE(isStatedCode(scene_.reader, call, kind.entry, undisturbed, answer.code))
        << callName(call) << " gave " << answer.code << ", undisturbed " << undisturbed;
}

void Sweep::expectSame(Session& session, size_t index, const Kind& kind, const char* when, Faults& faults) {
    const Step& step = steps_[index];
    if (!Session::isRepeatable(step)) return;
    ++faults.compared;
    const Answer answer = session.run(step);
    EXPECT_TRUE(isUndisturbed(index, kind, answer))
        << callName(step.call) << " " << step.number << " " << when << ": code " << answer.code
        << " instead of " << answers_[index].code << ", " << answer.text.size() << " bytes instead of "
        << answers_[index].text.size();
}

void Sweep::expectCodeOfCall(const Step& step, const Answer& answer) const {
    EXPECT_TRUE(isCodeOfCall(scene_.reader, step.call, answer.code))
        << callName(step.call) << " " << step.number << " gave " << answer.code;
}

void Sweep::failOpens(Faults& faults) {
    for (const Kind& kind : kinds()) {
        for (uint64_t nth = 1; nth <= openCalls_[indexOf(kind.entry)]; ++nth) {
            if (faults.take()) failOpen(kind, nth, faults);
        }
    }
}

void Sweep::failOpen(const Kind& kind, uint64_t nth, Faults& faults) {
    SCOPED_TRACE(placeOf(kind, nth, nullptr));
    const auto session = makeSession(scene_, options_);
    session->host().journal().fail(kind.entry, {nth, kind.onwards, kind.way});
    const EmlResult code = session->open();
    EXPECT_TRUE(isStatedCode(scene_.reader, Call::kOpen, kind.entry, openCode_, code)) << code;
    if (kind.entry == Entry::kOpenFile || kind.entry == Entry::kInputOpen) {
        EXPECT_FALSE(session->isOpen());
    }
    if (!session->isOpen()) {
        // The filter closes the input of an open that it gives up; without a context the container reader has
        // nothing that could.
        EXPECT_TRUE(scene_.reader == Reader::kContainer || !session->host().inputOpen());
        EXPECT_EQ(session->host().inputReleases(), 0U);
        finish(*session, faults);
        return;
    }
    useAfterOpenFault(*session, kind, faults);
    finish(*session, faults);
    EXPECT_FALSE(session->host().inputOpen());
}

void Sweep::useAfterOpenFault(Session& session, const Kind& kind, Faults& faults) {
    const std::vector<Step> steps = session.steps();
    const bool undisturbed = changesNothing(kind.entry, kind.way);
    if (undisturbed) {
        EXPECT_EQ(steps.size(), steps_.size());
    }
    std::vector<Answer> first;
    for (size_t i = 0; i < steps.size(); ++i) {
        first.push_back(session.run(steps[i]));
        expectCodeOfCall(steps[i], first.back());
        if (undisturbed && i < steps_.size()) {
            EXPECT_TRUE(isUndisturbed(i, kind, first.back()))
                << callName(steps[i].call) << " " << steps[i].number;
        }
    }
    session.host().journal().fail(kind.entry, {});
    for (size_t i = 0; i < steps.size(); ++i) {
        const Answer again = session.run(steps[i]);
        expectCodeOfCall(steps[i], again);
        if (kind.onwards || !Session::isRepeatable(steps[i])) continue;
        ++faults.compared;
        EXPECT_TRUE(again == first[i] || mayDependOnCalls(steps[i]))
            << callName(steps[i].call) << " " << steps[i].number << " made again: code " << again.code
            << " instead of " << first[i].code;
    }
}

void Sweep::failSteps(Faults& faults) {
    for (size_t i = 0; i < steps_.size(); ++i) {
        for (const Kind& kind : kinds()) {
            for (uint64_t nth = 1; nth <= stepCalls_[i][indexOf(kind.entry)]; ++nth) {
                if (faults.take()) failStep(i, kind, nth, faults);
            }
        }
    }
}

void Sweep::failStep(size_t index, const Kind& kind, uint64_t nth, Faults& faults) {
    SCOPED_TRACE(placeOf(kind, nth, &steps_[index]));
    const auto session = makeSession(scene_, options_);
    (void)session->open();
    Journal& journal = session->host().journal();
    journal.fail(kind.entry, {journal.calls(kind.entry) + nth, kind.onwards, kind.way});
    const Answer answer = session->run(steps_[index]);
    EXPECT_GE(journal.failed(), 1U) << "the fault did not strike";
    expectStated(index, kind, answer);
    journal.fail(kind.entry, {});
    expectSame(*session, index, kind, "made again", faults);
    expectSame(*session, (index + static_cast<size_t>(nth)) % steps_.size(), kind, "made after it", faults);
    finish(*session, faults);
}

void Sweep::failInLine(Faults& faults) {
    for (const Kind& kind : kinds()) {
        for (uint64_t nth = 1; nth <= lineCalls_[indexOf(kind.entry)]; ++nth) {
            if (faults.take()) failLine(kind, nth, faults);
        }
    }
}

void Sweep::failLine(const Kind& kind, uint64_t nth, Faults& faults) {
    SCOPED_TRACE(placeOf(kind, nth, nullptr) + ", in line");
    const auto session = makeSession(scene_, options_);
    (void)session->open();
    Journal& journal = session->host().journal();
    journal.fail(kind.entry, {journal.calls(kind.entry) + nth, kind.onwards, kind.way});
    for (size_t i = 0; i < steps_.size(); ++i) checkInLine(*session, i, kind, faults);
    EXPECT_GE(journal.failed(), 1U) << "the fault did not strike";
    journal.fail(kind.entry, {});
    for (size_t i = 0; i < steps_.size(); ++i) expectSame(*session, i, kind, "after the last fault", faults);
    finish(*session, faults);
}

void Sweep::checkInLine(Session& session, size_t index, const Kind& kind, Faults& faults) {
    const Step& step = steps_[index];
    const Journal& journal = session.host().journal();
    const uint64_t before = journal.failed();
    const Answer answer = session.run(step);
    if (!Session::isRepeatable(step)) return;
    if (journal.failed() == before) {
        // A conversion that keeps failing stays in progress, and calls after it show that.
        if (before == 0 || !kind.onwards) {
            EXPECT_TRUE(isUndisturbed(index, kind, answer)) << callName(step.call) << " " << step.number;
        }
        return;
    }
    if (kind.onwards) {
        expectCodeOfCall(step, answer);
        return;
    }
    expectStated(index, kind, answer);
    expectSame(session, index, kind, "made again", faults);
}

void Sweep::takeEntriesAway(Faults& faults) {
    std::vector<Entry> entries(std::begin(kRemovable), std::end(kRemovable));
    if (scene_.reader == Reader::kMime)
        entries.insert(entries.end(), std::begin(kRemovableOfMime), std::end(kRemovableOfMime));
    for (const Entry entry : entries) {
        for (const bool beforeOpen : {true, false}) {
            if (faults.take()) takeAway(entry, beforeOpen, faults);
        }
    }
}

void Sweep::takeAway(Entry entry, bool beforeOpen, Faults& faults) {
    SCOPED_TRACE(scene_.name + ": without " + entryName(entry) + (beforeOpen ? "" : ", after the open"));
    const auto session = makeSession(scene_, options_);
    RecordingHost& host = session->host();
    if (entry == Entry::kFree || entry == Entry::kReallocate || entry == Entry::kRecordReallocate)
        host.allowLiveBlocks();
    if (beforeOpen) session->remove(entry);
    const EmlResult code = session->open();
    EXPECT_TRUE(isCodeOfCall(scene_.reader, Call::kOpen, code)) << code;
    if (session->isOpen()) {
        const std::vector<Step> steps = session->steps();
        if (!beforeOpen) session->remove(entry);
        for (const Step& step : steps) expectCodeOfCall(step, session->run(step));
    }
    finish(*session, faults);
}

}  // namespace eml::test
