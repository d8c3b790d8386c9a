// The stored settings, from which the daemons' files are rendered.
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

/// One DNS blocklist: its zone (`server`) and what is looked up in it (`type`).
struct Blocklist {
    std::string server;
    std::string type;

    bool operator==(const Blocklist& other) const
    {
        return server == other.server && type == other.type;
    }
};

/// All settings, with values in stored spelling, and the lists of domains and blocklists. Other
/// keys of the file (such as always_bcc) are kept.
class StoredSettings {
public:
    /// Reads etc/mailvane.conf, etc/domains and etc/dnsbl. A setting that is missing or invalid
    /// (logged) has its default. Fails when etc/mailvane.conf cannot be read, or was cut.
    static Result<StoredSettings> Read();

    /// Reads the three files from another folder.
    static Result<StoredSettings> ReadFrom(const std::string& folder);

    /// All settings at their defaults.
    StoredSettings();

    /// The value of a setting. The name must be in the table, with this type.
    bool Bool(std::string_view name) const;
    int Int(const char* name) const;
    const std::string& Text(const char* name) const;
    /// The value in stored spelling, whatever its type.
    const std::string& Spelled(const std::string& name) const;
    /// Sets a value in stored spelling; it must be one that the setting accepts.
    void Set(const std::string& name, const std::string& spelled);

    /// The address that gets a copy of all mail; empty for none.
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

    /// The account combination.
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
