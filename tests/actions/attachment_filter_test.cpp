// Refused attachments.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using AttachmentTypes = ActionTest;

}  // namespace

TEST_F(AttachmentTypes, AttachmentTypesAreRemovedBeforeOthersAreAddedAndListedInOrder)
{
    world.attachmentTypes = {"zip", "exe", "Doc"};
    world.Fail("AttachmentFilter::Delete");
    world.Fail("Postfix::Service");
    EXPECT_EQ(
        Write("set_attachment_filter", R"({"add_list": ["b"], "modified_list": ["b"]})").output,
        Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"AttachmentFilter::Delete [b]", "AttachmentFilter::Add [b]",
                     "AttachmentFilter::GenerateConfig", "Postfix::Service restart"}));
    EXPECT_EQ(Read("load_attachment_filter", {{"query", "q"}}).output,
              Answer(R"({"success": true, "total": 3, "file_types": [{"file_type": "Doc"},
                         {"file_type": "exe"}, {"file_type": "zip"}]})"));
    NextCase();

    EXPECT_EQ(Write("set_attachment_filter").output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"AttachmentFilter::GenerateConfig", "Postfix::Service restart"}));
}

TEST_F(AttachmentTypes, TheFirstFailureEndsAChange)
{
    ExpectFailures(R"(
set_attachment_filter {"add_list": ["a"], "modified_list": []} | AttachmentFilter::Add [a] | system
set_attachment_filter | AttachmentFilter::GenerateConfig | system
load_attachment_filter | AttachmentFilter::GetList "" | system
)");
}
