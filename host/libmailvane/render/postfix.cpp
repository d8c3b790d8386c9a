// Texts of Postfix's main.cf and master.cf, and of the maps made from settings.
#include "host/libmailvane/render/postfix.h"

#include <map>
#include <sstream>
#include <vector>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/render/alias_expansion.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/settings/derived_settings.h"

namespace host::render {

namespace {

const char kHeader[] =
    "# Made by mailvane from its stored settings. Put what is your own into\n"
    "# /var/packages/Mailvane/etc/local.d/.\n";

/// The lines of main.cf in order, without parameters that the administrator's fragment sets.
class Parameters {
public:
    explicit Parameters(const std::string& fragment)
    {
        std::istringstream lines(fragment);
        std::string name;
        for (std::string line; std::getline(lines, line);) {
            const auto start = line.find_first_not_of(" \t");
            if (start == std::string::npos || line[start] == '#') continue;
            if (start == 0) name = line.substr(0, line.find_first_of(" \t="));
            std::string& value = own_[name];
            if (start == 0) {
                value = line.substr(line.find('=') + 1);
            } else {
                value += line;
            }
        }
    }

    void Add(const std::string& name, const std::string& value)
    {
        if (own_.count(name) == 0) text_ += name + " =" + (value.empty() ? "" : " ") + value + "\n";
    }

    /// Adds a parameter with a value that an administrator typed: `$` is a dollar sign in it.
    void AddTyped(const std::string& name, const std::string& value)
    {
        std::string text;
        for (const char c : value) text.append(c == '$' ? 2 : 1, c);
        Add(name, text);
    }

    /// The administrator's value of a parameter; empty when the fragment does not set it.
    std::string Own(const std::string& name) const
    {
        const auto own = own_.find(name);
        return own == own_.end() ? "" : own->second;
    }

    const std::string& text() const { return text_; }

private:
    std::map<std::string, std::string> own_;
    std::string text_;
};

/// A restriction list: items separated by commas.
class Restrictions {
public:
    Restrictions& Add(const std::string& item)
    {
        text_ += (text_.empty() ? "" : ", ") + item;
        return *this;
    }

    Restrictions& AddIf(bool wanted, const std::string& item) { return wanted ? Add(item) : *this; }

    const std::string& text() const { return text_; }

private:
    std::string text_;
};

std::string Map(const std::string& name)
{
    return "cdb:${config_directory}/maps/" + name;
}

/// A table of another type that Postfix reads without compiling.
std::string Table(const char* type, const std::string& name)
{
    return std::string(type) + ":${config_directory}/maps/" + name;
}

const char* YesNo(bool flag)
{
    return flag ? "yes" : "no";
}

void AddIdentity(Parameters& main, const settings::StoredSettings& settings,
                 const RenderContext& context)
{
    std::string destinations = "localhost";
    for (const std::string& domain : settings::MailDomains(settings)) destinations += ", " + domain;

    main.Add("compatibility_level", "3.6");
    main.Add("maillog_file", "/var/log/mailvane/maillog");
    // A short id is used again within the day, and the mail log takes two messages for one.
    main.Add("enable_long_queue_ids", "yes");
    main.Add("inet_interfaces", "all");
    main.Add("inet_protocols", context.hasIpv6 ? "all" : "ipv4");
    main.AddTyped("myhostname", settings.Text("smtp_hostname"));
    main.AddTyped("myorigin", settings.MailDomain());
    main.AddTyped("mydestination", destinations);
    main.Add("parent_domain_matches_subdomains", "");
    main.Add("mynetworks_style", "host");
    main.Add("biff", "no");
    main.Add("append_dot_mydomain", "no");
    main.Add("recipient_delimiter", "+");
}

/// Header lines removed from mail of unknown clients, since the DMARC checker and others would
/// trust them: results of checks, by name alone, since comments can disguise the rest; DKIM
/// signatures with odd characters, which the verifier copies into its results, where they could
/// read as results; and ARC results without a number or with a very long server name, which crash
/// the DMARC checker.
const char kForgedResults[] =
    R"x(pcre:{{/^Authentication-Results[ \t]*:/ IGNORE},)x"
    R"x({/^DKIM-Signature[ \t]*:(.*;)?\s*([ads]\s*=[^;]*[^;\s\w.-])x"
    R"x(|b\s*=[^;]*([^;\s\w+\/=]|[\w+\/]\s*=[=\s]*[\w+\/]))x"
    R"x(|i\s*=[^;]*([()"\\]|=(?!\s*3\s*D)))/ IGNORE},)x"
    R"x({/^ARC-Authentication-Results[ \t]*:(.*;)?\s*i\s*(;|\z|=[^;]*;[^;]{500})/ IGNORE}})x";

