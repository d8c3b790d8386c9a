// Text of Postfix's main.cf.
#include <string>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libmailvane/render/alias_expansion.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/postfix.h"
#include "host/libmailvane/render/postfix_parts.h"
#include "host/libmailvane/settings/derived_settings.h"

namespace host::render {

namespace {

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
    main.Add("mime_header_checks", kAskAttachmentNames);
    AddHeaderChecks(main);
    main.Add("sender_bcc_maps", Map("sender_bcc"));
    main.Add("recipient_bcc_maps", Map("recipient_bcc"));
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
    // Where logins need TLS, a client that would take any server's word gets none.
    main.Add("smtpd_tls_mandatory_exclude_ciphers", "aNULL");
    main.Add("smtpd_sasl_type", "dovecot");
    main.Add("smtpd_sasl_path", "private/auth");
    main.Add("smtpd_sasl_auth_enable", "yes");
    main.Add("smtpd_sasl_security_options", "noanonymous");
}

/// Adds the limits of queries: nobody may verify addresses, only root may list or flush the queue.
void AddDiscretion(Parameters& main)
{
    main.Add("disable_vrfy_command", "yes");
    main.Add("showq_service_name", kQueueService);
    main.Add("authorized_mailq_users", "root");
    main.Add("authorized_flush_users", "root");
}

void AddRelay(Parameters& main, const settings::StoredSettings& settings)
{
    const std::string relay = RelayHost(settings);
    const bool mustEncrypt = !relay.empty() && settings.Bool("smtp_relay_tls");
    const bool logsIn = !relay.empty() && settings.Bool("smtp_relay_auth");
    const bool verified = mustEncrypt && logsIn && settings.RelayIsVerified();
    main.AddTyped("relayhost", relay);
    main.Add("smtp_tls_security_level", verified ? "secure" : mustEncrypt ? "encrypt" : "may");
    // On this port TLS begins with the first byte.
    constexpr int kTlsPort = 465;
    main.Add("smtp_tls_wrappermode",
             YesNo(mustEncrypt && settings.Int("smtp_relay_port") == kTlsPort));
    // Certificates of the relay host are verified by the authorities that the distribution trusts.
    main.Add("smtp_tls_CAfile", verified ? kAuthorities : "");
    main.Add("smtp_sasl_auth_enable", YesNo(logsIn));
    main.Add("smtp_sasl_password_maps", Map("relay_password"));
    main.Add("smtp_sasl_security_options", "noanonymous");
    main.Add("smtp_sasl_tls_security_options", "noanonymous");
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
    for (const char* service :
         {"policyd-spf", "own-senders", "from-check", "attachment-names", "rate-policy"}) {
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
    return kPostfixHeader + main.text() + context.mainFragment;
}

}  // namespace host::render
