// Exchanging stored data: wherever a process is killed, it can be taken back; what comes from
// elsewhere is held against the checks of its pages before.
#include "host/libmailvane/save/exchange.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "host/libmailvane/pages/staged_state.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/account_record.h"
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

TEST_F(StoredData, FragmentsOfTheAdministratorStayUnlessOthersComeWithTheRest)
{
    Write(etc + "local.d/main.cf", "mine");
    ASSERT_TRUE(host::save::BeginExchange(etc + "staged", true));
    EXPECT_EQ(Contents(etc + "local.d/main.cf"), "mine");
    host::save::KeepExchange();

    Stage();
    Write(etc + "staged/local.d/main.cf", "theirs");
    ASSERT_TRUE(host::save::BeginExchange(etc + "staged", true));
    EXPECT_EQ(Contents(etc + "local.d/main.cf"), "theirs");
    ASSERT_TRUE(host::save::RollBackExchange());
    EXPECT_EQ(Contents(etc + "local.d/main.cf"), "mine");
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

/// A state as an archive brings it, one part of each kind.
class StagedState : public Machine {
protected:
    using Database = host::stores::AccountDatabase;

    void SetUp() override
    {
        Machine::SetUp();
        folder = host::PackagePath("etc/staged");
        Fill();
    }

    void Fill() const
    {
        fs::remove_all(folder);
        const host::settings::StoredSettings settings;
        Write(folder + "/mailvane.conf", settings.SettingsText() + "always_bcc=\"boss\"\n");
        Write(folder + "/domains", "example.test\n");
        Write(folder + "/dnsbl", "bl.example.test rbl_client\n");
        Write(folder + "/attachment_types", "exe\ntar.gz\n");
        Write(folder + "/rules.cf", "# rule set: mine.cf\nbody ZEBRA /zebra/\nscore ZEBRA 2\n");
        Write(folder + "/rules/mine.cf", "anything: it is judged when it is switched on");
        Write(folder + "/report.conf", "rcpt=\"a@b.test, c@d.test\"\nsmtp_port=\"587\"\n");
        Write(folder + "/personal/alice.json", Personal("x@far.test", "I am away"));
        for (const auto& [which, name] : {std::pair(Database::kAlias, "/alias.db"),
                                          std::pair(Database::kMailvane, "/mailvane.db")}) {
            ASSERT_TRUE(host::stores::CreateAccountDatabase(
                folder + name, host::stores::StoreOf(which).schema, settings.Account()));
        }
        Execute("alias.db",
                "INSERT INTO alias VALUES (1, 'info'), (2, 'all');"
                "INSERT INTO member VALUES (1, 0, 'all', 2), (2, 0, 'HOUSE\\bob', 0)");
        Execute("mailvane.db",
                "INSERT INTO access VALUES (0, 'x@y.test', 0, 1), (2, '10.0.0.0/8', 4, 1);"
                "INSERT INTO bcc VALUES (0, 'alice', 'boss@b.test');"
                "INSERT INTO sender_quota VALUES ('bob', 10);"
                "INSERT INTO black_white VALUES (2, '10.0.0.1', 3, 1)");
    }

    static std::string Personal(const std::string& address, const std::string& text)
    {
        return R"({"uid": 1000, "forward": true, "forward_address": ")" + address +
               R"(", "keep_copy": true, "reply": true, "reply_begin": 0, "reply_end": 0,
                  "general_reply": {"subject": ")" +
               text + R"(", "message": "x"}, "sender_replies": []})";
    }

    void Execute(const std::string& name, const std::string& sql) const
    {
        SQLite::Database(folder + "/" + name, SQLite::OPEN_READWRITE).exec(sql);
    }

    bool IsTaken() const { return host::Succeeded(host::pages::CheckStagedState(folder)); }

    std::string folder;
};

TEST_F(StagedState, IsTakenWhereEachPageWouldHaveStoredIt)
{
    EXPECT_TRUE(IsTaken());
    for (const char* name : {"report.conf", "attachment_types", "rules", "personal", "dnsbl"}) {
        fs::remove_all(folder + "/" + name);
    }
    EXPECT_TRUE(IsTaken()) << "what is not there is not wrong";
}

TEST_F(StagedState, IsRefusedForAnyPartThatAPageWouldNotHaveStored)
{
    const std::pair<const char*, std::string> files[] = {
        {"mailvane.conf", "smtp_port=\"70000\"\n"},
        {"mailvane.conf", "smtp_hostname=\"a b\"\n"},
        {"mailvane.conf", "always_bcc=\"a,b@c.test\"\n"},
        {"domains", "example.test\npermit\n"},
        {"dnsbl", "bl.test,permit rbl_client\n"},
        {"dnsbl", "bl.example.test reject\n"},
        {"attachment_types", "exe (.*\n"},
        {"rules.cf", "loadplugin Mine /tmp/mine.pm\n"},
        {"rules.cf", "# rule set: <b>\n"},
        {"rules/<b>", ""},
        {"report.conf", "rcpt=\"a@b.test <c>\"\n"},
        {"report.conf", "smtp_server=\"a b\"\n"},
        {"report.conf", "smtp_port=\"70000\"\n"},
        {"personal/alice.json", "x"},
        {"personal/alice.json", "[1]"},
        {"personal/alice.json", Personal("alice@localhost, x", "")},
        {"personal/alice.json", Personal("alice@example.test", "")},
        {"personal/alice.json", Personal("x@far.test", std::string(501, 'x'))},
    };
    for (const auto& [name, text] : files) {
        Write(folder + "/" + name, text);
        EXPECT_FALSE(IsTaken()) << name << ": " << text;
        Fill();
    }
    const std::pair<const char*, const char*> changes[] = {
        {"alias.db", "INSERT INTO alias VALUES (3, 'a b')"},
        {"alias.db", "INSERT INTO member VALUES (1, 1, '|/bin/sh', 3)"},
        {"alias.db", "INSERT INTO member VALUES (1, 1, 'nobody', 2)"},
        {"alias.db", "CREATE TRIGGER t AFTER INSERT ON member BEGIN SELECT 1; END"},
        {"mailvane.db", "INSERT INTO access VALUES (0, 'a@b.test OK', 0, 0)"},
        {"mailvane.db", "INSERT INTO access VALUES (0, 'A@b.test', 0, 0)"},
        {"mailvane.db", "INSERT INTO access VALUES (7, 'a@b.test', 0, 0)"},
        {"mailvane.db", "INSERT INTO bcc VALUES (1, 'bob', 'a b')"},
        {"mailvane.db", "INSERT INTO sender_quota VALUES (char(10), 1)"},
        {"mailvane.db", "INSERT INTO sender_quota VALUES ('eve', -1)"},
        {"mailvane.db", "INSERT INTO black_white VALUES (0, '10.0.0.1', 3, 1)"},
        {"mailvane.db", "CREATE VIEW v AS SELECT 1"},
    };
    for (const auto& [name, sql] : changes) {
        Execute(name, sql);
        EXPECT_FALSE(IsTaken()) << name << ": " << sql;
        Fill();
    }
}

}  // namespace
