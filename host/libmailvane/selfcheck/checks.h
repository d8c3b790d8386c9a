// The checks of the self-check, by topic. What each finds good or bad stands in docs/self_check.md;
// `subject` is what the row of the table names.
#pragma once

#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/selfcheck/self_check.h"

namespace host::selfcheck {

constexpr char kPostfixFiles[] = "/var/packages/Mailvane/etc/generated/current/postfix";

/// For the programs that checks run: kept output, and a limit that with the time for the kill is
/// less than that of a check, so that no program outlives its check.
ProgramOptions CheckOptions();

// checks_network.cpp
/// Whether a mail service greets on the port that the setting `subject` names.
Finding CheckGreeting(const settings::StoredSettings& settings, const char* subject);
/// The same after a TLS handshake.
Finding CheckTlsGreeting(const settings::StoredSettings& settings, const char* subject);
/// Whether SMTP shows the certificate that is configured.
Finding CheckServedCertificate(const settings::StoredSettings& settings, const char* subject);
/// Whether a stranger is refused as a sender to strangers.
Finding CheckOpenRelay(const settings::StoredSettings& settings, const char* subject);
/// Whether the login at the relay host is told to nobody else.
Finding CheckRelayLogin(const settings::StoredSettings& settings, const char* subject);
/// Whether other tables of the packet filter drop what they do not know.
Finding CheckPacketFilter(const settings::StoredSettings& settings, const char* subject);

// checks_services.cpp
/// Whether the daemon named `subject` runs.
Finding CheckProcess(const settings::StoredSettings& settings, const char* subject);
/// Whether the mail filter at the socket `subject` agrees on options.
Finding CheckMilter(const settings::StoredSettings& settings, const char* subject);
/// The same for the daemon named `subject` that is started again when it dies, and whether it
/// did since it was started.
Finding CheckFilter(const settings::StoredSettings& settings, const char* subject);
/// Whether the store of the senders' counters at the socket `subject` answers.
Finding CheckCounters(const settings::StoredSettings& settings, const char* subject);
/// Number and age of the messages that wait for another try.
Finding CheckQueue(const settings::StoredSettings& settings, const char* subject);
/// Whether the accounts of the directory can be listed.
Finding CheckDirectoryAccounts(const settings::StoredSettings& settings, const char* subject);

// checks_scanner.cpp
/// Whether the mail scanner at the socket `subject` is ready for mail.
Finding CheckScanner(const settings::StoredSettings& settings, const char* subject);
/// Whether the anti-virus engine at the socket `subject` answers.
Finding CheckAntiVirus(const settings::StoredSettings& settings, const char* subject);
/// Age of the newest signatures in the folder `subject`.
Finding CheckSignatures(const settings::StoredSettings& settings, const char* subject);
/// What the scanner itself says about its file.
Finding CheckScannerFiles(const settings::StoredSettings& settings, const char* subject);

// checks_files.cpp
/// When the certificate expires.
Finding CheckCertificateAge(const settings::StoredSettings& settings, const char* subject);
/// Whether certificate and key belong together.
Finding CheckCertificateKey(const settings::StoredSettings& settings, const char* subject);
/// Space and files left on the file system of the path `subject`.
Finding CheckDisk(const settings::StoredSettings& settings, const char* subject);
/// What the daemons' own checks say about their files.
Finding CheckPostfixFiles(const settings::StoredSettings& settings, const char* subject);
Finding CheckDovecotFiles(const settings::StoredSettings& settings, const char* subject);
Finding CheckDkimFiles(const settings::StoredSettings& settings, const char* subject);
Finding CheckDmarcFiles(const settings::StoredSettings& settings, const char* subject);

// checks_dns.cpp
/// Whether the host name has an address, and whether that leads back to the name.
Finding CheckHostAddress(const settings::StoredSettings& settings, const char* subject);
Finding CheckHostReverse(const settings::StoredSettings& settings, const char* subject);
/// Records of the mail domains.
Finding CheckMx(const settings::StoredSettings& settings, const char* subject);
Finding CheckSpf(const settings::StoredSettings& settings, const char* subject);
Finding CheckDmarc(const settings::StoredSettings& settings, const char* subject);
Finding CheckDkim(const settings::StoredSettings& settings, const char* subject);
/// Whether a blocklist lists the address of this host.
Finding CheckOwnListing(const settings::StoredSettings& settings, const char* subject);

}  // namespace host::selfcheck
