// What a host may leave out of its records and lists, in both readers.
#include <emlreader/eml.h>
#include <gtest/gtest.h>

#include "container/boundary_scan.h"
#include "container/section_list.h"
#include "filter/open_filter.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

TEST(IncompleteRecords, NoServicesCountAsNoMemory) {
    RecordingHost host("Subject: x\r\n\r\n");
    EmlResult result = EML_OK;
    EXPECT_EQ(emlInit2(&host.input(), nullptr, 0, 0, 0, &result), nullptr);
    EXPECT_EQ(result, EML_NO_MEMORY);
}

TEST(IncompleteRecords, AContextWithoutServicesIsLeftAlone) {
    EmlContainerContext container{};
    emlShutdown2(&container);
    const auto filter = std::make_unique<EmlFilterContext>();
    emlShutdown(filter.get());
    EXPECT_EQ(container.services, nullptr);
    EXPECT_EQ(filter->services, nullptr);
}

void giveList(RecordingHost& host, EmlMetaData& list) {
    for (int32_t i = 0; i < list.count; ++i)
        if (list.entries[i] != nullptr) host.recordHeap().give(list.entries[i]);
    host.recordHeap().give(list.entries);
}

TEST(IncompleteRecords, ARequestThatIsMissingGivesAnEntryWithoutName) {
    RecordingHost host("Subject: x\r\n\r\n");
    OpenedMessage opened(host);
    EmlMetaDataRequest* requests[] = {nullptr};
    EmlMetaData list{};
    ASSERT_EQ(emlGetSubFileMetadata2(opened.context(), 0, 1, requests, &list, &host.record()), EML_OK);
    ASSERT_EQ(list.count, 1);
    EXPECT_EQ(list.entries[0]->name, nullptr);
    EXPECT_EQ(list.entries[0]->value, nullptr);
    giveList(host, list);
}

TEST(IncompleteRecords, ARequestThatIsMissingEndsTheFiltersCall) {
    OpenFilter filter("Subject: x\r\n\r\n");
    EmlMetaDataRequest* requests[] = {nullptr};
    EmlMetaData list{};
    EXPECT_EQ(emlGetSubFileMetadata(filter.context(), 0, 1, requests, &list, &filter.host().record()),
              EML_OBJECT_FAILED);
    giveList(filter.host(), list);
}

// The field that asks for it is the library's own: nothing sets it, and what is formatted goes nowhere.
TEST(IncompleteRecords, SectionsAreDescribedBehindAScanOnDemand) {
    const std::string text = "--b\r\n\r\none\r\n--b--";
    RecordingHost host(text);
    ASSERT_NE(host.input().open(&host.input()), 0);
    EmlContainerContext context{};
    context.services = &host.services();
    context.input = &host.input();
    context.kernels = &chooseKernels();
    context.lineBuffer = static_cast<uint8_t*>(host.heap().take(kLineBufferSize));
    context.fileSize = static_cast<int64_t>(text.size());
    context.debug = 1;
    EXPECT_EQ(scanSections(context, {"--b", 3}, 0, context.fileSize), EML_OK);
    ASSERT_NE(context.sections, nullptr);
    EXPECT_EQ(context.sections->section.bodyEnd, 10);
    releaseSections(context);
    host.heap().give(context.lineBuffer);
}

}  // namespace
}  // namespace eml::test
