// The ports of the mail services: the settings of each, and their values where the settings file
// has none.
#pragma once

namespace host {

struct MailService {
    const char* enabledKey;
    const char* portKey;
    int port;                ///< default
    bool enabled;            ///< default
    bool isSmtp;             ///< also off when the SMTP server is off
    bool isTls;              ///< the TLS handshake comes before the greeting
    const char* registered;  ///< its name where ports are asked for
};

constexpr MailService kMailServices[] = {
    {"smtp_enabled", "smtp_port", 25, true, true, false, "mail_smtp"},
    {"smtp_ssl_enabled", "smtps_port", 465, false, true, true, "mail_smtps"},
    {"smtp_tls_enabled", "smtp_tls_port", 587, true, true, false, "mail_smtp_tls"},
    {"imap_enabled", "imap_port", 143, true, false, false, "mail_imap"},
    {"imaps_enabled", "imaps_port", 993, true, false, true, "mail_imaps"},
    {"pop3_enabled", "pop3_port", 110, false, false, false, "mail_pop3"},
    {"pop3s_enabled", "pop3s_port", 995, false, false, true, "mail_pop3s"},
};

}  // namespace host
