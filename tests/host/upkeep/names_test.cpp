// The DNS records that the mail domains need, and what name servers said about them.
#include <gtest/gtest.h>

#include "upkeep/names/wanted_records.h"

namespace {

using upkeep::RecordUse;
using upkeep::WantedRecord;
using Found = std::optional<std::vector<std::string>>;

host::settings::StoredSettings Settings()
{
    host::settings::StoredSettings settings;
    settings.Set("smtp_hostname", "mail.example.org");
    settings.Set("acc_domain_name", "example.org");
    settings.domains = {"second.example", "example.org"};
    return settings;
}

TEST(WantedRecords, TellTheServicesThatAreOn)
{
    host::settings::StoredSettings settings = Settings();
    EXPECT_EQ(upkeep::PublishedDomains(settings),
              (std::vector<std::string>{"example.org", "second.example"}));
    settings.Set("imaps_enabled", "yes");
    settings.Set("imaps_port", "1993");
    settings.Set("imap_enabled", "no");
    std::vector<std::string> services;
    for (const auto& record : upkeep::WantedRecords(settings, "second.example", "")) {
        EXPECT_NE(record.use, RecordUse::kDkim);  // there is no key
        if (record.use == RecordUse::kService) services.push_back(record.name + " " + record.value);
    }
    EXPECT_EQ(services,
              (std::vector<std::string>{"_submission._tcp.second.example 0 1 587 mail.example.org.",
                                        "_imaps._tcp.second.example 0 1 1993 mail.example.org."}));
    settings.Set("smtp_enabled", "no");
    for (const auto& record : upkeep::WantedRecords(settings, "example.org", "")) {
        EXPECT_EQ(record.name.find("_submission"), std::string::npos) << record.name;
    }
}

TEST(WantedRecords, StateByWhatWasFound)
{
    const struct {
        RecordUse use;
        const char* value;
        Found found;
        const char* state;
    } cases[] = {
        {RecordUse::kMx,
         "10 Mail.example.org.",
         {{"mail.example.org", "backup.example"}},
         "published"},
        {RecordUse::kMx, "10 mail.example.org.", {{"mail.example.org.evil"}}, "differs"},
        {RecordUse::kMx, "10 mail.example.org.", {{}}, "missing"},
        {RecordUse::kMx, "10 mail.example.org.", std::nullopt, "no answer"},
        {RecordUse::kSpf, "v=spf1 mx ~all", {{"v=spf1 -all", "other"}}, "published"},
        {RecordUse::kSpf, "v=spf1 mx ~all", {{"v=spf1 -all", "v=spf1 mx"}}, "differs"},
        {RecordUse::kSpf, "v=spf1 mx ~all", {{"other"}}, "missing"},
        {RecordUse::kDmarc, "v=DMARC1; p=none", {{"v=DMARC1; p=reject"}}, "published"},
        {RecordUse::kDkim, "v=DKIM1; k=rsa; p=AB+/=", {{"k=rsa; p=A\tB +/=; t=s"}}, "published"},
        {RecordUse::kDkim, "v=DKIM1; k=rsa; p=AB", {{"v=DKIM1; xp=AB"}}, "differs"},
        {RecordUse::kDkim, "v=DKIM1; k=rsa; p=AB", {{"p=", std::string("\0\xff;p", 4)}}, "differs"},
        {RecordUse::kService, "0 1 993 mail.example.org.", {{"993 mail.example.org"}}, "published"},
        {RecordUse::kService, "0 1 993 mail.example.org.", {{"0 "}}, "differs"},
    };
    for (const auto& one : cases) {
        const WantedRecord wanted{"example.org", one.use, "name", one.value};
        EXPECT_STREQ(StateOf(wanted, one.found), one.state) << one.value;
    }
}

}  // namespace
