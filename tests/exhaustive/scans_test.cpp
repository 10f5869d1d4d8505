// Cuts and scans: every short message through the line reader, the filter's input buffer and both open scans,
// against the plain references.
#include "container/container_context.h"
#include "container/line_reader.h"
#include "exhaustive/every_input.h"
#include "filter/input_reader.h"
#include "filter/scan_dump.h"
#include "reference/bytes.h"
#include "reference/input_cuts.h"
#include "support/opened_message.h"
#include "support/reference_scan.h"

namespace eml::test {
namespace {

using reference::shown;

struct Line {
    std::string bytes;
    uint32_t result;

    bool operator==(const Line&) const = default;
};

// Each line is a read of its own at its own offset.
std::vector<Line> linesOf(const std::string& message) {
    std::vector<Line> lines;
    for (size_t at = 0; at < message.size();) {
        const std::string block = message.substr(at, 4096);
        size_t end = block.find_first_of("\r\n");
        if (end == std::string::npos) {
            lines.push_back({block, 2});
            at += block.size();
            continue;
        }
        end += block.substr(end).starts_with("\r\n") ? 2 : 1;
        lines.push_back({block.substr(0, end), 1});
        at += end;
    }
    return lines;
}

std::vector<Line> linesRead(const std::string& message) {
    std::vector<Line> lines;
    RecordingHost host(message);
    EXPECT_NE(host.input().open(&host.input()), 0);
    const std::unique_ptr<uint8_t[]> buffer(new uint8_t[kLineBufferSize]);
    EmlContainerContext context{};
    context.services = &host.services();
    context.input = &host.input();
    context.lineBuffer = buffer.get();
    context.kernels = &chooseKernels();
    context.fileSize = static_cast<int64_t>(message.size());
    while (lines.size() <= message.size()) {
        const auto result = static_cast<uint32_t>(eml2GetLine(&context));
        if (result == 0) break;
        const auto* const text = reinterpret_cast<const char*>(buffer.get());
        lines.push_back(
            {std::string(text, static_cast<size_t>(context.position - context.lineStart)), result});
        EXPECT_EQ(buffer[lines.back().bytes.size()], 0) << "a zero byte follows the line";
    }
    return lines;
}

TEST(EveryShortMessage, Lines) {
    Compared compared;
    for (const size_t filler : {0U, 4092U, 4094U, 4095U, 4096U, 4097U}) {
        forEveryText(bytesAsPieces(std::string_view("\r\nx\0", 4)), longest(filler == 0 ? 6 : 3, 7),
                     [&](const std::string& text) {
                         compared.input();
                         compared.comparison();
                         const std::string message = std::string(filler, 'f') + text;
                         const bool held = linesRead(message) == linesOf(message);
                         EXPECT_TRUE(held) << shown(text) << " after " << filler << " bytes";
                         return held;
                     });
    }
}

// Reads of every size, and input that arrives whole, or in one or two bytes a call.
class FilterReads {
  public:
    bool agree(const std::string& message, size_t step) {
        compared_.input();
        for (int32_t size = 1; size <= static_cast<int32_t>(message.size()) + 1; ++size) {
            if (!agree(message, step, size)) return false;
        }
        return true;
    }

  private:
    bool agree(const std::string& message, size_t step, int32_t size) {
        compared_.comparison();
        reference::Reader expected;
        expected.message = message;
        expected.boundary = "--b";
        expected.step = step;
        start(message, step);
        for (size_t reads = 0; reads < 2 * message.size() + 2; ++reads) {
            const int32_t count = readBuf(*context_, size);
            const int count2 = expected.read(size);
            const std::string got(reinterpret_cast<const char*>(context_->input.buffer),
                                  size_t(std::max(count, 0)));
            const std::string want = expected.input.substr(0, size_t(std::max(count2, 0)));
            const bool held = count == count2 && got == want &&
                              context_->input.end - context_->input.buffer == expected.inputEnd &&
                              context_->input.carryCount == static_cast<int32_t>(expected.carry.size());
            EXPECT_TRUE(held) << '"' << shown(message) << "\", reads of " << size << ", the file gives "
                              << step << ", read " << reads << ": \"" << shown(got) << "\", expected \""
                              << shown(want) << '"';
            if (!held) return false;
        }
        return true;
    }

