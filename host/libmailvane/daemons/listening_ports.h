// Who listens on which TCP port, by the kernel's own tables.
#pragma once

#include <set>
#include <string>

namespace host::daemons {

/// Whether a port in [from, to] is listened on by anything other than the services named in
/// `services` (comma-separated, blanks around a name do not count). Sockets of our mail server
/// belong to mail_smtp, mail_smtps and mail_smtp_tls alike, those of our mailbox server to
/// mail_imap, mail_imaps, mail_pop3 and mail_pop3s; every other socket belongs to no service. A
/// range that is none (reversed, or outside 1 to 65535) is no conflict: whether a port is valid is
/// for those to judge who store it.
bool PortsConflict(const std::string& services, int from, int to);

/// Those of `ports` that something other than our mail server and our mailbox server listens on,
/// at whatever address.
std::set<int> PortsHeldByOthers(const std::set<int>& ports);

}  // namespace host::daemons
