// Saves as transactions: the real checks of Postfix and Dovecot, control scripts that only record.
// Each request runs in a process of its own, as in life.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <tuple>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/account_data.h"
#include "platform/mailvane/alias.h"
#include "platform/mailvane/bcc.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/sender_quota.h"

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
    return WIFSIGNALED(status) ? kKilled : -WEXITSTATUS(status);
}

/// What the next writer does first.
int Recover()
{
    return InRequest([] { return host::Status(host::save::WriteScope().ready()); });
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

int Rename(const char* name, const std::list<Callback>& steps = {})
{
    return Save("smtp_hostname", Value<std::string>(name), steps);
}

int RequireHelo(const std::list<Callback>& steps = {})
{
    return Save("require_helo", Value<bool>(true), steps);
}

const Callback kKills{"killed", [](const std::string&) { return raise(SIGKILL); }, ""};

std::string StoredValue(const char* name)
{
    const auto file = host::KeyValueFile::Read(kPackage / "etc/mailvane.conf");
    return file ? file->Get(name).value_or("(none)") : "(no file)";
}

/// The calls of control scripts since the last look.
std::string Calls()
{
    const std::string calls = ReadText(kCalls);
    fs::remove(kCalls);
    return calls;
}

std::string MainCf()
{
    return ReadText(kPackage / "etc/generated/current/postfix/main.cf");
}

/// Every file of the package's state: what a refused save leaves as it was.
std::map<std::string, std::string> Everything()
{
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(kPackage / "etc")) {
        if (entry.is_symlink()) files[entry.path()] = fs::read_symlink(entry.path());
        if (entry.is_regular_file()) files[entry.path()] = ReadText(entry.path());
    }
    return files;
}

/// Shows a process as that of a daemon, in whose place it does nothing.
pid_t Pretend(const host::daemons::Daemon& daemon)
{
    const fs::path pidFile(daemon.pidFile);
    fs::create_directories(pidFile.parent_path());
    const pid_t child = fork();
    if (child == 0) {
        const std::string program(daemon.program);
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (unshare(CLONE_NEWNS) == 0 &&
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            mount("/bin/sleep", program.c_str(), nullptr, MS_BIND, nullptr) == 0) {
            execl(program.c_str(), "sleep", "infinity", nullptr);
        }
        _exit(1);
    }
    WriteFile(pidFile, std::to_string(child));
    return child;
}

class SaveTransaction : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (std::getenv("MAILVANE_IN_WORLD") == nullptr) return;
        for (const host::daemons::Daemon& daemon : host::daemons::kDaemons) {
            if (!daemon.switches.empty()) daemons_.push_back(Pretend(daemon));
        }
    }

    static void TearDownTestSuite()
    {
        for (const pid_t daemon : daemons_) kill(daemon, SIGKILL);
    }

    static inline std::vector<pid_t> daemons_;

    void SetUp() override
    {
        if (std::getenv("MAILVANE_IN_WORLD") == nullptr) GTEST_SKIP() << "needs a private machine";

        fs::remove_all(kPackage);
        fs::remove("/tmp/fail");
        for (const char* folder : {"etc/generated", "etc/local.d", "target/scripts"}) {
            fs::create_directories(kPackage / folder);
        }
        fs::create_directories("/var/log/mailvane");
        for (const char* name :
             {"postfix.sh", "dovecot.sh", "opendkim.sh", "opendmarc.sh", "mailscanner.sh"}) {
            const fs::path script = kPackage / "target/scripts" / name;
            WriteFile(script,
                      "#!/bin/sh\necho $(basename $0 .sh) $1 >>/tmp/calls\n"
                      "[ ! -e /tmp/kill ] || { rm /tmp/kill; kill -9 $PPID; }\n"
                      "[ ! -e /tmp/fail ] || { rm /tmp/fail; exit 1; }\n");
            chmod(script.c_str(), 0755);
        }
        ASSERT_EQ(InRequest([] { return host::Status(host::save::RenderAll()); }), 0);
        // The first request makes the account databases and what follows from them.
        ASSERT_EQ(Rename("old.example"), 0);
        fs::remove(kCalls);
    }
};

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

