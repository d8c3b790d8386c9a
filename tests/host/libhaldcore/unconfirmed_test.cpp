// A change that waits to be confirmed: until when, and while which generation is in force.
#include "host/libhaldcore/unconfirmed.h"
#include "tests/host/machine.h"

namespace {

using host::Deadline;
using host::Moment;

constexpr std::int64_t kSet = 1'800'000'000;

TEST(Deadline, IsKeptOverABootAndWhenTheClockIsSet)
{
    const Deadline deadline = Deadline::In(300, {kSet, "first", 50});
    const struct {
        const char* what;
        Moment now;
        std::int64_t left;
    } cases[] = {
        {"at once", {kSet, "first", 50}, 300},
        {"the last second", {kSet + 299, "first", 349}, 1},
        {"up", {kSet + 300, "first", 350}, 0},
        {"long ago", {kSet + 9000, "first", 9050}, 0},
        {"the clock was set on", {kSet + 86400, "first", 60}, 290},
        {"the clock was set back", {kSet - 86400, "first", 349}, 1},
        {"after a boot", {kSet + 100, "second", 20}, 200},
        {"a boot too late", {kSet + 400, "second", 20}, 0},
        {"a boot without a clock", {0, "second", 20}, 300},
    };
    for (const auto& one : cases) EXPECT_EQ(one.left, deadline.Left(one.now)) << one.what;
}

class Unconfirmed : public Machine {
protected:
    static void PutInForce(const std::string& generation)
    {
        const std::string link = host::PackagePath("etc/generated/current");
        std::filesystem::create_directories(std::filesystem::path(link).parent_path());
        std::filesystem::remove(link);
        std::filesystem::create_symlink(generation, link);
    }
};

TEST_F(Unconfirmed, HoldsWhileItsGenerationIsInForce)
{
    const host::UnconfirmedChange change{"gen-000007", "gen-000006",
                                         "gen-000008", "eve \"x\"",
                                         "a b",        Deadline::In(300, {kSet, "first", 50})};
    std::filesystem::create_directories(host::UnconfirmedFolder());
    PutInForce(change.before);
    EXPECT_FALSE(host::ReadUnconfirmedNote());
    ASSERT_TRUE(host::WriteUnconfirmedNote(change));
    EXPECT_FALSE(host::FindUnconfirmedChange()) << "not committed yet";

    PutInForce(change.generation);
    const auto found = host::FindUnconfirmedChange();
    ASSERT_TRUE(found);
    EXPECT_EQ(change.before, found->before);
    EXPECT_EQ(change.undoneBy, found->undoneBy);
    EXPECT_EQ(change.added, found->added);
    EXPECT_EQ(300, found->deadline.Left({kSet, "first", 50}));
    EXPECT_EQ(200, found->deadline.Left({kSet + 100, "second", 1}));
    const auto nothing = host::NothingIsUnconfirmed();
    ASSERT_FALSE(nothing);
    EXPECT_NE(std::string::npos, nothing.reason().text.find("by eve \"x\", waits"));

    PutInForce("gen-000009");
    EXPECT_FALSE(host::FindUnconfirmedChange()) << "another one came";
    EXPECT_TRUE(host::NothingIsUnconfirmed());
}

}  // namespace
