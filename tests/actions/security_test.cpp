// Security page.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kPrivate = "/var/packages/Mailvane/etc/dkim.key//dkim.private";
const std::string kPublic = "/var/packages/Mailvane/etc/dkim.key//dkim.public";

const std::string kMakeDirectory = "mkdir /var/packages/Mailvane/etc/dkim.key/ 0644";
const std::string kMakePrivate = "GenerateRSAPrivateKey " + kPrivate + " 1024";
const std::string kMakePublic = "GenerateRSAPublicKey " + kPrivate + " " + kPublic;
const std::string kReadPublic = "ReadRSAPublicKey " + kPublic;
const std::string kAskPublic = "HLIBCFileExist " + kPublic;

class Security : public ActionTest {
protected:
    void Prepare() override { world.publicKey = "QUJD\n"; }

    /// All settings of both services, with these changed.
    Json::Value Stored(const std::string& changes = "{}")
    {
        const std::string scanner = Compact(world.mailScanner.ToJson());
        return With(With(world.postfix.ToJson(), scanner), changes);
    }

    /// Saves what is stored, with these members changed.
    Reply Save(const std::string& changes = "{}")
    {
        return Write("save_security", Compact(Stored(changes)));
    }

    /// The load answers what is stored, the password masked, and these members.
    void ExpectLoad(const std::string& members)
    {
        Json::Value body = Stored(members);
        body["smtp_relay_password"] = "";
        EXPECT_EQ(Read("load_security").output, Answer(Compact(body)));
    }
};

/// The calls of a save without a new key pair.
std::string SaveCalls(const std::string& scannerPlan, const std::string& serverPlan)
{
    return Lines({"Postfix::LoadSettings", "MailScanner::LoadSettings", kAskPublic,
                  "MailScanner::SaveSettings [" + scannerPlan + "]",
                  "Postfix::SaveSettings [" + serverPlan + "]"});
}

const char kStays[] = "mailscanner service:restart";

}  // namespace

TEST_F(Security, LoadAnswersBothServicesAndNeverThePassword)
{
    world.mailScanner =
        Settings(Compact(With(world.mailScanner.ToJson(), R"({"recipient_limit": 1})")));
    ExpectLoad(R"({"success": true, "support_anti_virus": true, "recipient_limit": 1000})");
    EXPECT_EQ(world.Calls(), Lines({"Postfix::LoadSettings", "MailScanner::LoadSettings",
                                    "IsSupportAntiVirus", kAskPublic}));

    world.files[kPublic] = "";
    ExpectLoad(R"({"success": true, "support_anti_virus": true, "recipient_limit": 1000,
                   "dkim_public_key": "QUJD"})");
    world.Fail("ReadRSAPublicKey");
    ExpectLoad(R"({"success": false, "support_anti_virus": true, "recipient_limit": 1000})");
    world.ExpectLog(1828, "Failed to ReadRSAPublicKey");
    NextCase();

    world.livePidFiles = {"/var/run/hald_freshclam.pid"};
    world.mailScanner.Set(ParseJson(R"({"anti_virus_enable": true})"));
    ExpectLoad(R"({"success": true, "support_anti_virus": true,
                   "anti_virus_status": "fresh_clam"})");
    world.antiVirusSupport = false;
    ExpectLoad(R"({"success": true, "support_anti_virus": false})");

    world.antiVirusSupport = true;
    world.Fail("MailScanner::LoadSettings", 2);  // the status has its own look
    ExpectLoad(R"({"success": true, "support_anti_virus": true, "anti_virus_status": "error"})");
}

TEST_F(Security, NothingIsSavedWithoutTheFirstKeyPair)
{
    const std::string no = "Failed to ", made = no + "CreateDKIMKeyPair";
    const std::string read = no + "GetDKIMPublicKey", signing = R"({"enable_dkim": true})";
    const std::string page = "save_security", answer = SystemError();
    ExpectFailures({
        {page, kMakePrivate, {no + "GenerateRSAPrivateKey", made}, answer, signing},
        {page, kMakePublic, {no + "GenerateRSAPublicKey", made}, answer, signing},
        {page, kReadPublic, {no + "ReadRSAPublicKey", read}, answer, signing},
    });
}

TEST_F(Security, AFailingSaveTellsTheKeyPairThatItHasMade)
{
    const std::string failed = Answer(R"({"success": false, "dkim_public_key": "QUJD",
        "errinfo": {"sec": "common", "key": "error_system"}})");
    world.Fail("MailScanner::SaveSettings");
    EXPECT_EQ(Save(R"({"enable_dkim": true})").output, failed);
    EXPECT_EQ(world.Calls(),
              Lines({"Postfix::LoadSettings", "MailScanner::LoadSettings", kAskPublic,
                     kMakeDirectory, kMakePrivate, kMakePublic, kReadPublic,
                     "MailScanner::SaveSettings [" + std::string(kStays) + "]"}));
    NextCase();

    // A signer that is on already gets a missing pair too.
    world.postfix.Set(ParseJson(R"({"enable_dkim": true})"));
    world.Fail("Postfix::SaveSettings", 1);
    EXPECT_EQ(Save().output, failed);
    EXPECT_EQ(Save().output, Answer(kSuccess));
}

