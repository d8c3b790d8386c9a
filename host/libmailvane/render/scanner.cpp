// Texts of the files of the mail scanner and the anti-virus engine.
#include "host/libmailvane/render/scanner.h"

#include <algorithm>

#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/render/spam_filter.h"
#include "host/libmailvane/settings/derived_settings.h"
#include "host/libmailvane/system/database.h"

namespace host::render {

namespace {

constexpr int kUsualMegabytes = 400;

const char kHeader[] = "# Made by mailvane from its stored settings.\n";

/// The part that does not depend on settings. Lists are read when the scanner starts; a missing
/// file is an empty list.
const char kScannerBase[] = R"($MYHOME = $helpers_home = '/var/lib/amavis';
$TEMPBASE = $ENV{TMPDIR} = "$MYHOME/tmp";
$ENV{PATH} = $path = '/usr/sbin:/usr/bin:/sbin:/bin';
$lock_file = '/run/mailvane/amavis/lock';
$unix_socket_mode = 0600;
$inet_socket_port = undef;
$recipient_delimiter = '+';
$interface_policy{'SOCK'} = 'MILTER';
$policy_bank{'MILTER'} = { protocol => 'AM.PDP', auth_required_release => 0 };
$release_method = $forward_method = $notify_method =
    'pipe:flags=q argv=/usr/sbin/sendmail -i -f ${sender} -- ${recipient}';
$max_servers = 2;
$enable_db = $enable_global_cache = $enable_zmq = $enable_dkim_verification = 0;

# One line a message, for the mail log.
$DO_SYSLOG = 0;
$LOGFILE = '/var/log/mailvane/amavis.log';
$log_level = 0;
$log_recip_templ = undef;

# What unpacks attachments. Limits keep a small archive from filling the disk.
($file, $gzip, $bzip2, $pax, $cpio, $ar) = qw(file gzip bzip2 pax cpio ar);
($cabextract, $unrar, $lzop, $rpm2cpio) = ('cabextract', 'unrar-free', 'lzop', 'rpm2cpio');
($unarj, $zoo, $ripole) = (['arj', 'unarj'], 'zoo', 'ripole');
($MAXLEVELS, $MAXFILES) = (14, 1500);
$MIN_EXPANSION_QUOTA = 100*1024;
@keep_decoded_original_maps = (new_RE(
    qr'^MAIL-UNDECIPHERABLE$', qr'^(ASCII(?! cpio)|text|uuencoded|xxencoded|binhex)'i));

# Archives that the scanner does not know by the words of file(1), or takes for documents.
unshift @map_full_type_to_short_type_maps, new_RE(
    [qr'^XZ compressed\b' => 'xz'], [qr'^LZMA compressed\b' => 'lzma'],
    [qr'^(Zip data|OpenDocument|EPUB document|Android package|Java archive data)\b' => 'zip'],
    [qr'^Microsoft (OOXML|\w+ 2007\+)' => 'zip']);

# Nobody is told but the sender, in the session.
$virus_admin = $spam_admin = $banned_admin = undef;
$final_banned_destiny = D_REJECT;
$final_bad_header_destiny = $final_unchecked_destiny = D_PASS;
$banned_files_quarantine_method = $bad_header_quarantine_method = undef;
$clean_quarantine_method = $unchecked_quarantine_method = undef;
@bypass_header_checks_maps = (1);
$QUARANTINEDIR = '/var/lib/mailvane/quarantine';

# Scores: every mail of ours shows its own, by the rules that were fetched or by the distribution's.
$sa_tag_level_deflt = -999;
$sa_dsn_cutoff_level = 0;
$sa_configpath = $rules if -d $rules;
$sa_mail_body_size_limit = 400*1024;
$sa_userprefs_file = '/dev/null';

# Mail of logins is not spam, but can hold a virus.
@mynetworks = qw(127.0.0.0/8 [::1]);
$policy_bank{'SMTP_AUTH'} = { originating => 1, bypass_spam_checks_maps => [1] };

# A scanner that cannot ask the engine must not take mail for clean.
@av_scanners = (['clamd', \&ask_daemon, ["CONTSCAN {}\n", $engine],
    qr/\bOK$/m, qr/\bFOUND$/m, qr/^.*?: (?!Infected Archive)(.*) FOUND$/m]);
@av_scanners_backup = ();
$virus_scanners_failure_is_fatal = 1;

# Lists: one entry a line, with "!" in front of an exception.
my $list = sub {
    my @entries;
    open(my $lines, '<', "$lists/$_[0]") or return;
    while (defined(my $line = <$lines>)) {
        $line =~ s/^\s+|\s+$//g;
        push @entries, $line if length $line;
    }
    return @entries;
};
my $table = sub {
    my ($file, $listed, $excepted) = @_;
    return { map { my $not = s/^!//; lc($_) => $not ? $excepted : $listed } $list->($file) };
};
@whitelist_sender_maps = @blacklist_sender_maps = @score_sender_maps = ();
unshift @bypass_spam_checks_maps, $table->('white_recipients', 1, 0)
    unless $bypass_spam_checks_maps[0];
$per_recip_whitelist_sender_lookup_tables = {};
$per_recip_blacklist_sender_lookup_tables = $table->('black_recipients', { '.' => 1 }, {});
@client_ipaddr_policy = (
    [ $list->('white_clients') ] => 'WHITE', [ $list->('black_clients') ] => 'BLACK');
$policy_bank{'WHITE'} = { bypass_spam_checks_maps => [1] };
$policy_bank{'BLACK'} = { blacklist_sender_maps => [1] };

# The scanner's own lists look at the senders of the header, too. These are for that of the envelope,
# as the mail server's are.
my $white_senders = $table->('white_senders', 1, 0);
{
    package Amavis::Custom;
    no warnings 'redefine';

    sub new {
        my ($class, $connection, $message) = @_;
        my ($white) = Amavis::Lookup::lookup2(0, $message->sender, [$white_senders]);
        if ($white) { $_->recip_whitelisted_sender(1) for @{$message->per_recip_data} }
        return bless {}, $class;
    }

    # What the DMARC policy of the sender's domain wants set aside has the score of tagged spam.
    sub checks {
        my ($self, $connection, $message) = @_;
        my $quarantines =
            qr{^\s*\Q$Amavis::Conf::myhostname\E;\s*dmarc=fail \(p=(?:quarantine|reject) };
        my ($number, $found) = (0, 0);
        while (defined(my $result =
            $message->get_header_field_body('authentication-results', $number++))) {
            $found = 1 if $result =~ $quarantines;
        }
        return if !$found;
        my $least = $Amavis::Conf::sa_tag2_level_deflt;
        for my $recipient (@{$message->per_recip_data}) {
            my $score = $recipient->spam_level || 0;
            next if $recipient->bypass_spam_checks || $score >= $least;
            my $test = sprintf('DMARC_QUARANTINE=%.3f', $least - $score);
            $recipient->spam_level($least);
            $recipient->spam_tests([@{$recipient->spam_tests || []}, \$test]);
        }
    }
}

# What follows the type is lost where the name becomes that of a file.
my $end = qr{(?:[\x00-\x20.]|\xc2?\xa0)*\z};
my @banned = map { qr{\.\Q$_\E$end}i } $list->('banned_types');
)";

/// Patterns of executable attachments: by name, by declared type and by content, also in archives.
const char kDangerousContent[] = R"(push @banned,
    qr{\.(exe|vbs|vbe|pif|scr|bat|cmd|com|cpl|dll|js|jse|hta|jar|lnk|msi|ps1|wsf|wsh)$end}i,
    qr{\{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\}?$end}i,
    qr'^application/(x-msdownload|x-msdos-program|hta)$'i,
    qr'^message/(partial|external-body)$'i,
    qr'^\.(exe-ms)$';
)";

/// What is packed so that nobody here can look into it. Encrypted mail is none of it.
const char kClosedArchives[] = R"($banned_namepath_re = new_RE(
    qr'(?#closed archive)^(?![^\n]*\t(M=[^\t\n]*encrypted|T=pgp))[^\n]*\tA=[CU](\t|$)'mi);
)";

const char kScannerEnd[] = R"(@bypass_banned_checks_maps = (@banned || $banned_namepath_re ? 0 : 1);
$banned_filename_re = new_RE(@banned);
1;
)";

