// Saves as transactions: the real checks of Postfix and Dovecot, control scripts that only record.
// Each request runs in a process of its own, as in life.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libmailvane/generation.h"
#include "host/libmailvane/save_transaction.h"
#include "host/libmailvane/write_scope.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

namespace fs = std::filesystem;

namespace {

const fs::path kPackage = "/var/packages/Mailvane";
const fs::path kCalls = "/tmp/calls";
constexpr int kKilled = 9;

void WriteFile(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text;
}

std::string ReadText(const fs::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// What `body` returns, 0 or negative, from a process of its own; `kKilled` when that was killed.
int InRequest(const std::function<int()>& body)
{
    const pid_t child = fork();
    if (child == 0) _exit(body() < 0 ? 1 : 0);

    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) return kKilled;
    return WEXITSTATUS(status) == 0 ? 0 : -1;
}

/// A request that changes settings of the SMTP server.
int SaveIn(const std::function<void(Postfix&)>& change, const std::list<Callback>& steps = {})
{
    return InRequest([&] {
        const host::ScopedLock lock;
        Postfix postfix;
        if (postfix.LoadSettings() < 0) return -2;
        change(postfix);
        return postfix.SaveSettings(steps);
    });
}

int Save(const char* name, const boost::any& value, const std::list<Callback>& steps = {})
{
    return SaveIn([&](Postfix& postfix) { postfix.Set(name, value); }, steps);
}

int Fail(const std::string& /*unused*/)
{
    return -1;
}

int KillThisProcess(const std::string& /*unused*/)
{
    return raise(SIGKILL);
}

std::string StoredValue(const char* name)
{
    const auto file = host::KeyValueFile::Read(kPackage / "etc/mailvane.conf");
    return file ? file->Get(name).value_or("(none)") : "(no file)";
}

std::string MainCf()
{
    return ReadText(kPackage / "etc/generated/current/postfix/main.cf");
}

/// Every file of the package's state, with its text: what a refused save leaves as it was.
std::map<std::string, std::string> Everything()
{
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(kPackage / "etc")) {
        if (entry.is_symlink()) files[entry.path()] = fs::read_symlink(entry.path());
        if (entry.is_regular_file()) files[entry.path()] = ReadText(entry.path());
    }
    return files;
}

class SaveTransaction : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::getenv("MAILVANE_IN_WORLD") == nullptr) GTEST_SKIP() << "needs a private machine";

        fs::remove_all(kPackage);
        fs::remove("/tmp/fail");
        for (const char* folder : {"etc/generated", "etc/local.d", "target/scripts"}) {
            fs::create_directories(kPackage / folder);
        }
        fs::create_directories("/var/log/mailvane");
        for (const char* service :
             {"postfix", "dovecot", "opendkim", "opendmarc", "mailscanner", "antivirus"}) {
            const fs::path script = kPackage / "target/scripts" / (std::string(service) + ".sh");
            WriteFile(script, std::string("#!/bin/sh\necho ") + service +
                                  " $1 >>/tmp/calls\n[ ! -e /tmp/fail ] || { rm /tmp/fail; exit 1; "
                                  "}\n");
            chmod(script.c_str(), 0755);
        }
        ASSERT_EQ(InRequest(host::RenderAll), 0);
        // The first request makes the account databases and what follows from them.
        ASSERT_EQ(Save("smtp_hostname", Value<std::string>("old.example")), 0);
        fs::remove(kCalls);
    }
};

TEST_F(SaveTransaction, StoresWhatWasSetAndReloadsADaemonThatThePlanLeavesOut)
{
    EXPECT_EQ(Save("smtp_hostname", Value<std::string>("new.example")), 0);
    EXPECT_EQ(StoredValue("smtp_hostname"), "new.example");
    EXPECT_EQ(StoredValue("smtp_port"), "25");
    EXPECT_NE(MainCf().find("myhostname = new.example"), std::string::npos);
    EXPECT_EQ(ReadText(kCalls), "dovecot restart\npostfix restart\n");
    EXPECT_FALSE(fs::exists(kPackage / "etc/generated/pending"));
}