TEST_F(Security, SaveComparesEachMemberWithTheSettingOfItsName)
{
    const std::string start = "mailscanner service:start";
    const std::string server = "postfix service:restart";
    const struct {
        std::string name;
        Json::Value value;
        std::string scanner, server;
    } rows[] = {
        {"anti_virus_enable", true, start + ", anti-virus service:start", server},
        {"spam_enable", true, start, server},
        {"enable_dangerous_content_scan", true, start, server},
        {"enable_dkim", true, kStays, "dkim service:start, " + server},
        {"enable_dmarc", true, kStays, "dmarc service:start, " + server},
        {"reject_sasl_sender_rate_exceed", true, kStays, "memcache service:start, " + server},
        {"smtpd_sasl_sender_rate_limit", 7, kStays, "memcache service:restart, " + server},
        {"spam_dnsbl_enable", true, kStays, server},
        {"enable_spf_check", true, kStays, server},
        {"reject_spf_soft_fail", true, kStays, server},
        {"smtp_relay_password", "", kStays, ""},  // stored as it comes
        {"spam_tag_score", 6, kStays, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        world.files[kPublic] = "";
        Json::Value want = Stored();
        want[row.name] = row.value;
        EXPECT_EQ(Write("save_security", Compact(want)).output, Answer(kSuccess));
        EXPECT_EQ(Stored(), want);
        EXPECT_EQ(Save().output, Answer(kSuccess));
        const std::string again = row.name == "enable_dkim" ? "dkim service:restart" : "";
        EXPECT_EQ(world.Calls(), SaveCalls(row.scanner, row.server) + SaveCalls(kStays, again));
        NextCase();
    }
}

TEST_F(Security, SavePlansTheStepsOfEachChangeInOrder)
{
    const std::string restart = "mailscanner service:restart";
    const std::string server = "postfix service:restart";
    const struct {
        const char *stored, *wanted;
        std::string scanner, server;
    } rows[] = {
        {R"({"spam_enable": true})", R"({"spam_enable": false, "anti_virus_enable": true})",
         restart + ", anti-virus service:start", ""},
        {R"({"anti_virus_enable": true, "spam_enable": true})", R"({"anti_virus_enable": false})",
         restart + ", anti-virus service:stop", ""},
        {R"({"enable_dangerous_content_scan": true})",
         R"({"enable_dangerous_content_scan": false})", "mailscanner service:stop",
         server + ", requeue hold:"},
        {R"({"reject_sasl_sender_rate_exceed": true})", R"({"smtpd_sasl_sender_rate_limit": 1})",
         restart, "memcache service:restart, " + server},
        {R"({"smtpd_sasl_sender_rate_limit": 1})",
         R"({"reject_sasl_sender_rate_exceed": true, "smtpd_sasl_sender_rate_limit": 2})", restart,
         "memcache service:start, " + server},
        {"{}", R"({"enable_dkim": true, "enable_dmarc": true, "enable_spf_check": true,
                   "reject_sasl_sender_rate_exceed": true})",
         restart, "dkim service:start, dmarc service:start, memcache service:start, " + server},
        {R"({"enable_dkim": true, "enable_dmarc": true, "spam_dnsbl_enable": true})", "{}", restart,
         "dkim service:restart"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.stored) + " " + row.wanted);
        world.files[kPublic] = "";
        EXPECT_EQ(Save(row.stored).output, Answer(kSuccess));
        const std::size_t before = world.Calls().size();
        EXPECT_EQ(Save(row.wanted).output, Answer(kSuccess));
        EXPECT_EQ(world.Calls().substr(before), SaveCalls(row.scanner, row.server));
        NextCase();
    }
}

TEST_F(Security, SaveReadsMissingMembersAsOffAndKeepsWhatIsStored)
{
    world.mailScanner.Set(ParseJson(R"({"anti_virus_enable": true, "spam_enable": true})"));
    world.postfix.Set(ParseJson(R"({"enable_dkim": true, "enable_dmarc": true,
        "reject_sasl_sender_rate_exceed": true, "spam_dnsbl_enable": true})"));
    const Json::Value before = Stored();
    EXPECT_EQ(Write("save_security").output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              SaveCalls("mailscanner service:stop, anti-virus service:stop",
                        "dkim service:stop, dmarc service:stop, memcache service:stop, "
                        "postfix service:restart, requeue hold:"));
    EXPECT_EQ(Stored(), before);
}