TEST_F(SaveTransaction, RefusesBadValuesAndFilesWithoutChangingAnything)
{
    const struct {
        const char* name;
        boost::any value;
        const char* fragment;  ///< the administrator's file meanwhile
        const char* file = "main.cf";
    } rows[] = {
        {"smtp_port", Value<int>(587), ""},  // the port of submission
        {"smtp_port", Value<std::string>("26"), ""},
        {"smtp_hostname", Value<std::string>("a.example\nrelayhost = evil.example"), ""},
        {"no_such_setting", Value<bool>(true), ""},
        {"imap_port", Value<int>(1143), ""},  // another object's
        {"require_helo", Value<bool>(true), "canonical_maps = pcre:/nowhere/map\n"},
        {"require_helo", Value<bool>(true), "default_process_limit = many\n"},
        {"require_helo", Value<bool>(true), "a line that is none\n"},
        {"require_helo", Value<bool>(true), "25 inet n - n - - smtpd\n", "master.cf"},
        {"require_helo", Value<bool>(true), "no_such_setting = yes\n", "own.dovecot.conf"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name + std::string(" ") + row.fragment);
        WriteFile(kPackage / "etc/local.d" / row.file, row.fragment);
        const auto before = Everything();
        EXPECT_LT(Save(row.name, row.value), 0);
        EXPECT_EQ(Everything(), before);
        EXPECT_EQ(Calls(), "");
        fs::remove(kPackage / "etc/local.d" / row.file);
    }
}

TEST_F(SaveTransaction, TakesTheSaveBackWhenAStepFails)
{
    const auto before = Everything();
    WriteFile("/tmp/fail", "");
    EXPECT_LT(Rename("new.example", {{"postfix", &Postfix::Service, "start"}}), 0);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(Calls(), "postfix start\npostfix restart\ndovecot restart\n");
}

TEST_F(SaveTransaction, AScannerThatDoesNotComeUpIsSwitchedOffAgain)
{
    const auto before = Everything();
    WriteFile("/tmp/fail", "");
    EXPECT_LT(InRequest([] {
                  MailScanner scanner;
                  EXPECT_EQ(scanner.LoadSettings(), 0);
                  scanner.Set("spam_enable", Value<bool>(true));
                  return scanner.SaveSettings({});
              }),
              0);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(Calls().find("mailscanner restart\n"), 0U);
}

TEST_F(SaveTransaction, MakesAGenerationOfWhatChangesAndLinksTheRest)
{
    const auto inode = [](const char* file) {
        struct stat info {};
        EXPECT_EQ(stat((kPackage / "etc/generated/current" / file).c_str(), &info), 0);
        return info.st_ino;
    };
    const std::string before = host::generation::CurrentGeneration();
    const ino_t changed = inode("postfix/main.cf"), kept = inode("dovecot/dovecot.conf");
    EXPECT_EQ(SaveIn([](Postfix&) {}), 0);
    EXPECT_EQ(host::generation::CurrentGeneration(), before);
    EXPECT_EQ(RequireHelo(), 0);
    EXPECT_NE(host::generation::CurrentGeneration(), before);
    EXPECT_NE(inode("postfix/main.cf"), changed);
    EXPECT_EQ(inode("dovecot/dovecot.conf"), kept);
}

TEST_F(SaveTransaction, WhatASwitchHasParkedForItIsNotNeededAfterwards)
{
    const Callback parks{"parks",
                         [](const std::string&) {
                             return host::Status(host::stores::ParkAlwaysBcc({"local", ""}, "a@b"));
                         },
                         ""};
    EXPECT_EQ(RequireHelo({parks}), 0);
    EXPECT_EQ(host::stores::ParkedAlwaysBcc({"local", ""}), std::nullopt);
}

TEST_F(SaveTransaction, RunsNoStepAfterOneThatFailsAndNeverRepeatsOneThatIsNoService)
{
    const Callback restart{"dovecot", &ImapPop3::Service, "restart"};
    const Callback fails{"fails", [](const std::string&) { return -1; }, ""};
    EXPECT_LT(RequireHelo({restart, fails, {"postfix", &Postfix::Service, "stop"}}), 0);
    EXPECT_EQ(Calls(), "dovecot restart\ndovecot restart\npostfix restart\n");
    EXPECT_EQ(StoredValue("require_helo"), "no");
}