TEST_F(SaveTransaction, KeepsWhatAnotherObjectSavedSinceTheLoad)
{
    EXPECT_EQ(SaveIn([](Postfix& postfix) {
                  ImapPop3 mailbox;
                  EXPECT_EQ(mailbox.LoadSettings(), 0);
                  mailbox.Set("imap_port", Value<int>(1143));
                  EXPECT_EQ(mailbox.SaveSettings({}), 0);
                  postfix.Set("require_helo", Value<bool>(true));
              }),
              0);
    EXPECT_EQ(StoredValue("imap_port"), "1143");
    EXPECT_EQ(StoredValue("require_helo"), "yes");
}

TEST_F(SaveTransaction, ChangesNoFileWhenNothingIsNewButRunsTheSteps)
{
    const auto before = Everything();
    EXPECT_EQ(Save("smtp_hostname", Value<std::string>("old.example"),
                   {{"postfix service", &Postfix::Service, "restart"}}),
              0);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(ReadText(kCalls), "postfix restart\n");
}

TEST_F(SaveTransaction, RefusesBadValuesAndFilesWithoutChangingAnything)
{
    const struct {
        const char* name;
        boost::any value;
        const char* fragment;  ///< the administrator's file meanwhile
        const char* file = "main.cf";
    } rows[] = {
        {"smtp_port", Value<int>(70000), ""},
        {"smtp_port", Value<int>(587), ""},  // the port of submission
        {"smtp_port", Value<int>(143), ""},  // the port of IMAP
        {"smtp_port", Value<std::string>("26"), ""},
        {"smtp_hostname", Value<std::string>("a.example\nrelayhost = evil.example"), ""},
        {"no_such_setting", Value<bool>(true), ""},
        {"imap_port", Value<int>(1143), ""},  // another object's
        {"require_helo", Value<bool>(true), "canonical_maps = cdb:/nowhere/map\n"},
        {"require_helo", Value<bool>(true), "canonical_maps = pcre:/nowhere/map\n"},
        {"require_helo", Value<bool>(true), "no_such_parameter = yes\n"},
        {"require_helo", Value<bool>(true), "default_process_limit = many\n"},
        {"require_helo", Value<bool>(true), "a line that is none\n"},
        {"require_helo", Value<bool>(true), "25 inet n - n - - smtpd\n", "master.cf"},
        {"require_helo", Value<bool>(true), "no_such_setting = yes\n", "own.dovecot.conf"},
    };
    for (const auto& row : rows) {
        WriteFile(kPackage / "etc/local.d" / row.file, row.fragment);
        const auto before = Everything();
        EXPECT_LT(Save(row.name, row.value), 0) << row.name << " " << row.fragment;
        EXPECT_EQ(Everything(), before) << row.name << " " << row.fragment;
        EXPECT_FALSE(fs::exists(kCalls)) << row.name << " " << row.fragment;
        fs::remove(kPackage / "etc/local.d" / row.file);
    }
}

TEST_F(SaveTransaction, TakesTheSaveBackWhenAStepFails)
{
    const auto before = Everything();
    WriteFile("/tmp/fail", "");
    EXPECT_LT(Save("smtp_hostname", Value<std::string>("new.example"),
                   {{"postfix service", &Postfix::Service, "start"}}),
              0);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(ReadText(kCalls), "postfix start\npostfix restart\ndovecot restart\n");
}

TEST_F(SaveTransaction, RunsNoStepAfterOneThatFailsAndNeverRepeatsOneThatIsNoService)
{
    EXPECT_LT(Save("require_helo", Value<bool>(true),
                   {{"dovecot service", &ImapPop3::Service, "restart"},
                    {"requeue hold", &Fail, ""},
                    {"postfix service", &Postfix::Service, "stop"}}),
              0);
    EXPECT_EQ(ReadText(kCalls), "dovecot restart\ndovecot restart\npostfix restart\n");
    EXPECT_EQ(StoredValue("require_helo"), "no");
}