/// Adds the header checks. Those of the administrator apply to all mail, also inside attached
/// messages; results of checks inside attached messages stay.
void AddHeaderChecks(Parameters& main)
{
    const std::string own = main.Own("header_checks");
    main.Add("stranger_header_checks", own.empty() ? kForgedResults : kForgedResults + ("," + own));
    main.Add("nested_header_checks", own);
}

/// Stands for the address that gets a copy of all mail.
const char kAlwaysCopied[] = "always-copied@mailvane.invalid";

void AddDelivery(Parameters& main, const settings::StoredSettings& settings)
{
    // The setting's largest value, 1024 * 1024 * 2000, fits into the 32 bits of a small machine.
    const int limit = settings.Int("message_size_limit_mb") * 1024 * 1024;
    main.Add("message_size_limit", std::to_string(limit));
    main.Add("mailbox_size_limit", "0");
    main.Add("alias_maps", "");
    main.Add("alias_database", "");
    // Mail users are accounts with a user id of at least four digits, except `nobody`.
    static_assert(kFirstMailUser == 1000);
    main.Add("local_recipient_maps",
             "pipemap:{unix:passwd.byname, "
             "pcre:{{/^[^:]*:[^:]*:(?!" +
                 std::to_string(kNobody) + ":)[0-9]{4,}:/ OK}}}");
    main.Add("local_transport", "lmtp:unix:private/dovecot-lmtp");
    main.Add("virtual_alias_maps", Map("discarded_recipients") + ", " + Map("always_bcc") + ", " +
                                       Map("aliases") + ", " + Map("roles"));
    // The maps hold aliases already expanded; the limit must allow for the largest.
    main.Add("virtual_alias_expansion_limit", std::to_string(kMostRecipientsOfAlias));
    main.Add("transport_maps", Map("recipient_transport"));
    main.Add("mime_header_checks", Table("pcre", "attachment_checks"));
    AddHeaderChecks(main);
    main.Add("sender_bcc_maps", Map("sender_bcc"));
    main.Add("recipient_bcc_maps", Map("recipient_bcc"));
    // Everybody reads this file: where the copies go stands in a map.
    main.Add("always_bcc", settings.AlwaysBcc().empty() ? "" : kAlwaysCopied);
}

void AddTls(Parameters& main, const settings::StoredSettings& settings,
            const RenderContext& context)
{
    main.Add("smtpd_tls_cert_file", context.certificate);
    main.Add("smtpd_tls_key_file", context.privateKey);
    main.Add("smtpd_tls_security_level", "may");
    main.Add("smtpd_tls_auth_only", YesNo(!settings.Bool("plaintext_auth")));
    main.Add("smtpd_tls_mandatory_protocols", ">=TLSv1.2");
    main.Add("smtpd_sasl_type", "dovecot");
    main.Add("smtpd_sasl_path", "private/auth");
    main.Add("smtpd_sasl_auth_enable", "yes");
    main.Add("smtpd_sasl_security_options", "noanonymous");
}