TEST_F(SaveTransaction, AKilledSaveIsFinishedByTheNextWriter)
{
    EXPECT_EQ(Rename("new.example", {kKills}), kKilled);
    EXPECT_EQ(StoredValue("smtp_hostname"), "new.example");
    EXPECT_EQ(InRequest([] { return Postfix().LoadSettings(); }), 0);
    EXPECT_EQ(Calls(), "") << "a reader leaves it alone";
    EXPECT_EQ(Recover(), 0);
    EXPECT_EQ(Calls(), "dovecot restart\npostfix restart\n");
    EXPECT_FALSE(fs::exists(kPackage / "etc/generated/pending"));
    EXPECT_NE(MainCf().find("myhostname = new.example"), std::string::npos);
}

TEST_F(SaveTransaction, FiltersThatAChangeReachesAreRestartedBeforeTheMailServer)
{
    // The DMARC checker needs the verifier, and no step speaks for that.
    EXPECT_EQ(Save("enable_dmarc", Value<bool>(true)), 0);
    EXPECT_EQ(Calls(), "opendkim restart\nopendmarc restart\npostfix restart\n");
    EXPECT_EQ(RequireHelo(), 0);
    EXPECT_EQ(Calls(), "postfix restart\n");
    EXPECT_EQ(Save("enable_dmarc", Value<bool>(false)), 0);
    EXPECT_EQ(Calls(), "postfix restart\nopendkim restart\nopendmarc restart\npostfix restart\n")
        << "a filter that ends is called no more by then";
    EXPECT_EQ(Save("enable_dmarc", Value<bool>(true)), 0);
    (void)Calls();
    EXPECT_EQ(Save("enable_dmarc", Value<bool>(false), {kKills}), kKilled);
    EXPECT_EQ(Calls(), "postfix restart\n");
    EXPECT_EQ(Recover(), 0);
    EXPECT_EQ(Calls(), "opendkim restart\nopendmarc restart\ndovecot restart\npostfix restart\n");
}

TEST_F(SaveTransaction, AFilterIsUpBeforeTheMailServerCallsIt)
{
    const auto isCalled = [] { return MainCf().find("/opendkim/") != std::string::npos; };
    const Callback kills{
        "dkim service",
        [](const std::string&) {
            return MainCf().find("/opendkim/") == std::string::npos ? raise(SIGKILL) : -1;
        },
        "start"};
    const auto before = Everything();
    WriteFile("/tmp/fail", "");
    EXPECT_LT(Save("enable_dkim", Value<bool>(true)), 0);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(Save("enable_dkim", Value<bool>(true), {kills}), kKilled);
    EXPECT_FALSE(isCalled());
    EXPECT_EQ(Recover(), 0);
    EXPECT_TRUE(isCalled());
    EXPECT_EQ(RequireHelo(), 0);
    EXPECT_FALSE(fs::exists(kPackage / "etc/edited")) << "nobody has edited it";
}

TEST_F(SaveTransaction, WhatTheSettingsRunIsRunningAfterwards)
{
    using host::daemons::kDkimFilter;
    ASSERT_EQ(Save("enable_dkim", Value<bool>(true)), 0);
    (void)Calls();
    EXPECT_EQ(SaveIn([](Postfix&) {}, {host::daemons::ServiceStep(kDkimFilter, "stop")}), 0);
    EXPECT_EQ(Calls(), "opendkim restart\n") << "a page saved in part stops nothing that stays on";

    const fs::path pidFile(kDkimFilter.pidFile);
    const fs::path aside = pidFile.string() + ".aside";
    fs::rename(pidFile, aside);
    EXPECT_EQ(SaveIn([](Postfix&) {}), 0);
    EXPECT_EQ(Calls(), "opendkim restart\n") << "one that has died is started";
    fs::rename(aside, pidFile);
}

TEST_F(SaveTransaction, PortsThatChangeAreOpenedAndOthersLeaveThePacketFilterAlone)
{
    const fs::path rules = kPackage / "etc/firewall.nft";
    EXPECT_EQ(Save("smtp_port", Value<int>(2525)), 0);
    EXPECT_NE(ReadText(rules).find(" 2525 } accept"), std::string::npos) << ReadText(rules);
    fs::remove(rules);
    EXPECT_EQ(RequireHelo(), 0);
    EXPECT_FALSE(fs::exists(rules));
}

