// Text of Postfix's main.cf and master.cf, and of the rules that follow from the settings.
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

/// Lines of main.cf in order, without those that the administrator sets.
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

    /// The same of a value that somebody has typed: what would be a parameter's name in it is text.
    void AddTyped(const std::string& name, const std::string& value)
    {
        std::string text;
        for (const char c : value) text.append(c == '$' ? 2 : 1, c);
        Add(name, text);
    }

    /// What the administrator sets a parameter to; empty when he does not set it.
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

/// Items of a restriction list, joined as Postfix wants them.
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

/// A table that is read as it is, of another type.
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

/// What is taken out of the header of a stranger's message. Results of checks, whatever they say
/// and whoever they claim to be from: what reads them later, the DMARC checker first of all, must
/// find those of this server only. By name alone, since comments and quotes hide anything else.
/// Signatures with what no honest one has in its domain, selector, identity or value: the verifier
/// writes these into its results as they are, where they would read as results themselves. And
/// results of a chain (ARC) without a number or of a server with an endless name, of which the
/// DMARC checker dies.
const char kForgedResults[] =
    R"x(pcre:{{/^Authentication-Results[ \t]*:/ IGNORE},)x"
    R"x({/^DKIM-Signature[ \t]*:(.*;)?\s*([ads]\s*=[^;]*[^;\s\w.-])x"
    R"x(|b\s*=[^;]*([^;\s\w+\/=]|[\w+\/]\s*=[=\s]*[\w+\/]))x"
    R"x(|i\s*=[^;]*([()"\\]|=(?!\s*3\s*D)))/ IGNORE},)x"
    R"x({/^ARC-Authentication-Results[ \t]*:(.*;)?\s*i\s*(;|\z|=[^;]*;[^;]{500})/ IGNORE}})x";

/// The administrator's own header checks hold for everybody; of a message that is attached the
/// results stay.
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
    // 1024 * 1024 * 2000 still fits into the 32 bits that Postfix has on small machines.
    const int limit = settings.Int("message_size_limit_mb") * 1024 * 1024;
    main.Add("message_size_limit", std::to_string(limit));
    main.Add("mailbox_size_limit", "0");
    main.Add("alias_maps", "");
    main.Add("alias_database", "");
    // Mail users are the accounts whose number has four digits at least, but for nobody.
    static_assert(kFirstMailUser == 1000);
    main.Add("local_recipient_maps",
             "pipemap:{unix:passwd.byname, "
             "pcre:{{/^[^:]*:[^:]*:(?!" +
                 std::to_string(kNobody) + ":)[0-9]{4,}:/ OK}}}");
    main.Add("local_transport", "lmtp:unix:private/dovecot-lmtp");
    main.Add("virtual_alias_maps", Map("discarded_recipients") + ", " + Map("always_bcc") + ", " +
                                       Map("aliases") + ", " + Map("roles"));
    // Aliases are expanded before they become a map; this must hold the largest of them.
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

/// The relay host as Postfix names it: no MX is looked up for it.
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

/// Answers outside of these say that the list refuses to answer, for example 127.255.255.254.
const char kListedAnswers[] = "=127.0.[0..255].[0..255]";

void AddBlocklists(Restrictions& restrictions, const settings::StoredSettings& settings)
{
    if (!settings.Bool("spam_dnsbl_enable")) return;

    for (const settings::Blocklist& entry : settings.blocklists) {
        restrictions.Add("reject_" + entry.type + " " + entry.server + kListedAnswers);
    }
}

/// What the access list of clients says: to an address, to its networks, to its host name.
void AddClientAccess(Restrictions& restrictions)
{
    restrictions.Add("check_client_access " + Map("client_addresses"))
        .Add("check_client_access " + Table("cidr", "client_networks"))
        .Add("check_client_access " + Map("client_access"));
}

/// What a recipient is refused for. Blocklists stand late: they cost a question to the DNS, and SPF
/// costs several and a program. A client or recipient that is let in by the access lists is asked
/// about neither; a sender is, since anybody can write any sender. None of this lets a stranger
/// relay: that is judged before, by restrictions of its own.
std::string RecipientRestrictions(const settings::StoredSettings& settings)
{
    Restrictions restrictions;
    restrictions.Add("check_recipient_access " + Map("black_recipients"))
        .Add("check_recipient_access " + Map("recipient_access"))
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
    // An alias is looked up by its name alone, whatever the mail domain.
    main.Add("smtpd_sender_login_maps", "pipemap:{pcre:${config_directory}/maps/own_names, " +
                                            Map("login_aliases") +
                                            "}, pcre:${config_directory}/maps/login_rule");
    main.Add("smtpd_helo_required", YesNo(settings.Bool("require_helo")));
    // A message ends with CR LF dot CR LF alone: what others relay as text must not become a second
    // message here. Programs of this machine, which may end it in their own way, can send anything
    // as it is.
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
    // Postfix complains about a parameter that no service uses.
    if (HasSubmission(settings)) {
        main.Add("submission_milters", SubmissionFilters(settings));
    }
    main.Add("non_smtpd_milters", LocalMailFilters(settings));
    // A policy program that does not work must not stop all mail.
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

/// One line of master.cf: an SMTP server on a port, with parameters of its own.
std::string SmtpService(int port, const std::vector<const char*>& options)
{
    std::string text = std::to_string(port) + " inet n - n - - smtpd\n";
    for (const char* option : options) text += std::string("  -o ") + option + "\n";
    return text;
}

/// The services that Postfix always needs. None is in a chroot, since logins, delivery and accounts
/// are reached by sockets and files outside of one.
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

/// What an address of a mail domain, with or without an extension, stands for.
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
        // Submission is for logins alone; a login must not cross the net in the clear unless the
        // administrator allows that.
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