/// The service that shows the queue. The mail commands of users read the distribution's files and
/// look for one of another name.
const char kQueueService[] = "mailvane-showq";

/// What users of this machine may ask: who has a mailbox is told to nobody, what waits to root.
void AddDiscretion(Parameters& main)
{
    main.Add("disable_vrfy_command", "yes");
    main.Add("showq_service_name", kQueueService);
    main.Add("authorized_mailq_users", "root");
    main.Add("authorized_flush_users", "root");
}

/// The relay host in Postfix's syntax; brackets prevent a lookup of its MX.
std::string RelayHost(const settings::StoredSettings& settings)
{
    const std::string& server = settings.Text("smtp_relay_server");
    if (!settings.Bool("smtp_relay_enabled") || server.empty()) return "";

    const std::string host = server.front() == '[' ? server : "[" + server + "]";
    return host + ":" + std::to_string(settings.Int("smtp_relay_port"));
}

void AddRelay(Parameters& main, const settings::StoredSettings& settings)
{
    const std::string relay = RelayHost(settings);
    const bool mustEncrypt = !relay.empty() && settings.Bool("smtp_relay_tls");
    const bool logsIn = !relay.empty() && settings.Bool("smtp_relay_auth");
    const bool verified = mustEncrypt && logsIn && settings.RelayIsVerified();
    main.AddTyped("relayhost", relay);
    main.Add("smtp_tls_security_level", verified ? "secure" : mustEncrypt ? "encrypt" : "may");
    // Who has the name of the relay host is for the authorities of the distribution to say.
    main.Add("smtp_tls_CAfile", verified ? kAuthorities : "");
    main.Add("smtp_sasl_auth_enable", YesNo(logsIn));
    main.Add("smtp_sasl_password_maps", Map("relay_password"));
    main.Add("smtp_sasl_security_options", "noanonymous");
    main.Add("smtp_sasl_tls_security_options", "noanonymous");
}

/// The answers that mean "listed". Others, such as 127.255.255.254, mean that the query was
/// refused.
const char kListedAnswers[] = "=127.0.[0..255].[0..255]";

void AddBlocklists(Restrictions& restrictions, const settings::StoredSettings& settings)
{
    if (!settings.Bool("spam_dnsbl_enable")) return;

    for (const settings::Blocklist& entry : settings.blocklists) {
        restrictions.Add("reject_" + entry.type + " " + entry.server + kListedAnswers);
    }
}

/// Adds the access lists of clients: by address, by network, by host name.
void AddClientAccess(Restrictions& restrictions)
{
    restrictions.Add("check_client_access " + Map("client_addresses"))
        .Add("check_client_access " + Table("cidr", "client_networks"))
        .Add("check_client_access " + Map("client_access"));
}

/// The restrictions for recipients. DNS blocklists come late since they cost a query, SPF last
/// since it costs several and a process. Clients and recipients permitted by an access list skip
/// both; senders do not, since anybody can forge one. None of this permits relaying:
/// smtpd_relay_restrictions decide that.
std::string RecipientRestrictions(const settings::StoredSettings& settings)
{
    Restrictions restrictions;
    restrictions.Add("check_recipient_access " + Map("black_recipients"))
        .Add("check_recipient_access " + Map("recipient_access"))
        .Add("check_recipient_access " + Map("waiting_aliases"))
        .Add("permit_mynetworks")
        .Add("permit_sasl_authenticated");
    if (settings.Bool("spam_dnsbl_enable") || settings.Bool("enable_spf_check")) {
        AddClientAccess(restrictions);
    }
    AddBlocklists(restrictions, settings);
    restrictions.AddIf(settings.Bool("enable_spf_check"), kAskSpf);
    return restrictions.text();
}

