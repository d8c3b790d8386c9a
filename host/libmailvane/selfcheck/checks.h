// The checks of the self-check, by topic. docs/self_check.md tells what each reports; `subject`
// comes from the check's row in the table.
#pragma once

#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/selfcheck/self_check.h"

namespace host::selfcheck {

constexpr char kPostfixFiles[] = "/var/packages/Mailvane/etc/generated/current/postfix";

/// Options for programs that checks run: output is captured, and the time limit is below that of a
/// check, so that no program outlives its check.
ProgramOptions CheckOptions();

// checks_network.cpp
/// Whether a mail service sends its greeting on the port that the setting `subject` names.
Finding CheckGreeting(const settings::StoredSettings& settings, const char* subject);
/// As `CheckGreeting`, after a TLS handshake.
Finding CheckTlsGreeting(const settings::StoredSettings& settings, const char* subject);
/// Whether the SMTP server presents the configured certificate.
Finding CheckServedCertificate(const settings::StoredSettings& settings, const char* subject);
/// Whether mail from an unknown client to another server is refused (no open relay).
Finding CheckOpenRelay(const settings::StoredSettings& settings, const char* subject);
/// Whether the relay host must show a valid certificate before it gets the login.
Finding CheckRelayLogin(const settings::StoredSettings& settings, const char* subject);
/// Whether tables of the packet filter that are not the package's drop unknown packets.
Finding CheckPacketFilter(const settings::StoredSettings& settings, const char* subject);
/// Whether failed logins to the web are limited when other machines can reach it.
Finding CheckWebLogin(const settings::StoredSettings& settings, const char* subject);

// checks_services.cpp
/// Whether the daemon `subject` runs.
Finding CheckProcess(const settings::StoredSettings& settings, const char* subject);
/// Whether the milter at the socket `subject` negotiates options.
Finding CheckMilter(const settings::StoredSettings& settings, const char* subject);
/// As `CheckMilter` for the daemon `subject`, whose parent restarts it when it dies; also whether
/// that has happened since its start.
Finding CheckFilter(const settings::StoredSettings& settings, const char* subject);
/// Whether memcached, which counts what senders send, answers at the socket `subject`, and the one
/// that several machines share.
Finding CheckCounters(const settings::StoredSettings& settings, const char* subject);
/// Number and age of deferred messages.
Finding CheckQueue(const settings::StoredSettings& settings, const char* subject);
/// Whether the accounts of the directory can be listed.
Finding CheckDirectoryAccounts(const settings::StoredSettings& settings, const char* subject);

// checks_scanner.cpp
/// Whether the mail scanner at the socket `subject` accepts mail.
Finding CheckScanner(const settings::StoredSettings& settings, const char* subject);
/// Whether the anti-virus engine at the socket `subject` answers.
Finding CheckAntiVirus(const settings::StoredSettings& settings, const char* subject);
/// Age of the newest virus signatures in the folder `subject`.
Finding CheckSignatures(const settings::StoredSettings& settings, const char* subject);
/// Age of the newest rules of the spam filter.
Finding CheckSpamRules(const settings::StoredSettings& settings, const char* subject);
/// Whether the scanner accepts its configuration.
Finding CheckScannerFiles(const settings::StoredSettings& settings, const char* subject);

// checks_files.cpp
/// When the certificate expires.
Finding CheckCertificateAge(const settings::StoredSettings& settings, const char* subject);
/// Whether certificate and key belong together.
Finding CheckCertificateKey(const settings::StoredSettings& settings, const char* subject);
/// Whether the databases of lists are there and whole; what is in force stays when they are not.
Finding CheckLists(const settings::StoredSettings& settings, const char* subject);
/// Space and inodes left on the file system of the path `subject`.
Finding CheckDisk(const settings::StoredSettings& settings, const char* subject);
/// Whether each daemon's own check accepts its configuration.
Finding CheckPostfixFiles(const settings::StoredSettings& settings, const char* subject);
Finding CheckDovecotFiles(const settings::StoredSettings& settings, const char* subject);
Finding CheckDkimFiles(const settings::StoredSettings& settings, const char* subject);
Finding CheckDmarcFiles(const settings::StoredSettings& settings, const char* subject);

// checks_dns.cpp
/// Whether the host name has an address, and whether the address resolves back to the name.
Finding CheckHostAddress(const settings::StoredSettings& settings, const char* subject);
Finding CheckHostReverse(const settings::StoredSettings& settings, const char* subject);
/// The DNS records of the mail domains.
Finding CheckMx(const settings::StoredSettings& settings, const char* subject);
Finding CheckSpf(const settings::StoredSettings& settings, const char* subject);
Finding CheckDmarc(const settings::StoredSettings& settings, const char* subject);
Finding CheckDkim(const settings::StoredSettings& settings, const char* subject);
/// Whether a DNS blocklist lists the address of this host.
Finding CheckOwnListing(const settings::StoredSettings& settings, const char* subject);

}  // namespace host::selfcheck