TEST_F(SaveTransaction, ADaemonThatDoesNotComeUpAfterAKillDoesNotBlockTheSaveThatMendsIt)
{
    EXPECT_EQ(Save("smtp_port", Value<int>(1025), {kKills}), kKilled);
    WriteFile("/tmp/fail", "");
    EXPECT_EQ(Save("smtp_port", Value<int>(1026)), 0);
    EXPECT_EQ(StoredValue("smtp_port"), "1026");
    EXPECT_FALSE(fs::exists("/tmp/fail"));
}

TEST_F(SaveTransaction, ASaveKilledBeforeItsCommitLeavesNothingBehind)
{
    const auto before = Everything();
    const std::string current = host::generation::CurrentGeneration();
    // What a kill between the mark and the commit leaves: the mark and a whole generation.
    fs::copy(host::generation::GenerationDirectory(current),
             host::generation::GenerationDirectory("gen-000099"), fs::copy_options::recursive);
    WriteFile(kPackage / "etc/generated/pending", "before=\"" + current + "\"\n");

    EXPECT_EQ(Recover(), 0);
    EXPECT_EQ(Everything(), before);
    // It may have come back from its steps, so the daemons are asked to look again.
    EXPECT_NE(Calls().find("postfix restart\n"), std::string::npos);
}

TEST_F(SaveTransaction, KeepsAFileThatSomebodyEditedAside)
{
    const fs::path main = kPackage / "etc/generated/current/postfix/main.cf";
    const std::string edited = ReadText(main) + "relayhost = edited.example\n";
    const std::string generation = host::generation::CurrentGeneration();
    fs::remove(main);
    WriteFile(main, edited);
    EXPECT_EQ(RequireHelo(), 0);
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
    EXPECT_EQ(save(true, "secret \"x\""), 0);
    EXPECT_EQ(save(true, ""), 0);
    EXPECT_EQ(InRequest([] {
                  Postfix postfix;
                  if (postfix.LoadSettings() < 0) return -1;
                  const boost::any stored = postfix.Get("smtp_relay_password");
                  return boost::any_cast<Value<std::string>>(stored).get() == "secret \"x\"" ? 0
                                                                                             : -1;
              }),
              0);
    EXPECT_EQ(save(false, ""), 0);
    EXPECT_EQ(StoredValue("smtp_relay_password"), "");
    for (const auto& [path, bytes] : Everything()) {
        EXPECT_EQ(bytes.find("secret"), std::string::npos) << path;
    }
    struct stat info {};
    ASSERT_EQ(stat((kPackage / "etc/mailvane.conf").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
}

TEST_F(SaveTransaction, ARelayThatNoDaemonCouldUseIsRefusedButKeepsNoOtherFormAway)
{
    const auto save = [](const std::map<std::string, std::string>& texts) {
        return SaveIn([&texts](Postfix& postfix) {
            for (const char* name : {"smtp_relay_enabled", "smtp_relay_auth"}) {
                postfix.Set(name, Value<bool>(true));
            }
            for (const auto& [name, text] : texts) postfix.Set(name, Value<std::string>(text));
        });
    };
    const std::pair<const char*, const char*> good[] = {{"smtp_relay_server", "relay.example"},
                                                        {"smtp_relay_account", "me"},
                                                        {"smtp_relay_password", "secret"}};
    const std::pair<const char*, const char*> bad[] = {{"smtp_relay_server", ""},
                                                       {"smtp_relay_account", ""},
                                                       {"smtp_relay_account", "me "},
                                                       {"smtp_relay_password", " secret"}};
    for (const auto& [name, text] : bad) {
        std::map<std::string, std::string> texts(std::begin(good), std::end(good));
        texts[name] = text;
        EXPECT_EQ(save(texts), -1) << name << " '" << text << "'";
    }
    EXPECT_EQ(save({std::begin(good), std::end(good)}), 0);

    auto file = host::KeyValueFile::Read(kPackage / "etc/mailvane.conf");
    file->Set("smtp_relay_account", "");
    file->Set("smtp_relay_password", " x ");
    file->Write(kPackage / "etc/mailvane.conf", 0600);
    EXPECT_EQ(Rename("other.example"), 0);
}

TEST_F(SaveTransaction, ARelayThatIsTakenOverNeedNotProveItsNameUntilItIsSaved)
{
    const auto save = [](const char* takesOver) {
        return SaveIn([=](Postfix& postfix) {
            if (takesOver != nullptr) setenv("MAILVANE_TAKES_OVER", takesOver, 1);
            postfix.Set("smtp_relay_enabled", Value<bool>(true));
            postfix.Set("smtp_relay_server", Value<std::string>("relay.example"));
            postfix.Set("smtp_relay_auth", Value<bool>(true));
            postfix.Set("smtp_relay_account", Value<std::string>("me"));
            postfix.Set("smtp_relay_password", Value<std::string>("secret"));
        });
    };
    EXPECT_EQ(save("relay logins"), 0);
    EXPECT_EQ(Rename("other.example"), 0);
    EXPECT_NE(MainCf().find("\nsmtp_tls_security_level = encrypt\n"), std::string::npos);
    EXPECT_EQ(StoredValue("smtp_port_logins"), "yes");
    EXPECT_EQ(save(nullptr), 0);
    EXPECT_NE(MainCf().find("\nsmtp_tls_security_level = secure\n"), std::string::npos);
}

TEST_F(SaveTransaction, NothingButAnAddressBecomesTheCopyOfAllMail)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"a.example", "archive$biff@old.example", " archive$biff@old.example\n"},
        {"b.example", "a b, |/bin/sh", ""}};
    for (const auto& [name, address, target] : rows) {
        auto file = host::KeyValueFile::Read(kPackage / "etc/mailvane.conf");
        file->Set("always_bcc", address);
        file->Write(kPackage / "etc/mailvane.conf", 0600);
        EXPECT_EQ(Rename(name), 0);
        const std::string map =
            ReadText(kPackage / "etc/generated/current/postfix/maps/always_bcc");
        EXPECT_EQ(map.substr(std::min(map.find(' '), map.size())), target);
        EXPECT_EQ(MainCf().find("\nalways_bcc =\n") == std::string::npos, *target != '\0');
    }
}

