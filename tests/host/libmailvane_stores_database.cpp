// SQLite stores: creation, versions, reading, failures.
#include "host/libmailvane/database.h"

#include <unistd.h>

#include "tests/host/machine.h"

namespace {

using host::OpenForChange;
using host::OpenForReading;
using host::Schema;

constexpr const char* kFirst[] = {"CREATE TABLE item (name TEXT)"};
constexpr const char* kSecond[] = {kFirst[0], "ALTER TABLE item ADD COLUMN size INT DEFAULT 7"};
constexpr const char* kBroken[] = {kFirst[0], "DROP TABLE item; SELECT * FROM item"};

class Database : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        path = host::PackagePath("etc/some.db");
    }

    std::string path;
};

TEST_F(Database, IsCreatedForItsOwnerAloneWhateverTheUmask)
{
    const mode_t before = ::umask(0);
    OpenForChange(path, Schema(kFirst)).exec("INSERT INTO item VALUES ('a')");
    ::umask(before);

    struct stat status {};
    ASSERT_EQ(0, ::stat(path.c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777);
    EXPECT_EQ("delete",
              OpenForChange(path, Schema(kFirst)).execAndGet("PRAGMA journal_mode").getString());
}

TEST_F(Database, IsBroughtUpToDateByWhoeverOpensItFirst)
{
    OpenForChange(path, Schema(kFirst)).exec("INSERT INTO item VALUES ('a')");

    auto database = OpenForReading(path, Schema(kSecond));
    ASSERT_TRUE(database);
    EXPECT_EQ(7, database->execAndGet("SELECT size FROM item WHERE name = 'a'").getInt());
    EXPECT_THROW(OpenForChange(path, Schema(kFirst)), std::runtime_error)
        << "an older program must not touch a newer store";
}

TEST_F(Database, StaysAsItWasWhenAScriptFails)
{
    OpenForChange(path, Schema(kFirst)).exec("INSERT INTO item VALUES ('a')");

    EXPECT_THROW(OpenForChange(path, Schema(kBroken)), SQLite::Exception);
    EXPECT_EQ(
        1, OpenForReading(path, Schema(kFirst))->execAndGet("SELECT count(*) FROM item").getInt());
}

TEST_F(Database, ReadersNeitherCreateNorChange)
{
    EXPECT_FALSE(OpenForReading(path, Schema(kFirst)));
    EXPECT_FALSE(std::filesystem::exists(path));

    (void)OpenForChange(path, Schema(kFirst));
    EXPECT_THROW(OpenForReading(path, Schema(kFirst))->exec("DELETE FROM item"), SQLite::Exception);
}

}  // namespace
