// SQLite stores: creation, versions, failures.
#include "host/libmailvane/system/database.h"

#include <unistd.h>

#include "tests/host/machine.h"

namespace {

using host::system::OpenForChange;
using host::system::OpenForReading;
using host::system::Schema;

constexpr const char* kFirst[] = {"CREATE TABLE item (name TEXT)"};
constexpr const char* kSecond[] = {kFirst[0], "ALTER TABLE item ADD COLUMN size INT DEFAULT 7"};
constexpr const char* kBroken[] = {kFirst[0], "DROP TABLE item; SELECT * FROM item"};

using Database = Machine;
constexpr const char* kPath = "/var/packages/Mailvane/etc/some.db";

TEST_F(Database, IsCreatedForItsOwnerAloneWhateverTheUmask)
{
    const mode_t before = ::umask(0);
    OpenForChange(host::Path(kPath), Schema(kFirst))->exec("INSERT INTO item VALUES ('a')");
    ::umask(before);

    EXPECT_EQ(0600U, Mode(kPath));
    // What a write-ahead log left beside it would mix two accounts' databases.
    EXPECT_EQ("delete", OpenForReading(host::Path(kPath), Schema(kFirst))
                            ->execAndGet("PRAGMA journal_mode")
                            .getString());
}

TEST_F(Database, ReadersNeitherCreateNorChange)
{
    EXPECT_EQ(0, OpenForReading(host::Path(kPath), Schema(kFirst))
                     ->execAndGet("SELECT count(*) FROM item")
                     .getInt());
    EXPECT_EQ("(none)", Contents(kPath));
    EXPECT_TRUE(OpenForChange(host::Path(kPath), Schema(kFirst)));
    // The second one of these has to bring the store up to date.
    for (const Schema& schema : {Schema(kFirst), Schema(kSecond)}) {
        EXPECT_THROW(OpenForReading(host::Path(kPath), schema)->exec("DELETE FROM item"),
                     SQLite::Exception);
    }
}

TEST_F(Database, IsBroughtUpToDateByWhoeverOpensItFirst)
{
    OpenForChange(host::Path(kPath), Schema(kFirst))->exec("INSERT INTO item VALUES ('a')");
    auto database = OpenForReading(host::Path(kPath), Schema(kSecond));
    ASSERT_TRUE(database);
    EXPECT_EQ(7, database->execAndGet("SELECT size FROM item WHERE name = 'a'").getInt());
    for (const auto open : {OpenForChange, OpenForReading}) {
        const auto opened = open(host::Path(kPath), Schema(kFirst));
        ASSERT_FALSE(opened) << "an older program must not touch a newer store";
        EXPECT_EQ(opened.reason().code, host::ReasonCode::kDamaged);
        EXPECT_NE(opened.reason().text.find("unknown version 2"), std::string::npos);
    }
}

TEST_F(Database, StaysAsItWasWhenAScriptFails)
{
    OpenForChange(host::Path(kPath), Schema(kFirst))->exec("INSERT INTO item VALUES ('a')");
    EXPECT_FALSE(OpenForChange(host::Path(kPath), Schema(kBroken)));
    EXPECT_EQ(1, OpenForReading(host::Path(kPath), Schema(kFirst))
                     ->execAndGet("SELECT count(*) FROM item")
                     .getInt());
}

TEST_F(Database, AJournalThatNeverCameToTheDiskIsRemoved)
{
    const std::string journal = std::string(kPath) + "-journal";
    OpenForChange(host::Path(kPath), Schema(kFirst))->exec("INSERT INTO item VALUES ('a')");
    Write(journal, std::string(512, '\0'));
    ASSERT_TRUE(host::system::SettleJournal(host::Path(kPath)));
    EXPECT_NE(access(host::Path(journal).c_str(), F_OK), 0);
    EXPECT_TRUE(host::system::SettleJournal(host::Path(kPath))) << "there is none any more";
}

TEST_F(Database, WhatIsThrownMeanwhileBecomesAReason)
{
    Write(kPath, "this is no database, whatever its name says, and long enough for a header");
    const auto opened = OpenForChange(host::Path(kPath), Schema(kFirst));
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.reason().code, host::ReasonCode::kDamaged);
    EXPECT_EQ(opened.reason().about.text(), host::Path(kPath));
    EXPECT_EQ(opened.reason().text.rfind(host::Path(kPath) + ": ", 0), 0U);

    const auto refused = host::system::Attempt("lists", []() -> host::Result<int> {
        return host::Reason{host::ReasonCode::kTaken, "a", "there is an a"};
    });
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.reason().text, "there is an a") << "it comes up as it is";
    EXPECT_TRUE(Logged().empty());
}

}  // namespace
