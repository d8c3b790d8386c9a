// The render context: what the daemons' files depend on besides the settings.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/render/certificate.h"

namespace host::render {

/// What the daemons' files depend on besides the settings.
struct RenderContext {
    bool hasIpv6 = false;
    std::string administrator;             ///< gets the mail for the roles (`kRoles`); may be empty
    std::string certificate;               ///< path of the server's certificate chain (PEM)
    std::string privateKey;                ///< path of its key (PEM)
    std::string mainFragment;              ///< the administrator's own etc/local.d/main.cf
    std::string masterFragment;            ///< the administrator's own etc/local.d/master.cf
    std::string updaterFragment;           ///< the administrator's own etc/local.d/freshclam.conf
    std::string mailboxFragments;          ///< a checksum of the own files that Dovecot includes
    bool provesOwnSenders = false;         ///< MAILVANE_OWN_SENDERS of the package's defaults file
    bool filesJunk = false;                ///< MAILVANE_JUNK_FOLDER there
    bool learnsFromMoves = false;          ///< MAILVANE_LEARN_FROM_MOVES there
    bool asksNetwork = false;              ///< MAILVANE_SPAM_NETWORK, where there is a name server
    bool refusesClosedArchives = false;    ///< MAILVANE_CLOSED_ARCHIVES there
    std::string sharedCounters;            ///< MAILVANE_SENDER_COUNTERS there; may be empty
    std::vector<std::string> nameServers;  ///< addresses of the machine's name servers
};

/// Reads the context of this machine; `tls` is the certificate of the mail services.
RenderContext ReadRenderContext(const CertificateFiles& tls);

/// Whether the kernel supports IPv6; it can be booted without.
bool KernelHasIpv6();

/// The first member of the administrators' group; empty when there is none.
std::string FirstAdministrator();

}  // namespace host::render