std::string InForce(const std::string& relative)
{
    return generation::GeneratedDirectory() + "/current/" + relative;
}

/// A Perl string in single quotes, where only quote and backslash are special.
std::string PerlText(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "'";
}

/// The scanner's user, its sockets and its pid file.
std::string DoorsText()
{
    const daemons::Daemon& scanner = daemons::kScanner;
    std::string text = "\n# Processes, and the doors between them.\n";
    text += "$daemon_user = $daemon_group = " + PerlText(std::string(scanner.user)) + ";\n";
    text += "$pid_file = " + PerlText(std::string(scanner.pidFile)) + ";\n";
    text += "$unix_socketname = " + PerlText(std::string(scanner.socket)) + ";\n";
    text += "my $engine = " + PerlText(std::string(daemons::kAntiVirus.socket)) + ";\n";
    return text;
}

std::string Assign(const std::string& variable, const std::string& value)
{
    return variable + " = " + value + ";\n";
}

/// A switch of the scanner: a list whose first entry tells whether the check is bypassed, so "(0)"
/// means checked. With "(1)" alone the scanner does not even load the code of the check.
std::string Check(const std::string& what, bool wanted)
{
    return Assign("@bypass_" + what + "_checks_maps", wanted ? "(0)" : "(1)");
}

/// What happens to mail with a finding, and whether a copy is quarantined.
std::string Action(const std::string& finding, const std::string& action, bool keepsCopy)
{
    const std::string destiny = action == "tag"      ? "D_PASS"
                                : action == "reject" ? "D_REJECT"
                                                     : "D_DISCARD";
    return Assign("$final_" + finding + "_destiny", destiny) +
           Assign("$" + finding + "_quarantine_method",
                  keepsCopy ? "'local:" + finding + "-%m.gz'" : "undef");
}