    void start(const std::string& message, size_t step) {
        message_ = message;
        step_ = step;
        position_ = 0;
        *context_ = EmlFilterContext{};
        context_->io = &input_.record;
        context_->input.carryPos = context_->input.carry;
        context_->boundary.text = boundary_;
        context_->boundary.length = 3;
        context_->boundary.finder = SubstringFinder(reinterpret_cast<const uint8_t*>(boundary_), 3);
        forgetInput(*context_);
        input_.owner = this;
        input_.record.read = [](EmlIOobj* self, void* buffer, uint32_t count) {
            FilterReads& reads = *reinterpret_cast<Bound*>(self)->owner;
            const size_t delivered =
                std::min({size_t{count}, reads.step_, reads.message_.size() - reads.position_});
            std::memcpy(buffer, reads.message_.data() + reads.position_, delivered);
            reads.position_ += delivered;
            return static_cast<int32_t>(delivered);
        };
    }

    struct Bound {
        EmlIOobj record;  // first: the library hands its address back
        FilterReads* owner;
    };

    Compared compared_;
    std::string message_;
    size_t step_ = 0;
    size_t position_ = 0;
    char boundary_[4] = "--b";
    Bound input_{};
    std::unique_ptr<EmlFilterContext> context_ = std::make_unique<EmlFilterContext>();
};

TEST(EveryShortMessage, FilterReads) {
    FilterReads reads;
    for (const size_t step : {4096U, 1U, 2U}) {
        forEveryText({"\r", "\n", "--b", "x", std::string(1, '\0')}, longest(step == 4096 ? 5 : 4, 6),
                     [&](const std::string& message) { return reads.agree(message, step); });
    }
}

constexpr const char* kMultipart = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";

const PieceList kPieces = {
    "--b", "--", "\r\n", "\n", "x", "Content-Type: message/rfc822\n", " ", std::string(1, '\0')};

bool sameSections(Compared& compared, const std::string& message, uint32_t flags) {
    compared.comparison();
    RecordingHost host(message);
    OpenedMessage opened(host, flags);
    const std::string got = dumpSections(*opened.context(), opened.result());
    const std::string expected = dumpSections(referenceOpen(message, flags));
    EXPECT_EQ(got, expected) << '"' << shown(message) << '"';
    return got == expected;
}

bool sameScan(Compared& compared, const std::string& message) {
    compared.comparison();
    OpenFilter filter(message);
    const std::string got = dumpScan(filter);
    const std::string expected = dumpReferenceScan(message);
    EXPECT_EQ(got, expected) << '"' << shown(message) << '"';
    return got == expected;
}

TEST(EveryShortMessage, ContainerScan) {
    Compared compared;
    forEveryText(kPieces, longest(4, 6), [&](const std::string& body) {
        compared.input();
        return sameSections(compared, kMultipart + body, 0);
    });
}

TEST(EveryShortMessage, ContainerScanOfNestedParts) {
    Compared compared;
    const PieceList pieces = {"--b\n", "--b--", "Content-Type: multipart/related; boundary=c\n",
                              "\n",    "--c\n", "Content-Type: multipart/alternative; boundary=c\n"};
    for (const char* const start : {kMultipart, "Content-Type: multipart/signed; boundary=b\n\n",
                                    "Content-Type: multipart/alternative; boundary=b\n\n",
                                    "Content-Disposition: attachment; filename=n\n"}) {
        forEveryText(pieces, longest(3, 6), [&](const std::string& body) {
            compared.input();
            return sameSections(compared, start + body, EML_OPEN_CONVERTED_ATTACHMENTS);
        });
    }
}

TEST(EveryShortMessage, FilterScan) {
    Compared compared;
    forEveryText(kPieces, longest(4, 6), [&](const std::string& body) {
        compared.input();
        return sameScan(compared, kMultipart + body);
    });
}

TEST(EveryShortMessage, FilterScanOfNestedParts) {
    Compared compared;
    const PieceList pieces = {"--b\n", "--b--", "Content-Type: multipart/related; boundary=c\n",
                              "\n",    "--c\n", "Content-Disposition: attachment; filename=n\n",
                              "text"};
    for (const char* const start : {"Content-Type: multipart/mixed; boundary=b\n\n",
                                    "Content-Type: multipart/signed; boundary=b\n\n", ""}) {
        forEveryText(pieces, longest(3, 6), [&](const std::string& body) {
            compared.input();
            return sameScan(compared, start + body);
        });
    }
}

}  // namespace
}  // namespace eml::test
