// The stored settings as a whole: what the daemons' files are rendered from.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::settings {

/// One DNS blocklist: zone and kind.
struct Blocklist {
    std::string server;
    std::string type;

    bool operator==(const Blocklist& other) const
    {
        return server == other.server && type == other.type;
    }
};

/// All settings with their values spelled as they are stored, plus the lists that belong to them.
/// Keys of the file that are no settings (always_bcc among them) are kept.
class StoredSettings {
public:
    /// Reads etc/mailvane.conf, etc/domains and etc/dnsbl. A setting that the file lacks, or has
    /// with a value it cannot take (logged), has its default. Fails when the settings file cannot
    /// be read.
    static Result<StoredSettings> Read();

    /// The same of the three files in another folder.
    static Result<StoredSettings> ReadFrom(const std::string& folder);

    /// The defaults.
    StoredSettings();

    /// Values by name; the name must be one of the table, of that type.
    bool Bool(std::string_view name) const;
    int Int(const char* name) const;
    const std::string& Text(const char* name) const;
    /// The value as it is stored, whatever its type.
    const std::string& Spelled(const std::string& name) const;
    /// Sets a value spelled as it is stored; it must be one that the setting accepts.
    void Set(const std::string& name, const std::string& spelled);

    /// Where a copy of all mail goes; empty for nowhere.
    std::string AlwaysBcc() const;
    void SetAlwaysBcc(const std::string& address);

    /// Whether the relay host must prove its name before it is told the login. It need not where
    /// the login was stored before that was asked for, until the relay is saved again.
    bool RelayIsVerified() const;
    void SetRelayIsVerified();

    /// Whether logins are taken on the port of other servers as well, as before there were
    /// submission ports; a first installation says no.
    bool SmtpPortTakesLogins() const;
    void SetSmtpPortTakesLogins();

    /// Whose accounts are served.
    AccountCombination Account() const;

    /// The mail domain of the accounts.
    const std::string& MailDomain() const;

    /// The texts of the stored files.
    std::string SettingsText() const;
    std::string DomainsText() const;
    std::string BlocklistsText() const;

    std::list<std::string> domains;
    std::list<Blocklist> blocklists;

private:
    KeyValueFile file_;
    std::unordered_map<std::string, std::string> values_;
};

}  // namespace host::settings