/// The settings for spam and viruses. Rejected spam is quarantined too: when one recipient's white
/// list accepts a message, the other recipients are dropped from it without a bounce.
std::string Actions(const settings::StoredSettings& settings)
{
    const std::string& spam = settings.Text("spam_action");
    const std::string& virus = settings.Text("virus_action");
    return Action("spam", spam, spam == "quarantine" || spam == "reject") +
           Action("virus", virus, virus == "quarantine");
}

std::string Scores(const settings::StoredSettings& settings)
{
    const std::string& tag = settings.Text("spam_subject_tag");
    return Assign("$sa_tag2_level_deflt", settings.Spelled("spam_tag_score")) +
           Assign("$sa_kill_level_deflt", settings.Spelled("spam_reject_score")) +
           Assign("$sa_spam_subject_tag", tag.empty() ? "undef" : PerlText(tag + " "));
}

/// The domains to whose mail the scanner adds its headers.
std::string LocalDomains(const settings::StoredSettings& settings)
{
    std::string domains;
    for (const std::string& domain : settings::MailDomains(settings)) {
        domains += (domains.empty() ? "" : ", ") + PerlText(domain);
    }
    return Assign("@local_domains_maps", "([" + domains + "])");
}

/// How many megabytes of a message, unpacked, are scanned: twice the largest message accepted.
int ScannedMegabytes(const settings::StoredSettings& settings)
{
    return std::max(kUsualMegabytes, 2 * settings.Int("message_size_limit_mb"));
}

std::string EngineText(const settings::StoredSettings& settings)
{
    const int largest = std::max(kUsualMegabytes, settings.Int("message_size_limit_mb"));
    std::string text = kHeader;
    text += "MaxScanSize " + std::to_string(ScannedMegabytes(settings)) + "M\n";
    text += "MaxFileSize " + std::to_string(largest) + "M\n";
    text += "LocalSocket " + std::string(daemons::kAntiVirus.socket) + "\n";
    text += "PidFile " + std::string(daemons::kAntiVirus.pidFile) + "\n";
    text +=
        "LocalSocketMode 660\n"
        "FixStaleSocket yes\n"
        "DatabaseDirectory /var/lib/clamav\n"
        "LogSyslog yes\n"
        "LogFacility LOG_MAIL\n"
        // Loading new signatures beside the old ones would take twice the memory.
        "ConcurrentDatabaseReload no\n"
        "MaxThreads 4\n"
        "ExitOnOOM yes\n";
    return text;
}

std::string UpdaterText(const std::string& fragment)
{
    std::string text = kHeader;
    text +=
        "DatabaseDirectory /var/lib/clamav\n"
        "DatabaseMirror database.clamav.net\n"
        "MaxAttempts 2\n"
        "ConnectTimeout 10\n"
        "ReceiveTimeout 120\n"
        "LogSyslog yes\n"
        "LogFacility LOG_MAIL\n";
    text += "NotifyClamd " + InForce("clamav/clamd.conf") + "\n";
    return text + fragment;
}

}  // namespace

std::string RenderScanner(const settings::StoredSettings& settings, const RenderContext& context)
{
    std::string text = kHeader;
    text += "use strict;\nmy $lists = " + PerlText(InForce("amavis")) + ";\n";
    text += Check("virus", settings.Bool("anti_virus_enable"));
    text += Check("spam", settings.Bool("spam_enable"));
    text += Assign("$myhostname", PerlText(settings.Text("smtp_hostname")));
    text += Assign("$mydomain", PerlText(settings.MailDomain()));
    text += Assign("$X_HEADER_LINE", PerlText("mail scanner at " + settings.Text("smtp_hostname")));
    text += Assign("$sa_siteconfigpath", PerlText(InForce("amavis/spamassassin")));
    text += Assign("$MAX_EXPANSION_QUOTA",
                   std::to_string(ScannedMegabytes(settings)) + " * 1024 * 1024");
    text += "my $rules = " + PerlText(kFetchedRules) + ";\n";
    text += Assign("$sa_local_tests_only", context.asksNetwork ? "0" : "1");
    text += LocalDomains(settings) + Scores(settings) + Actions(settings);
    text += DoorsText() + kScannerBase;
    if (settings.Bool("enable_dangerous_content_scan")) text += kDangerousContent;
    if (context.refusesClosedArchives) text += kClosedArchives;
    return text + kScannerEnd;
}

void PutScannerFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                     const RenderContext& context)
{
    next.Put(kScannerFile, RenderScanner(settings, context), 0644);
    PutSpamFilterFiles(next, settings, context);
    next.Put("clamav/clamd.conf", EngineText(settings), 0644);
    next.Put("clamav/freshclam.conf", UpdaterText(context.updaterFragment), 0644);
}

}  // namespace host::render
