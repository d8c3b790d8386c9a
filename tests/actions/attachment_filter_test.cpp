// Refused attachments.
#include "tests/recording/action_test.h"

using namespace recording;

using AttachmentTypes = ActionTest;

TEST_F(AttachmentTypes, AreRemovedBeforeOthersAreAdded)
{
    world.Fail("AttachmentFilter::Delete");  // neither of these
    world.Fail("Postfix::Service");          // makes a difference
    EXPECT_EQ(
        Write("set_attachment_filter", R"({"add_list": ["b"], "modified_list": ["b"]})").output,
        Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"AttachmentFilter::Delete [b]", "AttachmentFilter::Add [b]",
                     "AttachmentFilter::GenerateConfig", "Postfix::Service restart"}));
    NextCase();

    EXPECT_EQ(Write("set_attachment_filter").output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"AttachmentFilter::GenerateConfig", "Postfix::Service restart"}));
}

TEST_F(AttachmentTypes, AreListedInOrder)
{
    world.attachmentTypes = {"zip", "exe", "Doc"};
    EXPECT_EQ(Read("load_attachment_filter", {{"query", "q"}}).output,
              Answer(R"({"success": true, "total": 3, "file_types": [{"file_type": "Doc"},
                         {"file_type": "exe"}, {"file_type": "zip"}]})"));
    EXPECT_TRUE(world.HasCalled("AttachmentFilter::GetList q"));
}

TEST_F(AttachmentTypes, TheFirstFailureEndsAnAction)
{
    ExpectFailures({
        {"set_attachment_filter",
         "AttachmentFilter::Add [a]",
         {},
         SystemError(),
         R"({"add_list": ["a"], "modified_list": []})"},
        {"set_attachment_filter", "AttachmentFilter::GenerateConfig"},
        {"load_attachment_filter", "AttachmentFilter::GetList"},
    });
}