/// What a sender is refused for, whoever it is.
std::string SenderRestrictions(const settings::StoredSettings& settings)
{
    return Restrictions()
        .Add("check_sender_access " + Map("black_senders"))
        .Add("check_sender_access " + Map("sender_access"))
        .AddIf(settings.Bool("reject_non_fqdn_sender"), "reject_non_fqdn_sender")
        .AddIf(settings.Bool("reject_unknown_sender_domain"), "reject_unknown_sender_domain")
        .text();
}

bool HasSubmission(const settings::StoredSettings& settings)
{
    return settings.Bool("smtp_ssl_enabled") || settings.Bool("smtp_tls_enabled");
}

/// Whether logins are taken on the port of other servers. That speaks what TLS the others speak, so
/// that a password would not be safe there; where it is the only port, it is another matter.
bool SmtpPortTakesLogins(const settings::StoredSettings& settings)
{
    return settings.SmtpPortTakesLogins() || settings.Bool("plaintext_auth") ||
           !HasSubmission(settings);
}

/// The last look at a message before its text. Who has neither a login nor a place on the list of
/// clients may be asked for proof of a sender that is this server's.
void AddDataRestrictions(Parameters& main, const settings::StoredSettings& settings,
                         const RenderContext& context)
{
    Restrictions restrictions;
    restrictions.AddIf(settings.Bool("reject_unauth_pipelining"), "reject_unauth_pipelining");
    if (context.provesOwnSenders) {
        restrictions.Add("permit_mynetworks").Add("permit_sasl_authenticated");
        AddClientAccess(restrictions);
        restrictions.Add("check_sender_access " + Table("pcre", "own_senders"));
        main.Add("smtpd_restriction_classes", "own_senders");
        main.Add("own_senders", kAskOwnSenders);
    }
    main.Add("smtpd_data_restrictions", restrictions.text());
}

void AddRestrictions(Parameters& main, const settings::StoredSettings& settings,
                     const RenderContext& context)
{
    const bool ownProgramsRelay = !settings.Bool("smtp_auth_required");
    // The owners of an alias are found by its name alone, in every mail domain.
    main.Add("smtpd_sender_login_maps", "pipemap:{pcre:${config_directory}/maps/own_names, " +
                                            Map("login_aliases") +
                                            "}, pcre:${config_directory}/maps/login_rule");
    main.Add("smtpd_helo_required", YesNo(settings.Bool("require_helo")));
    // Only CR LF . CR LF ends a message: with a bare LF accepted too, text relayed by another
    // server could become a second message here (SMTP smuggling). Local programs may use a bare LF;
    // they could send anything anyway.
    main.Add("smtpd_forbid_bare_newline", "normalize");
    main.Add("smtpd_forbid_bare_newline_exclusions", "$mynetworks");
    Restrictions client;
    client.Add("check_client_access " + Table("cidr", "black_clients"));
    AddClientAccess(client);
    main.Add("smtpd_client_restrictions",
             client.Add("permit_mynetworks")
                 .Add("permit_sasl_authenticated")
                 .AddIf(settings.Bool("reject_unknown_client_hostname"),
                        "reject_unknown_client_hostname")
                 .text());
    main.Add("smtpd_helo_restrictions",
             Restrictions()
                 .Add("permit_sasl_authenticated")
                 .AddIf(settings.Bool("reject_invalid_helo"), "reject_invalid_helo_hostname")
                 .text());
    const std::string senders = SenderRestrictions(settings);
    main.Add("smtpd_sender_restrictions", Restrictions()
                                              .AddIf(settings.Bool("restrict_sender"),
                                                     "reject_authenticated_sender_login_mismatch")
                                              .Add(senders)
                                              .text());
    if (!SmtpPortTakesLogins(settings)) main.Add("stranger_sender_restrictions", senders);
    main.Add("smtpd_relay_restrictions", Restrictions()
                                             .AddIf(ownProgramsRelay, "permit_mynetworks")
                                             .Add("permit_sasl_authenticated")
                                             .Add("reject_unauth_destination")
                                             .text());
    main.Add("smtpd_recipient_restrictions", RecipientRestrictions(settings));
    AddDataRestrictions(main, settings, context);
    if (daemons::Runs(daemons::kMemcached, settings))
        main.Add("smtpd_end_of_data_restrictions", kAskRatePolicy);
}

