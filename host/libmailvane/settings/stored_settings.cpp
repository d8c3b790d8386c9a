// The stored settings: etc/mailvane.conf, etc/domains (one a line) and etc/dnsbl (zone and kind a
// line).
#include "host/libmailvane/settings/stored_settings.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/settings/settings_table.h"
#include "host/libmailvane/system/manifest.h"

namespace host::settings {

namespace {

using StoredValues = std::unordered_map<std::string, std::string>;

const char kEndLine[] = "# all settings are above\n";
const char kAlwaysBccKey[] = "always_bcc";
const char kRelayIsVerifiedKey[] = "smtp_relay_verified";
const char kSmtpPortLoginsKey[] = "smtp_port_logins";

std::string ReadIfThere(const std::string& path)
{
    std::string text;
    if (!ReadFile(path, text)) text.clear();
    return text;
}

/// Fails when a file in a generation was cut: its text lacks settings and its last line, and is not
/// what was written there. One of an earlier version may lack settings and this line, too.
Result<void> CheckThatIsWhole(const std::string& path, const std::string& text,
                              const StoredValues& stored)
{
    if (text.find(kEndLine) != text.npos) return {};
    std::error_code error;
    const auto file = std::filesystem::canonical(path, error);
    if (error) return {};
    for (const SettingInfo& setting : AllSettings()) {
        if (stored.count(setting.name) != 0) continue;
        if (!system::DiffersFromManifest(file.parent_path().string(), file.filename().string(),
                                         text)) {
            return {};
        }
        return Reason{ReasonCode::kDamaged, Subject::List("settings"),
                      path + " is damaged, it lacks " + setting.name +
                          "; mailvanectl rollback brings the settings of before back"};
    }
    return {};
}

}  // namespace

StoredSettings::StoredSettings() : file_(KeyValueFile::Parse(""))
{
    for (const SettingInfo& setting : AllSettings()) values_[setting.name] = setting.fallback;
}

Result<StoredSettings> StoredSettings::Read()
{
    return ReadFrom(PackagePath("etc"));
}

Result<StoredSettings> StoredSettings::ReadFrom(const std::string& folder)
{
    const std::string path = folder + "/mailvane.conf";
    std::string text;
    if (!ReadFile(path, text)) {
        return SystemReason(Subject::List("settings"), "cannot read the settings");
    }

    StoredSettings settings;
    settings.file_ = KeyValueFile::Parse(text);
    const StoredValues stored = settings.file_.Values();
    Result<void> whole = CheckThatIsWhole(path, text, stored);
    if (!whole) return std::move(whole).reason();
    for (const SettingInfo& setting : AllSettings()) {
        const auto value = stored.find(setting.name);
        if (value == stored.end()) continue;

        if (SettingAccepts(setting, value->second)) {
            settings.values_[setting.name] = value->second;
        } else {
            Log(LOG_WARNING, "setting %s has a value it cannot take, its default is used",
                setting.name);
        }
    }

    std::istringstream domains(ReadIfThere(folder + "/domains"));
    for (std::string domain; std::getline(domains, domain);) settings.domains.push_back(domain);
    std::istringstream blocklists(ReadIfThere(folder + "/dnsbl"));
    for (Blocklist entry; blocklists >> entry.server >> entry.type;) {
        settings.blocklists.push_back(entry);
    }
    return settings;
}

bool StoredSettings::Bool(std::string_view name) const
{
    return values_.at(std::string(name)) == "yes";
}

int StoredSettings::Int(const char* name) const
{
    return static_cast<int>(std::strtol(values_.at(name).c_str(), nullptr, 10));
}

const std::string& StoredSettings::Text(const char* name) const
{
    return values_.at(name);
}

const std::string& StoredSettings::Spelled(const std::string& name) const
{
    return values_.at(name);
}

void StoredSettings::Set(const std::string& name, const std::string& spelled)
{
    values_.at(name) = spelled;
}

std::string StoredSettings::AlwaysBcc() const
{
    const std::string address = file_.Get(kAlwaysBccKey).value_or("");
    return names::IsMailAddress(address) ? address : "";
}

void StoredSettings::SetAlwaysBcc(const std::string& address)
{
    file_.Set(kAlwaysBccKey, address);
}

bool StoredSettings::RelayIsVerified() const
{
    return file_.Get(kRelayIsVerifiedKey) == "yes";
}

void StoredSettings::SetRelayIsVerified()
{
    file_.Set(kRelayIsVerifiedKey, "yes");
}

bool StoredSettings::SmtpPortTakesLogins() const
{
    return file_.Get(kSmtpPortLoginsKey) != "no";
}

void StoredSettings::SetSmtpPortTakesLogins()
{
    file_.Set(kSmtpPortLoginsKey, "yes");
}

AccountCombination StoredSettings::Account() const
{
    return {Text("account_type"), Text("acc_domain_name")};
}

const std::string& StoredSettings::MailDomain() const
{
    const std::string& domain = Text("acc_domain_name");
    return domain.empty() ? Text("smtp_hostname") : domain;
}

std::string StoredSettings::SettingsText() const
{
    KeyValueFile file = file_;
    for (const SettingInfo& setting : AllSettings()) {
        file.Set(setting.name, values_.at(setting.name));
    }
    std::string text = file.Text();
    const auto end = text.find(kEndLine);
    if (end != text.npos) text.erase(end, sizeof(kEndLine) - 1);
    return text + kEndLine;
}

std::string StoredSettings::DomainsText() const
{
    std::string text;
    for (const std::string& domain : domains) text += domain + "\n";
    return text;
}

std::string StoredSettings::BlocklistsText() const
{
    std::string text;
    for (const Blocklist& entry : blocklists) text += entry.server + " " + entry.type + "\n";
    return text;
}

}  // namespace host::settings
