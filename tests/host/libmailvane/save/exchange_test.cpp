// Exchanging stored data: wherever a process is killed, it can be taken back.
#include "host/libmailvane/save/exchange.h"

#include <map>

#include "tests/host/machine.h"

namespace fs = std::filesystem;

namespace {

class StoredData : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        etc = host::PackagePath("etc/");
        for (const char* name :
             {"alias.db", "mailvane.db", "tls/key.pem", "attachment_types", "lock"}) {
            Write(etc + name, "old");
        }
        Stage();
    }

    void Stage() const
    {
        for (const char* name :
             {"alias.db", "mailvane.db", "tls/key.pem", "rules/mine.cf", "mailvane.conf"}) {
            Write(etc + "staged/" + name, "new");
        }
    }

    /// What is stored, with its texts, without what an exchange leaves beside it.
    std::map<std::string, std::string> Stored() const
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(etc)) {
            const std::string name = entry.path().string().substr(etc.size());
            const std::string top = name.substr(0, name.find('/'));
            if (entry.is_regular_file() && (host::save::IsStoredData(top) || top == "lock")) {
                files[name] = Contents(entry.path());
            }
        }
        return files;
    }

    std::string etc;
};

TEST_F(StoredData, IsExchangedWholeAndWhatItReplacedIsKept)
{
    ASSERT_TRUE(host::save::BeginExchange(etc + "staged", true));
    const std::map<std::string, std::string> wanted{{"alias.db", "new"},
                                                    {"lock", "old"},
                                                    {"mailvane.db", "new"},
                                                    {"rules/mine.cf", "new"},
                                                    {"tls/key.pem", "new"}};
    EXPECT_EQ(Stored(), wanted);
    EXPECT_TRUE(host::save::ExchangeIsUnderWay());
    host::save::KeepExchange();
    EXPECT_FALSE(host::save::ExchangeIsUnderWay());
    EXPECT_EQ(Contents(etc + "replaced/tls/key.pem"), "old");
    EXPECT_EQ(Contents(etc + "replaced/attachment_types"), "old");
}

TEST_F(StoredData, ExchangesSingleThingsAlone)
{
    auto wanted = Stored();
    wanted["tls/key.pem"] = "new";
    for (const char* name : {"alias.db", "mailvane.db", "rules", "mailvane.conf"}) {
        fs::remove_all(etc + "staged/" + name);
    }
    ASSERT_TRUE(host::save::BeginExchange(etc + "staged", false));
    EXPECT_EQ(Stored(), wanted);
}

TEST_F(StoredData, IsTakenBackFromWhereverAKillLeftIt)
{
    const auto before = Stored();
    // Moves that were not made yet, latest first; a kill comes before any of them, or while an
    // exchange is taken back.
    const std::pair<const char*, const char*> moves[] = {
        {"tls", "exchange/new/tls"},
        {"exchange/old/tls", "tls"},
        {"rules", "exchange/new/rules"},
        {"exchange/old/attachment_types", "attachment_types"},
        {"alias.db", "exchange/new/alias.db"}};
    for (std::size_t undone = 0; undone <= std::size(moves); ++undone) {
        ASSERT_TRUE(host::save::BeginExchange(etc + "staged", true));
        for (std::size_t i = 0; i < undone; ++i) {
            fs::rename(etc + moves[i].first, etc + moves[i].second);
        }
        for (const char* time : {"once", "again"}) {
            EXPECT_TRUE(host::save::RollBackExchange()) << undone << time;
            EXPECT_EQ(Stored(), before) << undone << time;
        }
        host::save::DropExchange();
        Stage();
    }
}

}  // namespace
