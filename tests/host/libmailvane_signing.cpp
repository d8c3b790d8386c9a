// Keys for DKIM, and the texts of the filters' files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/mail_filters.h"
#include "platform/mailvane/rsa_key.h"
#include "tests/host/machine.h"

namespace {

namespace fs = std::filesystem;
using host::StoredSettings;

const char kPrivate[] = "/var/packages/Mailvane/etc/dkim.key//dkim.private";
const char kPublic[] = "/var/packages/Mailvane/etc/dkim.key//dkim.public";
constexpr unsigned int kTooFewBits = 1;  // OpenSSL refuses to make such a key

class RsaKeys : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        folder_ = host::PackagePath("etc/dkim.key");
        ASSERT_TRUE(host::MakeDirectories(folder_, 0700));
    }

    static int Generate()
    {
        return GenerateRSAPrivateKey(kPrivate, 1024) < 0 ? -1
                                                         : GenerateRSAPublicKey(kPrivate, kPublic);
    }

    /// What is read by the two names, in one text; "" when the halves disagree.
    std::string Pair() const
    {
        std::string publicKey;
        if (ReadRSAPublicKey(kPublic, publicKey) < 0) return "";
        host::ProgramOptions options;
        options.capture = true;
        const std::string derived =
            host::RunProgram({"/usr/bin/openssl", "pkey", "-in", PrivateFile(), "-pubout"}, options)
                .output;
        return derived == publicKey ? Contents(PrivateFile()) + publicKey : "";
    }

    std::string PrivateFile() const { return folder_ + "/dkim.private"; }
    std::string PublicFile() const { return folder_ + "/dkim.public"; }

    int Pairs() const
    {
        int pairs = 0;
        for (const auto& entry : fs::directory_iterator(folder_)) {
            pairs += entry.is_directory() && !entry.is_symlink() ? 1 : 0;
        }
        return pairs;
    }

    std::string folder_;
};

TEST_F(RsaKeys, ANewPairReplacesTheOldOneWhichIsKept)
{
    ASSERT_EQ(Generate(), 0);
    const std::string first = Pair();
    EXPECT_NE(first, "");
    EXPECT_EQ(Mode(PrivateFile()), 0600U);
    EXPECT_EQ(Mode(PublicFile()), 0644U);

    ASSERT_EQ(Generate(), 0);
    EXPECT_NE(Pair(), "");
    EXPECT_NE(Pair(), first);
    EXPECT_EQ(Pairs(), 2);
    EXPECT_FALSE(fs::exists(PrivateFile() + ".new"));
}

TEST_F(RsaKeys, AGenerationThatEndsEarlyLeavesTheOldPair)
{
    ASSERT_EQ(Generate(), 0);
    const std::string before = Pair();

    EXPECT_LT(GenerateRSAPrivateKey(kPrivate, kTooFewBits), 0);
    EXPECT_EQ(Pair(), before);

    // A process killed between the halves has left a new private key.
    EXPECT_EQ(GenerateRSAPrivateKey(kPrivate, 1024), 0);
    EXPECT_EQ(Mode(PrivateFile() + ".new"), 0600U);
    EXPECT_EQ(Pair(), before);

    Write(PrivateFile() + ".new", "no key\n");
    EXPECT_LT(GenerateRSAPublicKey(kPrivate, kPublic), 0);
    EXPECT_EQ(Pair(), before);
    EXPECT_EQ(Generate(), 0);
    EXPECT_NE(Pair(), before);
}

TEST_F(RsaKeys, KeysPutThereByHandAreKeptAsPairsToo)
{
    ASSERT_EQ(Generate(), 0);
    const std::string byHand = Pair();
    const std::string privateKey = Contents(PrivateFile());
    const std::string publicKey = Contents(PublicFile());
    fs::remove_all(folder_);
    Write(PrivateFile(), privateKey);
    Write(PublicFile(), publicKey);

    EXPECT_LT(GenerateRSAPrivateKey(kPrivate, kTooFewBits), 0);
    EXPECT_EQ(Pair(), byHand);
    ASSERT_EQ(Generate(), 0);
    EXPECT_NE(Pair(), byHand);
    EXPECT_EQ(Pairs(), 2);
    for (const auto& entry : fs::directory_iterator(folder_)) {
        if (entry.is_directory() && !entry.is_symlink() &&
            !fs::equivalent(entry.path(), folder_ + "/pair")) {
            EXPECT_EQ(Contents(entry.path() / "dkim.private"), privateKey);
        }
    }
}

