// Exchanging stored data: wherever a process is killed, it can be taken back.
#include "host/libmailvane/save/exchange.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "host/libmailvane/stores/stored_files.h"
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
            if (entry.is_regular_file() && host::stores::FindStoredFile(top) != nullptr) {
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

/// What a command prints, a set of lines.
std::set<std::string> Lines(const std::string& command)
{
    std::set<std::string> lines;
    FILE* pipe = popen(command.c_str(), "r");
    char line[256];
    while (pipe != nullptr && fgets(line, sizeof(line), pipe) != nullptr) {
        lines.insert(std::string(line, strcspn(line, "\n")));
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return lines;
}

std::string ModeText(const host::stores::StoredFile& file)
{
    char text[8];
    std::snprintf(text, sizeof(text), "%04o", file.mode);
    return text;
}

TEST(StoredFiles, AreThoseOfABackup)
{
    std::set<std::string> held{std::string(host::stores::kStagedRules) + " 0600"};
    for (const host::stores::StoredFile& file : host::stores::kStoredFiles) {
        if (file.keeping != host::stores::Keeping::kNotExchanged) {
            held.insert(std::string(file.name) + " " + ModeText(file));
        }
    }
    EXPECT_EQ(Lines("cd " MAILVANE_SOURCE "/tools && /usr/bin/python3 -B -c '"
                    "from mailvane.ctl import stored_files as s\n"
                    "for row in {**s.MODES, **s.FOLDERS}.items(): print(\"%s %04o\" % row)'"),
              held);
}

TEST(StoredFiles, HaveTheOwnersAndModesOfTheMachine)
{
    const std::string etc = "/var/packages/Mailvane/etc/";
    std::set<std::string> wanted;
    for (const host::stores::StoredFile& file : host::stores::kStoredFiles) {
        const bool isLink = file.keeping == host::stores::Keeping::kInGeneration;
        wanted.insert(std::string(file.name) + " " + std::string(file.owner) + " " +
                      std::string(file.group) + " " + (isLink ? "link" : ModeText(file)));
    }
    std::set<std::string> found;
    std::ifstream rows(MAILVANE_SOURCE "/packaging/machine/file_modes");
    for (std::string line; std::getline(rows, line);) {
        std::string path, owner, group, mode;
        std::istringstream(line) >> path >> owner >> group >> mode;
        if (path.rfind(etc, 0) != 0) continue;

        const std::string name = path.substr(etc.size());
        std::string top = name.substr(0, name.find('/'));
        if (!top.empty() && name.size() <= top.size() + 1) {
            found.insert(top.append(" ").append(owner).append(" ").append(group + " " + mode));
        }
    }
    EXPECT_EQ(found, wanted);
}

}  // namespace
