// The tables of parts and attachments: how they grow.
#include "filter/part_tables.h"

#include <gtest/gtest.h>

#include "filter/open_filter.h"

namespace eml::test {
namespace {

TEST(FilterAttachmentTable, GrowsAndIsLostWhenItCannot) {
    OpenFilter filter("Content-Type: image/x; name=n\r\n\r\ncontent\r\n");
    EmlFilterContext& context = filter.opened();
    ASSERT_EQ(context.parts.attachments.capacity, 5);
    EXPECT_EQ(checkAttachments(context), EML_OK);
    EXPECT_EQ(context.parts.attachments.capacity, 5);
    context.parts.attachments.count = context.parts.attachments.capacity;
    EXPECT_EQ(checkAttachments(context), EML_OK);
    EXPECT_GE(context.parts.attachments.capacity, 10);
    EXPECT_EQ(context.parts.attachments.capacity % 5, 0);
    context.parts.attachments.count = context.parts.attachments.capacity;
    filter.host().journal().fail(Entry::kReallocate, {1, true});
    EXPECT_EQ(checkAttachments(context), EML_NO_MEMORY);
    EXPECT_EQ(context.parts.attachments.records, nullptr);
    EXPECT_EQ(filter.host().heap().lostBlocks(), 1U);
}

}  // namespace
}  // namespace eml::test
