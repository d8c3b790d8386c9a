// Which programs listen on which TCP ports, by the kernel's tables.
#pragma once

#include <set>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::daemons {

/// Whether a port in [from, to] is taken by something other than `services` (names separated by
/// commas, blanks ignored). Sockets of Postfix belong to mail_smtp, mail_smtps and mail_smtp_tls,
/// those of Dovecot to mail_imap, mail_imaps, mail_pop3 and mail_pop3s, others to no service. An
/// invalid range (reversed, or outside 1 to 65535) is no conflict: saving refuses it.
Result<bool> PortsConflict(const std::string& services, int from, int to);

/// Those of `ports` on which a program other than Postfix and Dovecot listens, at any address.
Result<std::set<int>> PortsHeldByOthers(const std::set<int>& ports);

}  // namespace host::daemons