void AddFilters(Parameters& main, const settings::StoredSettings& settings)
{
    main.Add("smtpd_milters", SmtpFilters(settings));
    // Postfix warns about a parameter that no service uses.
    if (HasSubmission(settings)) {
        main.Add("submission_milters", SubmissionFilters(settings));
    }
    main.Add("non_smtpd_milters", LocalMailFilters(settings));
    // Mail is accepted when a policy program fails, so that a fault there does not stop all mail.
    main.Add("smtpd_policy_service_default_action", "DUNNO");
    for (const char* service : {"policyd-spf", "own-senders", "from-check", "rate-policy"}) {
        main.Add(std::string(service) + "_time_limit", "3600");
    }
}

void AddLimits(Parameters& main, const settings::StoredSettings& settings)
{
    main.Add("smtpd_client_connection_rate_limit",
             std::to_string(settings.Int("client_connection_rate_limit")));
    main.Add("smtpd_client_message_rate_limit",
             std::to_string(settings.Int("client_message_rate_limit")));
    main.Add("smtpd_recipient_limit", std::to_string(settings.Int("recipient_limit")));
}

/// A service of master.cf: an SMTP server on a port, with its own parameters.
std::string SmtpService(int port, const std::vector<const char*>& options)
{
    std::string text = std::to_string(port) + " inet n - n - - smtpd\n";
    for (const char* option : options) text += std::string("  -o ") + option + "\n";
    return text;
}

/// The services that Postfix always needs. None runs in a chroot, since they use sockets and files
/// for logins, delivery and accounts outside of it.
const char kInnerServices[] =
    "pickup unix n - n 60 1 pickup\n"
    "cleanup unix n - n - 0 cleanup\n"
    "stranger-cleanup unix n - n - 0 cleanup\n"
    "  -o header_checks=$stranger_header_checks\n"
    "qmgr unix n - n 300 1 qmgr\n"
    "tlsmgr unix - - n 1000? 1 tlsmgr\n"
    "rewrite unix - - n - - trivial-rewrite\n"
    "bounce unix - - n - 0 bounce\n"
    "defer unix - - n - 0 bounce\n"
    "trace unix - - n - 0 bounce\n"
    "verify unix - - n - 1 verify\n"
    "flush unix n - n 1000? 0 flush\n"
    "proxymap unix - - n - - proxymap\n"
    "proxywrite unix - - n - 1 proxymap\n"
    "smtp unix - - n - - smtp\n"
    "relay unix - - n - - smtp\n"
    "  -o syslog_name=postfix/$service_name\n"
    "error unix - - n - - error\n"
    "retry unix - - n - - error\n"
    "discard unix - - n - - discard\n"
    "lmtp unix - - n - - lmtp\n"
    "anvil unix - - n - 1 anvil\n"
    "scache unix - - n - 1 scache\n"
    "postlog unix-dgram n - n - 1 postlogd\n";

std::string EscapedForPattern(const std::string& domain)
{
    std::string pattern;
    for (const char c : domain) {
        if (c == '.') pattern += '\\';
        pattern += c;
    }
    return pattern;
}

/// The mail domains, as the alternatives of a pattern.
std::string OwnDomains(const settings::StoredSettings& settings)
{
    std::string domains;
    for (const std::string& domain : settings::MailDomains(settings)) {
        domains += (domains.empty() ? "" : "|") + EscapedForPattern(domain);
    }
    return domains;
}

/// The rule that maps an address of a mail domain, with or without an extension, to `result`.
std::string OwnAddressRule(const settings::StoredSettings& settings, const std::string& result)
{
    return "/^([^@+]+)(\\+[^@]*)?@(" + OwnDomains(settings) + ")$/ " + result + "\n";
}

}  // namespace