TEST_F(SaveTransaction, AKilledSaveIsFinishedByTheNextWriter)
{
    EXPECT_EQ(Save("smtp_hostname", Value<std::string>("new.example"),
                   {{"killed", &KillThisProcess, ""}}),
              kKilled);
    EXPECT_EQ(StoredValue("smtp_hostname"), "new.example");
    EXPECT_FALSE(fs::exists(kCalls));

    // A reader leaves it alone.
    EXPECT_EQ(InRequest([] { return Postfix().LoadSettings(); }), 0);
    EXPECT_FALSE(fs::exists(kCalls));

    EXPECT_EQ(InRequest([] { return host::WriteScope().ok() ? 0 : -1; }), 0);
    EXPECT_EQ(ReadText(kCalls), "dovecot restart\npostfix restart\n");
    EXPECT_FALSE(fs::exists(kPackage / "etc/generated/pending"));
    EXPECT_NE(MainCf().find("myhostname = new.example"), std::string::npos);
}

TEST_F(SaveTransaction, FiltersThatAChangeReachesAreRestartedBeforeTheMailServer)
{
    // The DMARC checker needs the verifier, and no step speaks for that.
    EXPECT_EQ(Save("enable_dmarc", Value<bool>(true)), 0);
    EXPECT_EQ(ReadText(kCalls), "opendkim restart\nopendmarc restart\npostfix restart\n");

    fs::remove(kCalls);
    EXPECT_EQ(Save("require_helo", Value<bool>(true)), 0);
    EXPECT_EQ(ReadText(kCalls), "postfix restart\n");

    fs::remove(kCalls);
    const Callback killed{"killed", &KillThisProcess, ""};
    EXPECT_EQ(Save("enable_dmarc", Value<bool>(false), {killed}), kKilled);
    EXPECT_EQ(InRequest([] { return host::WriteScope().ok() ? 0 : -1; }), 0);
    EXPECT_EQ(ReadText(kCalls),
              "opendkim restart\nopendmarc restart\ndovecot restart\npostfix restart\n");
}

TEST_F(SaveTransaction, TheMailServerCallsTheScannerOnlyWhileItIsUp)
{
    const auto switched = [](bool on) {
        fs::remove(kCalls);
        const std::string verb = on ? "start" : "stop";
        return InRequest([&] {
            const host::ScopedLock lock;
            MailScanner scanner;
            if (scanner.LoadSettings() < 0) return -2;
            scanner.Set("anti_virus_enable", Value<bool>(on));
            return scanner.SaveSettings({{"scanner", &MailScanner::Service, verb},
                                         {"engine", &MailScanner::AntiVirusService, verb}});
        });
    };
    EXPECT_EQ(switched(true), 0);
    EXPECT_EQ(ReadText(kCalls), "mailscanner start\nantivirus start\npostfix restart\n");
    EXPECT_NE(MainCf().find("amavisd-milter"), std::string::npos);

    fs::remove(kCalls);
    EXPECT_EQ(Save("smtp_hostname", Value<std::string>("new.example")), 0);
    EXPECT_EQ(ReadText(kCalls), "dovecot restart\nmailscanner restart\npostfix restart\n");

    EXPECT_EQ(switched(false), 0);
    EXPECT_EQ(ReadText(kCalls), "postfix restart\nmailscanner stop\nantivirus stop\n");
    EXPECT_EQ(MainCf().find("amavisd-milter"), std::string::npos);
}

TEST_F(SaveTransaction, ADaemonThatDoesNotComeUpAfterAKillDoesNotBlockTheSaveThatMendsIt)
{
    EXPECT_EQ(Save("smtp_port", Value<int>(1025), {{"killed", &KillThisProcess, ""}}), kKilled);
    WriteFile("/tmp/fail", "");
    EXPECT_EQ(Save("smtp_port", Value<int>(1026)), 0);
    EXPECT_EQ(StoredValue("smtp_port"), "1026");
    EXPECT_FALSE(fs::exists("/tmp/fail"));
}