/// Changes of lists that are in force when they return, by the file that each fills.
const struct {
    const char* file;
    int (*change)(const char* name);
} kListChanges[] = {
    {"postfix/maps/aliases",
     [](const char* name) {
         Alias alias;
         const bool added = alias.load() == 0 && alias.addMember(name, {{"bob@x.example", 3}}) == 0;
         return added ? alias.save() : -2;
     }},
    {"postfix/maps/sender_bcc",
     [](const char* name) { return BCC::getInstance()->addBCC(BCC_SENDER, name, "bob"); }},
    {"policy/limits",
     [](const char* name) {
         const bool set = SenderQuota::Set(name, 7) == 0;
         return set ? SenderQuota::GenerateConfig() : -2;
     }},
};

std::string InForce(const char* file)
{
    return ReadText(kPackage / "etc/generated/current" / file);
}

TEST_F(SaveTransaction, WhatIsMadeOfTheAttachmentTypesFollowsThemWithEverySaveAndUpgrade)
{
    const struct {
        const char* types;
        std::function<int()> render;
    } rows[] = {{"exe", [] { return RequireHelo(); }},
                {"exe com",
                 [] { return InRequest([] { return host::Status(host::save::RenderAll()); }); }}};
    for (const auto& row : rows) {
        std::string lines(row.types);
        std::replace(lines.begin(), lines.end(), ' ', '\n');
        WriteFile(kPackage / "etc/attachment_types", lines + "\n");
        EXPECT_EQ(row.render(), 0);
        const std::string checks = InForce("postfix/maps/attachment_checks");
        EXPECT_NE(checks.find(std::string(" ") + row.types + "|"), std::string::npos) << checks;
    }
}

