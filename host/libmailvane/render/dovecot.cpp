// Text of Dovecot's configuration: mailbox services, SMTP authentication, local delivery.
#include "host/libmailvane/render/dovecot.h"

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/junk_folder.h"

#include "host/libhaldsdk/account_lookup.h"

namespace host::render {

namespace {

const char kEverywhere[] = "*, ::\n";
const char kIpv4Alone[] = "*\n";

const char* YesNo(bool flag)
{
    return flag ? "yes" : "no";
}

/// The listener of one mailbox service; port 0 switches it off.
std::string Listener(const char* name, const settings::StoredSettings& settings, bool tls)
{
    const std::string prefix = name;
    const bool enabled = settings.Bool((prefix + "_enabled").c_str());
    const int port = enabled ? settings.Int((prefix + "_port").c_str()) : 0;
    return "  inet_listener " + prefix + " {\n    port = " + std::to_string(port) +
           (tls ? "\n    ssl = yes" : "") + "\n  }\n";
}

std::string MailboxServices(const settings::StoredSettings& settings)
{
    return "service imap-login {\n" + Listener("imap", settings, false) +
           Listener("imaps", settings, true) + "}\nservice pop3-login {\n" +
           Listener("pop3", settings, false) + Listener("pop3s", settings, true) + "}\n";
}

/// Restricts to root the sockets that Dovecot opens to all local users by default. Through these, a
/// user could deliver to any mailbox past all checks, or index others' mailboxes.
const char kClosedDoors[] =
    "service auth {\n  unix_listener auth-userdb {\n    mode = 0600\n  }\n}\n"
    "service dns-client {\n  unix_listener dns-client {\n    mode = 0600\n  }\n}\n"
    "service imap-urlauth-login {\n  unix_listener imap-urlauth {\n    mode = 0600\n  }\n}\n"
    "service indexer {\n  unix_listener indexer {\n    mode = 0600\n  }\n}\n"
    "service lmtp {\n  unix_listener lmtp {\n    mode = 0600\n  }\n}\n";

/// The sockets for authentication and delivery, which only Postfix may use.
const char kPostfixSockets[] =
    "service auth {\n"
    "  unix_listener /var/spool/postfix/private/auth {\n"
    "    mode = 0660\n    user = postfix\n    group = postfix\n  }\n}\n"
    "service lmtp {\n"
    "  unix_listener /var/spool/postfix/private/dovecot-lmtp {\n"
    "    mode = 0600\n    user = postfix\n    group = postfix\n  }\n}\n";

std::string Accounts()
{
    return "auth_mechanisms = plain login\n"
           "auth_username_format = %Ln\n"
           "passdb {\n  driver = pam\n}\n"
           "userdb {\n  driver = passwd\n}\n"
           "first_valid_uid = " +
           std::to_string(kFirstMailUser) + "\nlast_valid_uid = " + std::to_string(kLastMailUser) +
           "\nmail_location = maildir:~/Maildir\n"
           "recipient_delimiter = +\n"
           "namespace inbox {\n  inbox = yes\n}\n";
}

}  // namespace

bool ListensOnIpv6(const std::string& dovecotConfiguration)
{
    return dovecotConfiguration.find(std::string("\nlisten = ") + kEverywhere) != std::string::npos;
}

std::string RenderDovecot(const settings::StoredSettings& settings, const RenderContext& context)
{
    return "# Made by mailvane from its stored settings. Put what is your own into\n"
           "# /var/packages/Mailvane/etc/local.d/*.dovecot.conf.\n"
           "protocols = imap pop3 lmtp\n"
           "listen = " +
           std::string(context.hasIpv6 ? kEverywhere : kIpv4Alone) +
           "log_path = /var/log/mailvane/dovecot.log\n"
           "ssl = yes\n"
           "ssl_cert = <" +
           context.certificate + "\nssl_key = <" + context.privateKey +
           "\n"
           "ssl_min_protocol = TLSv1.2\n"
           "disable_plaintext_auth = " +
           YesNo(!settings.Bool("plaintext_auth")) + "\nmail_max_userip_connections = " +
           std::to_string(settings.Int("max_user_connections")) + "\n" + Accounts() +
           MailboxServices(settings) + kClosedDoors + kPostfixSockets +
           "protocol lmtp {\n"
           "  mail_plugins = $mail_plugins sieve\n"
           "  postmaster_address = postmaster@" +
           settings.MailDomain() +
           "\n}\n"
           // The script of the personal settings runs before the user's own; either may be missing.
           "plugin {\n  sieve = file:~/sieve;active=~/.dovecot.sieve\n"
           "  sieve_before = file:~/.mailvane.sieve\n}\n" +
           JunkFolderText(settings, context) +
           // Without the sum, a save would not notice that these have changed.
           "!include_try /var/packages/Mailvane/etc/local.d/*.dovecot.conf\n# checksum " +
           context.mailboxFragments + "\n";
}

}  // namespace host::render
