// The restriction lists of Postfix's main.cf: who may send what to whom.
#include <string>

#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/postfix_parts.h"
#include "host/libmailvane/settings/derived_settings.h"

namespace host::render {

namespace {

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

/// The restrictions for all senders.
std::string SenderRestrictions(const settings::StoredSettings& settings)
{
    return Restrictions()
        .Add("check_sender_access " + Map("black_senders"))
        .Add("check_sender_access " + Map("sender_access"))
        .AddIf(settings.Bool("reject_non_fqdn_sender"), "reject_non_fqdn_sender")
        .AddIf(settings.Bool("reject_unknown_sender_domain"), "reject_unknown_sender_domain")
        .text();
}

/// The restrictions at DATA. They check clients without a login that are not on the list of clients
/// when their sender is an address of this server.
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

}  // namespace

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

}  // namespace host::render
