// What the rows of the settings say about restarts, against the files that each setting changes.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/render/settings_files.h"
#include "host/libmailvane/settings/settings_rows.h"
#include "tests/host/machine.h"

namespace {

using host::daemons::Daemon;
using host::daemons::HasWord;
using host::daemons::NextWord;
using host::generation::NextGeneration;
using host::settings::SettingRow;
using host::settings::SettingType;
using host::settings::StoredSettings;

/// Another value than that of the settings below.
std::string Other(const SettingRow& row, const std::string& spelled)
{
    if (row.value.type == SettingType::kBool) return spelled == "yes" ? "no" : "yes";
    if (row.value.type == SettingType::kInt) return std::to_string(row.value.lowest + 1);
    if (row.value.choiceCount > 0) return row.value.choices[1].value;
    return "another";
}

/// Settings with everything on, so that each setting shows in the files.
StoredSettings Everything()
{
    StoredSettings settings;
    host::settings::ForEachRow([&settings](const SettingRow& row) {
        if (row.value.type == SettingType::kBool) settings.Set(row.name.text, "yes");
    });
    settings.Set("account_type", "win");
    settings.blocklists.push_back({"zone.example.org", "rbl_client"});
    settings.Set("smtp_relay_server", "relay.example.org");
    settings.Set("smtp_relay_account", "me");
    settings.Set("smtp_relay_password", "secret");
    return settings;
}

/// What the plans of the pages restart besides: lists of other accounts come in force, the SMTP
/// server starts the checker of SPF.
std::set<std::string> ByPlan(const std::string& name)
{
    if (name == "account_type" || name == "acc_domain_name") return {"dovecot", "postfix"};
    if (name == "reject_spf_soft_fail") return {"postfix"};
    return {};
}

/// Whether a change of the setting changes files of the daemon, or what starts it.
bool Concerns(const Daemon& daemon, const SettingRow& row, const NextGeneration& next)
{
    std::string_view files = daemon.files;
    while (!files.empty()) {
        if (next.Changed(std::string(NextWord(files)))) return true;
    }
    return HasWord(daemon.switches, row.name.text) || HasWord(daemon.settings, row.name.text);
}

class Restarts : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        // With a certificate of its own, none has to be made.
        Write("/var/packages/Mailvane/etc/tls/cert.pem", "certificate");
        Write("/var/packages/Mailvane/etc/tls/key.pem", "key", 0600);
    }

    /// Puts settings in force, and adds for each setting the services that its change concerns.
    void AddConcerned(const StoredSettings& settings)
    {
        NextGeneration first;
        host::render::PutSettingsFiles(first, settings);
        ASSERT_TRUE(first.Complete());
        ASSERT_TRUE(first.Commit());
        host::settings::ForEachRow([&](const SettingRow& row) {
            StoredSettings changed = settings;
            changed.Set(row.name.text, Other(row, settings.Spelled(row.name.text)));
            NextGeneration next;
            host::render::PutSettingsFiles(next, changed);
            for (const Daemon& daemon : host::daemons::kDaemons) {
                if (Concerns(daemon, row, next)) {
                    concerned[row.name.text].emplace(daemon.service);
                }
            }
        });
    }

    std::map<std::string, std::set<std::string>> concerned;
};

TEST_F(Restarts, AreThoseOfTheServicesThatASettingConcerns)
{
    AddConcerned(Everything());
    AddConcerned(StoredSettings());
    host::settings::ForEachRow([this](const SettingRow& row) {
        std::set<std::string> wanted = ByPlan(row.name.text);
        wanted.merge(concerned[row.name.text]);
        std::set<std::string> stated;
        std::string_view words = row.restarts.services;
        while (!words.empty()) stated.emplace(NextWord(words));
        EXPECT_EQ(stated, wanted) << row.name.text;
    });
}

}  // namespace