TEST_F(RsaKeys, WhatIsNotThereCannotBeRead)
{
    std::string text = "as it was";
    EXPECT_LT(ReadRSAPublicKey(kPublic, text), 0);
    EXPECT_LT(GenerateRSAPublicKey(kPrivate, kPublic), 0);
    EXPECT_EQ(text, "as it was");
    EXPECT_FALSE(fs::exists(PublicFile()));
}

/// Settings of a server for example.org that differ from the defaults by some.
StoredSettings With(std::initializer_list<std::pair<const char*, const char*>> changes)
{
    StoredSettings settings;
    settings.Set("smtp_hostname", "mail.example.org");
    settings.Set("acc_domain_name", "example.org");
    for (const auto& [name, value] : changes) settings.Set(name, value);
    return settings;
}

TEST(Filters, StandInMainCfOnlyWhileTheirSwitchIsOn)
{
    const std::string dkim = "{ unix:/run/mailvane/opendkim/socket, default_action=tempfail }";
    const std::string dmarc = "{ unix:/run/mailvane/opendmarc/socket, default_action=accept }";
    const std::string scan =
        "{ unix:/run/mailvane/amavisd-milter/socket, default_action=tempfail }";
    const struct {
        const char* signs;
        const char* checks;
        const char* scans;
        std::string smtp;
        std::string submission;
        std::string local;
    } rows[] = {
        {"no", "no", "no", "", "", ""},
        {"yes", "no", "no", dkim, dkim, dkim},
        {"no", "yes", "no", dkim + ", " + dmarc, "", ""},  // the checker needs the verifier first
        {"no", "no", "yes", scan, scan, ""},
        // What the scanner changes must not break a signature, and what is refused needs no scan.
        {"yes", "yes", "yes", dkim + ", " + dmarc + ", " + scan, scan + ", " + dkim, dkim},
    };
    for (const auto& row : rows) {
        const auto settings = With(
            {{"enable_dkim", row.signs}, {"enable_dmarc", row.checks}, {"spam_enable", row.scans}});
        const std::string main = host::RenderPostfixMain(settings, {});
        const std::string where = std::string(row.signs) + " " + row.checks + " " + row.scans;
        const auto shows = [&main](const std::string& name, const std::string& value) {
            const std::string line = name + " =" + (value.empty() ? "" : " ") + value;
            return main.find("\n" + line + "\n") != std::string::npos;
        };
        EXPECT_TRUE(shows("smtpd_milters", row.smtp)) << where;
        EXPECT_TRUE(shows("submission_milters", row.submission)) << where;
        EXPECT_TRUE(shows("non_smtpd_milters", row.local)) << where;
    }
}

TEST(Filters, SpfIsAskedLastAndOnlyWhileItIsOn)
{
    StoredSettings settings = With({{"enable_spf_check", "yes"}, {"spam_dnsbl_enable", "yes"}});
    settings.blocklists = {{"bl.example", "rbl_client"}};
    const std::string main = host::RenderPostfixMain(settings, {});
    EXPECT_NE(main.find("bl.example=127.0.[0..255].[0..255], "
                        "check_policy_service unix:private/policyd-spf\n"),
              std::string::npos)
        << main;
    EXPECT_NE(host::RenderPostfixMaster(settings, {}).find("\npolicyd-spf unix "),
              std::string::npos);

    settings.Set("enable_spf_check", "no");
    EXPECT_EQ(host::RenderPostfixMain(settings, {}).find("policyd-spf"), std::string::npos);
    EXPECT_EQ(host::RenderPostfixMaster(settings, {}).find("policyd-spf"), std::string::npos);
}

}  // namespace
