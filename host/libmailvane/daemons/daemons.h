// The table of daemons: all that the package knows about each one, in the order in which they
// start.
//
// Supervisor, self-check, saves and the administrator's programs read it; tests compare units, file
// modes and control scripts with it. To add a daemon, add a row here, a unit, a renderer of its
// files and a check to the self-check.
#pragma once

#include <array>
#include <csignal>
#include <cstddef>
#include <string_view>

namespace host::daemons {

/// How the daemon's command starts it.
enum class Launch {
    kForks,      ///< the command goes to the background and writes the pid file
    kForeground  ///< the command stays; whoever starts it writes the pid file
};

/// A row of the table. A daemon without one of these has an empty text there.
struct Daemon {
    std::string_view name;
    std::string_view service;   ///< target/scripts/SERVICE.sh starts and stops it
    std::string_view switches;  ///< settings, one of which must be on; empty: it always runs
    std::string_view program;   ///< the executable that its process shows in /proc
    std::string_view command;   ///< the words of its command line
    Launch launch;
    bool startsAsUser;       ///< the command runs as `user`, not as root
    std::string_view user;   ///< that the daemon works as
    std::string_view group;  ///< whose members may connect to its socket
    std::string_view pidFile;
    std::string_view pidLink;  ///< a link to that file under another name
    std::string_view socket;   ///< path of its unix socket, in its own directory
    std::string_view unit;
    std::string_view bootUnit;  ///< the unit that is enabled for the boot instead
    std::string_view files;     ///< its files in a generation; directories end with "/"
    std::string_view settings;  ///< a change of one of these settings restarts it
    std::string_view label;     ///< of its steps in the plan of a save
    std::string_view check;     ///< its row in the self-check
};

// The words of a command are separated by one blank. Paths through the link `current` are valid for
// every generation.
inline constexpr Daemon kDaemons[] = {
    {"dovecot", "dovecot", "smtp_enabled imap_enabled imaps_enabled pop3_enabled pop3s_enabled",
     "/usr/sbin/dovecot",
     "/usr/sbin/dovecot -c /var/packages/Mailvane/etc/generated/current/dovecot/dovecot.conf",
     Launch::kForks, false, "", "", "/run/dovecot/master.pid", "", "", "dovecot.service", "",
     "dovecot/ tls/", "", "dovecot service", "dovecot"},
    {"memcached", "memcached", "reject_sasl_sender_rate_exceed", "/usr/bin/memcached",
     "/usr/bin/memcached -d -u memcache -s /run/mailvane/memcached/socket -a 0770"
     " -P /run/mailvane/memcached/pid -m 16",
     Launch::kForks, false, "memcache", "mailvane-policy", "/run/mailvane/memcached/pid", "",
     "/run/mailvane/memcached/socket", "mailvane-memcached.service", "", "",
     "smtpd_sasl_sender_rate_limit", "memcache service", "memcached"},
    {"opendkim", "opendkim", "enable_dkim enable_dmarc", "/usr/sbin/opendkim",
     "/usr/sbin/opendkim -x /var/packages/Mailvane/etc/generated/current/opendkim/opendkim.conf",
     Launch::kForks, false, "opendkim", "postfix", "/run/mailvane/opendkim.pid", "",
     "/run/mailvane/opendkim/socket", "mailvane-opendkim.service", "", "opendkim/", "",
     "dkim service", "opendkim"},
    {"opendmarc", "opendmarc", "enable_dmarc", "/usr/sbin/opendmarc",
     "/usr/sbin/opendmarc -c"
     " /var/packages/Mailvane/etc/generated/current/opendmarc/opendmarc.conf",
     Launch::kForks, false, "opendmarc", "postfix", "/run/mailvane/opendmarc.pid", "",
     "/run/mailvane/opendmarc/socket", "mailvane-opendmarc.service", "", "opendmarc/", "",
     "dmarc service", "opendmarc"},
    {"clamd", "antivirus", "anti_virus_enable", "/usr/sbin/clamd",
     "/usr/sbin/clamd --config-file=/var/packages/Mailvane/etc/generated/current/clamav/clamd.conf",
     Launch::kForks, true, "clamav", "amavis", "/run/mailvane/clamd/pid", "/run/clamd.pid",
     "/run/mailvane/clamd/socket", "mailvane-clamd.service", "", "clamav/clamd.conf", "",
     "anti-virus service", "antivirus"},
    // It is a Perl program, like many others, so its process is also recognised by the first word
    // of its name.
    {"amavis", "mailscanner", "anti_virus_enable spam_enable enable_dangerous_content_scan",
     "/usr/bin/perl",
     "/usr/sbin/amavisd -c /var/packages/Mailvane/etc/generated/current/amavis/amavisd.conf",
     Launch::kForks, true, "amavis", "amavis", "/run/mailvane/amavis/pid", "/run/MailScanner.pid",
     "/run/mailvane/amavis/socket", "mailvane-amavis.service", "", "amavis/", "",
     "mailscanner service", "mailscanner"},
    {"amavisd-milter", "mailscanner", "anti_virus_enable spam_enable enable_dangerous_content_scan",
     "/usr/sbin/amavisd-milter",
     "/usr/sbin/amavisd-milter -s local:/run/mailvane/amavisd-milter/socket"
     " -S /run/mailvane/amavis/socket -p /run/mailvane/amavisd-milter/pid -w /var/lib/amavis/tmp",
     Launch::kForks, true, "amavis", "postfix", "/run/mailvane/amavisd-milter/pid", "",
     "/run/mailvane/amavisd-milter/socket", "mailvane-amavisd-milter.service", "", "", "",
     "mailscanner service", "mailscanner_milter"},
    {"maillog", "maillog", "", "/var/packages/Mailvane/target/bin/maillog_collector",
     "/var/packages/Mailvane/target/bin/maillog_collector", Launch::kForeground, true,
     "mailvane-log", "", "/run/mailvane/maillog.pid", "", "", "mailvane-maillog.service", "", "",
     "", "maillog service", ""},
    // `postfix.service` is an empty unit that starts this one.
    {"postfix", "postfix", "smtp_enabled", "/usr/lib/postfix/sbin/master",
     "/usr/sbin/postfix -c /var/packages/Mailvane/etc/generated/current/postfix start",
     Launch::kForks, false, "", "", "/var/spool/postfix/pid/master.pid", "", "",
     "postfix@-.service", "postfix.service", "postfix/ tls/", "", "postfix service", "postfix"},
    // Access to this socket is equal to root on this machine.
    {"gate", "web", "", "/usr/sbin/fcgiwrap",
     "/usr/sbin/fcgiwrap -c 16 -s unix:/run/mailvane/web/fcgi.sock"
     " -p /var/packages/Mailvane/target/ui/mailvane.cgi"
     " -p /var/packages/Mailvane/target/ui/upkeep.cgi",
     Launch::kForeground, false, "", "", "/run/mailvane/web/fcgi.pid", "", "",
     "mailvane-gate.service", "mailvane-gate.socket", "", "", "web service", ""},
    {"guard", "web", "", "/var/packages/Mailvane/target/bin/hald_login_guard",
     "/var/packages/Mailvane/target/bin/hald_login_guard", Launch::kForeground, false, "", "",
     "/run/mailvane/guard.pid", "", "", "mailvane-guard.service", "", "", "", "web service", ""},
    {"web", "web", "", "/usr/sbin/lighttpd", "/usr/sbin/lighttpd -f", Launch::kForks, false, "", "",
     "/run/mailvane/web/lighttpd.pid", "", "", "mailvane-web.service", "", "", "", "web service",
     ""},
};

/// How a daemon takes up changed files while it runs.
struct Reload {
    std::string_view daemon;
    int signal;              ///< on which it reads them again
    std::string_view fixed;  ///< their parameters that it reads only when it starts
};

// Those without a row are started anew. On its signal the DMARC filter keeps its old settings, and
// the DKIM filter has the old ones again when its worker has crashed.
inline constexpr Reload kReloads[] = {
    {"dovecot", SIGHUP, ""},
    {"amavis", SIGHUP, "$daemon_user $pid_file $unix_socketname"},
    {"postfix", SIGHUP, "inet_interfaces inet_protocols maillog_file queue_directory"},
};

/// The row of a daemon above; null when there is none.
constexpr const Reload* ReloadOf(const Daemon& daemon)
{
    for (const Reload& reload : kReloads) {
        if (reload.daemon == daemon.name) return &reload;
    }
    return nullptr;
}

/// The row of a daemon. In a constant expression an unknown name is a compile error.
constexpr const Daemon& DaemonOf(std::string_view name)
{
    for (const Daemon& daemon : kDaemons) {
        if (daemon.name == name) return daemon;
    }
    throw "no such daemon";
}

inline constexpr const Daemon& kDovecot = DaemonOf("dovecot");
inline constexpr const Daemon& kMemcached = DaemonOf("memcached");
inline constexpr const Daemon& kDkimFilter = DaemonOf("opendkim");
inline constexpr const Daemon& kDmarcFilter = DaemonOf("opendmarc");
inline constexpr const Daemon& kAntiVirus = DaemonOf("clamd");
inline constexpr const Daemon& kScanner = DaemonOf("amavis");
inline constexpr const Daemon& kScannerMilter = DaemonOf("amavisd-milter");
inline constexpr const Daemon& kPostfix = DaemonOf("postfix");
inline constexpr const Daemon& kGate = DaemonOf("gate");
inline constexpr const Daemon& kGuard = DaemonOf("guard");
inline constexpr const Daemon& kWebServer = DaemonOf("web");

/// Whether the daemon is handed over with the machine's mail servers; those of the service "web"
/// are not.
constexpr bool IsMail(const Daemon& daemon)
{
    return daemon.service != "web";
}

/// Removes the first word from `words` and returns it; words are separated by one blank.
constexpr std::string_view NextWord(std::string_view& words)
{
    const std::size_t end = words.find(' ');
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(end == std::string_view::npos ? words.size() : end + 1);
    return word;
}

/// Whether one of the words, separated by one blank, is `wanted`.
constexpr bool HasWord(std::string_view words, std::string_view wanted)
{
    while (!words.empty()) {
        if (NextWord(words) == wanted) return true;
    }
    return false;
}

/// Whether the mail server calls the daemon, which then starts before it and stops after it.
constexpr bool IsCalledByMailServer(const Daemon& daemon)
{
    return !daemon.socket.empty();
}

/// Whether it is a filter of the mail server: mail has to wait while it does not answer.
constexpr bool IsMilter(const Daemon& daemon)
{
    return daemon.group == "postfix";
}

/// Whether a daemon is to run with these settings, whose `Bool(name)` tells which switches are on.
template <class Settings>
bool Runs(const Daemon& daemon, const Settings& settings)
{
    std::string_view names = daemon.switches;
    if (names.empty()) return true;
    while (!names.empty()) {
        if (settings.Bool(NextWord(names))) return true;
    }
    return false;
}

}  // namespace host::daemons
