// Calls about the certificate that the services show, and the keys that sign mail.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `tls_show`: the certificate in force: whether it is `installed` or the package's own, `subject`,
/// `issuer`, `names`, `begins` and `ends` (seconds since 1970), `fingerprint`, whether it is
/// `self_signed`, and whether it is `for_host`, the mail server's name `host`.
Answer TlsShow(const Request& request);

/// `tls_install`: puts a `certificate` with its chain and its `key` in force, two texts in PEM of
/// 64 KiB together. All that can be checked is, before anything changes; when a service does not
/// come up with it, the one before is in force. Answers as `tls_show`, and what becomes of the
/// `web_server`: "untouched", "restarted", or "restarts" after this answer, when `tls_show` tells
/// after a moment what is in force.
Answer TlsInstall(const Request& request);

/// `tls_remove`: puts the package's own certificate in force. Answers as `tls_install`.
Answer TlsRemove(const Request& request);

/// `dkim_list`: the key `pairs` by their dates: `date`, `key` (a fingerprint), and which `signs`.
Answer DkimList(const Request& request);

}  // namespace upkeep