std::string RenderPostfixMain(const settings::StoredSettings& settings,
                              const RenderContext& context)
{
    Parameters main(context.mainFragment);
    AddIdentity(main, settings, context);
    AddDelivery(main, settings);
    AddTls(main, settings, context);
    AddDiscretion(main);
    AddRelay(main, settings);
    AddRestrictions(main, settings, context);
    AddFilters(main, settings);
    AddLimits(main, settings);
    return kHeader + main.text() + context.mainFragment;
}

std::string RenderPostfixMaster(const settings::StoredSettings& settings,
                                const RenderContext& context)
{
    std::string text = kHeader;
    std::vector<const char*> strangers = {"cleanup_service_name=stranger-cleanup"};
    if (!SmtpPortTakesLogins(settings)) {
        strangers.push_back("smtpd_sasl_auth_enable=no");
        strangers.push_back("smtpd_sender_restrictions=$stranger_sender_restrictions");
    } else if (!settings.SmtpPortTakesLogins() && !settings.Bool("plaintext_auth")) {
        strangers.push_back("smtpd_tls_protocols=>=TLSv1.2");
    }
    text += SmtpService(settings.Int("smtp_port"), strangers);
    if (settings.Bool("smtp_ssl_enabled")) {
        text += SmtpService(settings.Int("smtps_port"),
                            {"syslog_name=postfix/smtps", "smtpd_tls_wrappermode=yes",
                             "smtpd_milters=$submission_milters",
                             "smtpd_relay_restrictions=permit_sasl_authenticated,reject"});
    }
    if (settings.Bool("smtp_tls_enabled")) {
        // Submission requires a login, and TLS unless the administrator allows logins in clear
        // text.
        text += SmtpService(settings.Int("smtp_tls_port"),
                            {"syslog_name=postfix/submission", "smtpd_milters=$submission_milters",
                             settings.Bool("plaintext_auth") ? "smtpd_tls_security_level=may"
                                                             : "smtpd_tls_security_level=encrypt",
                             "smtpd_relay_restrictions=permit_sasl_authenticated,reject"});
    }
    text += std::string(kQueueService) + " unix n - n - - showq\n";
    return text + kInnerServices + FilterServices(settings) + context.masterFragment;
}

std::string RenderAlwaysBcc(const settings::StoredSettings& settings)
{
    const std::string address = settings.AlwaysBcc();
    return address.empty() ? "" : kAlwaysCopied + (" " + address) + "\n";
}

std::string RenderRelayPassword(const settings::StoredSettings& settings)
{
    const std::string relay = RelayHost(settings);
    if (relay.empty() || !settings.Bool("smtp_relay_auth")) return "";

    return relay + " " + settings.Text("smtp_relay_account") + ":" +
           settings.Text("smtp_relay_password") + "\n";
}

std::string LoginPrefix(const settings::StoredSettings& settings)
{
    const std::string& domain = settings.Text("win_domain_short_name");
    return settings.Text("account_type") != "win" || domain.empty() ? "" : domain + "\\";
}

std::string RenderOwnNames(const settings::StoredSettings& settings)
{
    return OwnAddressRule(settings, "${1}");
}

std::string RenderLoginRule(const settings::StoredSettings& settings)
{
    const std::string prefix = LoginPrefix(settings);
    return OwnAddressRule(settings, prefix.empty() ? "${1}" : "${1}, " + prefix + "${1}");
}

std::string RenderOwnSenders(const settings::StoredSettings& settings)
{
    return "/@(" + OwnDomains(settings) + ")$/ own_senders\n";
}

std::string RenderRoles(const RenderContext& context)
{
    if (context.administrator.empty()) return "";

    std::string text;
    for (const char* role : kRoles) {
        text += std::string(role) + " " + context.administrator + "\n";
    }
    return text;
}

}  // namespace host::render
