// Which programs listen on which TCP ports, by the kernel's tables.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/libhaldcore/mail_services.h"
#include "host/libhaldcore/result.h"
#include "host/libmailvane/daemons/daemons.h"

namespace host::daemons {

/// A port on which somebody listens.
struct HeldPort {
    int port;
    const Daemon* owner;  ///< null for a program that is none of the package's daemons
};

/// The reason that a port of a mail service, or of none that is known, is held; `text` is its line.
Reason PortIsHeld(const HeldPort& held, const MailService* wantedFor, std::string text);

/// The mail service of the first name that is one, in names as below; null when there is none.
const MailService* NamedService(const std::string& services);

/// The ports in [from, to] that are taken by something other than `services` (names separated by
/// commas, blanks ignored). Sockets of Postfix belong to mail_smtp, mail_smtps and mail_smtp_tls,
/// those of Dovecot to mail_imap, mail_imaps, mail_pop3 and mail_pop3s, others to no service. An
/// invalid range (reversed, or outside 1 to 65535) has none: saving refuses it.
Result<std::vector<HeldPort>> PortsInConflict(const std::string& services, int from, int to);

/// Those of `ports` on which a program other than Postfix and Dovecot listens, at any address.
Result<std::vector<HeldPort>> PortsHeldByOthers(const std::set<int>& ports);

}  // namespace host::daemons