TEST_F(SaveTransaction, AChangeOfAListIsStoredAndInForceOrNeither)
{
    for (const auto& list : kListChanges) {
        SCOPED_TRACE(list.file);
        ASSERT_EQ(InRequest([&] { return list.change("first"); }), 0);
        EXPECT_EQ(Calls(), "postfix restart\n");
        const std::string before = InForce(list.file);
        EXPECT_NE(before.find("first"), std::string::npos);

        const auto everything = Everything();
        WriteFile("/tmp/fail", "");
        EXPECT_EQ(InRequest([&] { return list.change("second"); }), -1);
        EXPECT_EQ(Everything(), everything);
        EXPECT_EQ(Calls(), "postfix restart\npostfix restart\n");

        WriteFile("/tmp/kill", "");
        EXPECT_EQ(InRequest([&] { return list.change("second"); }), kKilled);
        EXPECT_NE(InForce(list.file), before);
        Calls();
        EXPECT_EQ(Recover(), 0);
        EXPECT_EQ(InForce(list.file), before);
        EXPECT_FALSE(fs::exists(kPackage / "etc/generated/pending"));
        EXPECT_EQ(Calls(), "postfix restart\n");

        ASSERT_EQ(InRequest([&] { return list.change("third"); }), 0);
        EXPECT_EQ(InForce(list.file).find("second"), std::string::npos);
        EXPECT_EQ(Calls(), "postfix restart\n");
    }
}

TEST_F(SaveTransaction, RuleSetsRestartTheScannerOnceWithThatOfTheirPage)
{
    const auto apply = [] {
        return InRequest([] {
            const bool applied = host::Succeeded(host::save::ApplySpamRules("body A /a/\n"));
            return applied ? MailScanner::Service("restart") : -2;
        });
    };
    for (const char* how : {"new rules", "the same"}) {
        EXPECT_EQ(apply(), 0) << how;
        EXPECT_EQ(Calls(), "mailscanner restart\n") << how;
    }
}

TEST_F(SaveTransaction, ARuleAndTheCopyOfAllMailAreDeletedTogetherOrNotAtAll)
{
    const auto inForce = [] {
        return InForce("postfix/maps/sender_bcc") + InForce("postfix/maps/always_bcc") +
               StoredValue("always_bcc");
    };
    const auto change = [](const std::function<int(BCC&)>& body) {
        return InRequest([&] { return body(*BCC::getInstance()); });
    };
    const auto remove = [&] {
        return change([](BCC& copies) {
            return copies.deleteBCC({{"Ann", "bob", BCC_SENDER}, {"", "carol", BCC_ALWAYS}});
        });
    };
    ASSERT_EQ(change([](BCC& copies) { return copies.addBCC(BCC_SENDER, "ann", "bob"); }), 0);
    ASSERT_EQ(change([](BCC& copies) { return copies.addBCC(BCC_ALWAYS, "", "carol@a.test"); }), 0);
    const std::string before = inForce();
    for (const char* fault : {"/tmp/fail", "/tmp/kill"}) {
        WriteFile(fault, "");
        EXPECT_NE(remove(), 0);
        EXPECT_EQ(Recover(), 0);
        EXPECT_EQ(inForce(), before);
    }
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(inForce(), "");
}

TEST_F(SaveTransaction, LostListsStayInForceAndKeepTheirChangesAway)
{
    const fs::path aliases = kPackage / "etc/alias.db";
    ASSERT_EQ(InRequest([] { return kListChanges[0].change("first"); }), 0);
    const std::string before = InForce(kListChanges[0].file);
    const std::function<void()> losses[] = {[&] { WriteFile(aliases, std::string(9000, 'x')); },
                                            [&] { WriteFile(aliases, ""); },
                                            [&] { fs::remove(aliases); }};
    for (const auto& lose : losses) {
        lose();
        EXPECT_EQ(InRequest([] { return Postfix().LoadSettings(); }), 0);
        EXPECT_LT(InRequest([] { return kListChanges[0].change("second"); }), 0);
        EXPECT_EQ(Save("require_helo", Value<bool>(true)), 0);
        EXPECT_EQ(Recover(), 0);
        EXPECT_EQ(InForce(kListChanges[0].file), before);
    }
    EXPECT_EQ(InRequest([] { return host::Status(host::save::RepairLists()); }), 0);
    EXPECT_EQ(InForce(kListChanges[0].file), "");
    EXPECT_EQ(InRequest([] { return kListChanges[0].change("second"); }), 0);
}

}  // namespace