TEST_F(SaveTransaction, ASaveKilledBeforeItsCommitLeavesNothingBehind)
{
    const auto before = Everything();
    const std::string current = host::CurrentGeneration();
    // What a kill between the mark and the commit leaves: the mark and a whole generation.
    fs::copy(host::GenerationDirectory(current), host::GenerationDirectory("gen-000099"),
             fs::copy_options::recursive);
    WriteFile(kPackage / "etc/generated/pending", "before=\"" + current + "\"\n");

    EXPECT_EQ(InRequest([] { return host::WriteScope().ok() ? 0 : -1; }), 0);
    EXPECT_EQ(Everything(), before);
    // It may have come back from its steps, so the daemons are asked to look again.
    EXPECT_NE(ReadText(kCalls).find("postfix restart\n"), std::string::npos);
}

TEST_F(SaveTransaction, KeepsFiveGenerationsAndSharesWhatDidNotChange)
{
    for (int port = 1025; port < 1033; ++port) {
        ASSERT_EQ(Save("smtp_port", Value<int>(port)), 0);
    }
    int generations = 0;
    for (const auto& entry : fs::directory_iterator(kPackage / "etc/generated")) {
        generations += entry.is_directory() && !entry.is_symlink() ? 1 : 0;
    }
    EXPECT_EQ(generations, 5);
    const fs::path current = kPackage / "etc/generated/current";
    EXPECT_EQ(fs::hard_link_count(current / "dovecot/dovecot.conf"), 5U);
    EXPECT_EQ(fs::hard_link_count(current / "postfix/maps/aliases.cdb"), 5U);
    EXPECT_EQ(fs::hard_link_count(current / "postfix/master.cf"), 1U);
}

TEST_F(SaveTransaction, KeepsAFileThatSomebodyEditedAside)
{
    const fs::path main = kPackage / "etc/generated/current/postfix/main.cf";
    const std::string edited = ReadText(main) + "relayhost = edited.example\n";
    const std::string generation = host::CurrentGeneration();
    fs::remove(main);
    WriteFile(main, edited);
    EXPECT_EQ(Save("require_helo", Value<bool>(true)), 0);
    EXPECT_EQ(MainCf().find("edited.example"), std::string::npos);
    EXPECT_EQ(ReadText(kPackage / "etc/edited" / (generation + "-postfix-main.cf")), edited);
}

TEST_F(SaveTransaction, AnEmptyRelayPasswordKeepsTheStoredOneUntilItsLoginIsSwitchedOff)
{
    const auto save = [](bool auth, const char* password) {
        return SaveIn([=](Postfix& postfix) {
            postfix.Set("smtp_relay_auth", Value<bool>(auth));
            postfix.Set("smtp_relay_password", Value<std::string>(password));
        });
    };
    EXPECT_EQ(save(true, " secret \"x\" "), 0);
    EXPECT_EQ(save(true, ""), 0);
    EXPECT_EQ(InRequest([] {
                  Postfix postfix;
                  if (postfix.LoadSettings() < 0) return -1;
                  const auto stored =
                      boost::any_cast<Value<std::string>>(postfix.Get("smtp_relay_password"));
                  return stored.get() == " secret \"x\" " ? 0 : -1;
              }),
              0);
    EXPECT_EQ(save(false, ""), 0);
    EXPECT_EQ(StoredValue("smtp_relay_password"), "");
    struct stat info {};
    ASSERT_EQ(stat((kPackage / "etc/mailvane.conf").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
}

TEST_F(SaveTransaction, TheCopyOfAllMailSurvivesSavesAndNothingButAnAddressReachesThePostfixFile)
{
    const auto setCopy = [](const char* address) {
        auto file = host::KeyValueFile::Read(kPackage / "etc/mailvane.conf");
        file->Set("always_bcc", address);
        file->Write(kPackage / "etc/mailvane.conf", 0600);
    };
    setCopy("archive@old.example");
    EXPECT_EQ(Save("require_helo", Value<bool>(true)), 0);
    EXPECT_NE(MainCf().find("always_bcc = archive@old.example\n"), std::string::npos);
    EXPECT_TRUE(fs::is_symlink(kPackage / "etc/mailvane.conf"));

    setCopy("a b, |/bin/sh");
    EXPECT_EQ(Save("require_helo", Value<bool>(false)), 0);
    EXPECT_NE(MainCf().find("always_bcc =\n"), std::string::npos);
}

}  // namespace
