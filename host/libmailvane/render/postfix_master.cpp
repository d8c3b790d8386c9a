// Text of Postfix's master.cf: the services that Postfix runs.
#include <string>
#include <vector>

#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/postfix.h"
#include "host/libmailvane/render/postfix_parts.h"

namespace host::render {

namespace {

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

}  // namespace

std::string RenderPostfixMaster(const settings::StoredSettings& settings,
                                const RenderContext& context)
{
    std::string text = kPostfixHeader;
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
    return text + kInnerServices + FilterServices(settings, context) + context.masterFragment;
}

}  // namespace host::render
