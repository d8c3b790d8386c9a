// Keys for DKIM, and the texts of the filters' files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/postfix.h"
#include "platform/mailvane/rsa_key.h"
#include "tests/host/machine.h"
#include "tools/from_check/authors.h"

namespace {

namespace fs = std::filesystem;
using host::settings::StoredSettings;

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

    /// The private keys of all pairs that are kept.
    std::multiset<std::string> Kept() const
    {
        std::multiset<std::string> keys;
        for (const auto& entry : fs::directory_iterator(folder_)) {
            if (entry.is_directory() && !entry.is_symlink()) {
                keys.insert(Contents(entry.path() / "dkim.private"));
            }
        }
        return keys;
    }

    std::string folder_;
};

TEST_F(RsaKeys, ANewPairReplacesTheOldOneWhichIsKept)
{
    ASSERT_EQ(Generate(), 0);
    const std::string first = Pair();
    EXPECT_EQ(Mode(PrivateFile()), 0600U);
    EXPECT_EQ(Mode(PublicFile()), 0644U);

    ASSERT_EQ(Generate(), 0);
    EXPECT_NE(Pair(), "");
    EXPECT_NE(Pair(), first);
    EXPECT_EQ(Kept().size(), 2U);
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
    EXPECT_EQ(Kept().size(), 2U);
    EXPECT_EQ(Kept().count(privateKey), 1U);
}

TEST(Filters, StandInMainCfOnlyWhileTheirSwitchIsOn)
{
    const std::string dkim = "{ unix:/run/mailvane/opendkim/socket, default_action=tempfail }";
    const std::string dmarc = "{ unix:/run/mailvane/opendmarc/socket, default_action=tempfail }";
    const std::string from = "{ unix:private/from-check, default_action=tempfail }, ";
    const std::string scan =
        "{ unix:/run/mailvane/amavisd-milter/socket, default_action=tempfail }";
    const struct {
        std::string on, smtp, submission, local;
    } rows[] = {
        {"", "", "", ""},
        {"enable_dkim ", dkim, dkim, dkim},
        {"enable_dmarc ", from + dkim + ", " + dmarc, "",
         ""},  // the checker needs the verifier first
        // What the scanner changes must not break a signature, and what is refused needs no scan.
        {"enable_dkim enable_dmarc spam_enable ", from + dkim + ", " + dmarc + ", " + scan,
         scan + ", " + dkim, dkim},
    };
    for (const auto& row : rows) {
        StoredSettings settings;
        for (const char* name : {"enable_dkim", "enable_dmarc", "spam_enable"}) {
            settings.Set(name, row.on.find(name) == std::string::npos ? "no" : "yes");
        }
        const std::string main = host::render::RenderPostfixMain(settings, {});
        for (const auto& [name, value] : {std::pair("\nsmtpd_milters =", row.smtp),
                                          {"\nsubmission_milters =", row.submission},
                                          {"\nnon_smtpd_milters =", row.local}}) {
            const std::string line = name + (value.empty() ? "" : " " + value) + "\n";
            EXPECT_NE(main.find(line), std::string::npos) << row.on << line;
        }
        // An SMTP server that started before the save asks for as long as it runs.
        const std::string master = host::render::RenderPostfixMaster(settings, {});
        for (const char* service : {"policyd-spf", "from-check", "rate-policy"}) {
            EXPECT_NE(master.find("\n" + std::string(service) + " unix "), std::string::npos);
        }
    }
}

using FilterFiles = Machine;

TEST_F(FilterFiles, HaveTheSelectorAndTheFailuresThatAreRefused)
{
    StoredSettings settings;
    settings.Set("dkim_selector", "mine");
    for (const bool soft : {false, true}) {
        settings.Set("reject_spf_soft_fail", soft ? "yes" : "no");
        host::generation::NextGeneration next;
        host::render::PutFilterFiles(next, settings, {});
        EXPECT_NE(Contents(next.directory() + "/opendkim/KeyTable").find("%:mine:"),
                  std::string::npos);
        EXPECT_NE(
            Contents(next.directory() + "/spf/policyd-spf.conf")
                .find(soft ? "\nMail_From_reject = Softfail\n" : "\nMail_From_reject = Fail\n"),
            std::string::npos);
    }
}

TEST(Filters, SpfIsAskedLast)
{
    StoredSettings settings;
    settings.Set("enable_spf_check", "yes");
    settings.Set("spam_dnsbl_enable", "yes");
    settings.blocklists = {{"bl.example", "rbl_client"}};
    const std::string main = host::render::RenderPostfixMain(settings, {});
    EXPECT_NE(main.find("bl.example=127.0.[0..255].[0..255], "
                        "check_policy_service unix:private/policyd-spf\n"),
              std::string::npos)
        << main;
}

TEST(FromCheck, TellsOneDomainOrNothing)
{
    const std::string address = "b@c.d";
    const std::pair<std::string, const char*> rows[] = {
        {address, "c.d"},
        {"\n\tA B <" + address + " >\r\n", "c.d"},
        {"b@c.d (of (the) board), \"A, (B \\\" <\" <x@C.D>", "C.D"},
        {"=?utf-8?Q?=41?= [news]: x <b@c.d>", "c.d"},
        {"A :) <b@c.d>", "c.d"},
        {"b@\xc3\xa4-_1", "\xc3\xa4-_1"},
        {std::string(2048 - address.size(), ' ') + address, "c.d"},
        {std::string(2049 - address.size(), ' ') + address, ""},
        {"", ""},
        {"b", ""},
        {"@c.d", ""},
        {"b@", ""},
        {"b@c..d", ""},
        {"b@.c", ""},
        {"b@c.d.", ""},
        {"b@[192.0.2.1]", ""},
        {"b@x@c.d", ""},
        {"b@c.d x", ""},
        {"b@c.d\x01", ""},
        {"b@c.d, x@e.f", ""},
        {"b@c.d,", ""},
        {", b@c.d", ""},
        {"A, B <b@c.d>", ""},
        {"<b@c.d> <x@e.f>", ""},
        {"x@e.f> <b@c.d>", ""},
        {"x@e.f: <b@c.d>", ""},
        {"<@e.f:b@c.d>", ""},
        {"G: b@c.d;", ""},
        // What has no end, or ends in one place for some and in another for others.
        {"\"A <b@c.d>", ""},
        {"A\\\" <b@c.d>", ""},
        {"(A <b@c.d>", ""},
        {"(\") \"A, B\" <b@c.d>", ""},
        {"(\\) <b@c.d>", ""},
        {"[A <b@c.d>", ""},
        {"[ \"] <x@e.f> \" ] <b@c.d>", ""},
        {"[A, B] <b@c.d>", ""},
    };
    for (const auto& [value, want] : rows) {
        EXPECT_EQ(from_check::DomainOfAuthors(value), want) << value;
    }
}

}  // namespace
