// Checks of the self-check on files: certificate and key, disk space, daemons' configurations.
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdint>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/programs.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/system/database.h"

namespace host::selfcheck {

namespace {

const char kDkimFile[] = "/var/packages/Mailvane/etc/generated/current/opendkim/opendkim.conf";
const char kDmarcFile[] = "/var/packages/Mailvane/etc/generated/current/opendmarc/opendmarc.conf";
const char kDovecotFile[] = "/var/packages/Mailvane/etc/generated/current/dovecot/dovecot.conf";

const char kTwoWeeks[] = "1209600";  // seconds
constexpr int kLittle = 10;          // per cent
constexpr int kTooLittle = 3;

std::string FirstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

/// The path of a file that a parameter of Postfix names.
std::string ConfiguredFile(const char* parameter)
{
    const auto result =
        RunProgram({programs::kPostconf, "-c", kPostfixFiles, "-h", parameter}, CheckOptions());
    return FirstLine(result.output);
}

/// `left` in per cent of `total`; 100 when the file system does not count.
int PerCent(std::uint64_t left, std::uint64_t total)
{
    return total == 0 ? 100 : static_cast<int>(left * 100 / total);
}

/// The finding when a program took too long or could not be started.
Finding CouldNotRun(const ProgramResult& result)
{
    return {CheckWord::kUnknown, result.done.reason().text};
}

/// The finding of a daemon's own check: FAILED, with the first line of its output, when it ends so.
Finding Judge(const ProgramResult& result)
{
    if (result.Succeeded()) return {};
    if (result.status < 0) return CouldNotRun(result);
    return {CheckWord::kFailed, FirstLine(result.errors)};
}

}  // namespace

Finding CheckCertificateAge(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const std::string path = ConfiguredFile("smtpd_tls_cert_file");
    const std::vector<std::string> program{programs::kOpenssl, "x509",     "-in", path,
                                           "-noout",           "-checkend"};
    auto later = program;
    later.emplace_back(kTwoWeeks);
    auto now = program;
    now.emplace_back("0");
    const auto results = RunPrograms({later, now}, CheckOptions());
    if (results[0].Succeeded()) return {};
    if (results[1].Succeeded()) return {CheckWord::kWarning, path + " expires soon"};
    if (results[1].status < 0) return CouldNotRun(results[1]);
    return {CheckWord::kFailed, path + " has expired or cannot be read"};
}

Finding CheckCertificateKey(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const std::string certificate = ConfiguredFile("smtpd_tls_cert_file");
    const std::string key = ConfiguredFile("smtpd_tls_key_file");
    const auto results =
        RunPrograms({{programs::kOpenssl, "x509", "-in", certificate, "-noout", "-pubkey"},
                     {programs::kOpenssl, "pkey", "-in", key, "-pubout"}},
                    CheckOptions());
    for (const ProgramResult& result : results) {
        if (result.status < 0) return CouldNotRun(result);
    }

    const bool fits = results[0].Succeeded() && results[0].output == results[1].output;
    return fits ? Finding()
                : Finding{CheckWord::kFailed, key + " is not the key of " + certificate};
}

Finding CheckLists(const settings::StoredSettings& settings, const char* /*subject*/)
{
    // Those of a switch that is under way are not all there.
    if (generation::SwitchIsMarked()) return {};
    const Result<void> checked =
        system::Attempt("lists", [&] { return stores::CheckAccountData(settings.Account()); });
    return checked ? Finding() : Finding{CheckWord::kFailed, checked.reason().text};
}

Finding CheckDisk(const settings::StoredSettings& /*settings*/, const char* subject)
{
    struct statvfs space = {};
    if (statvfs(subject, &space) != 0) {
        return {CheckWord::kUnknown, std::string(subject) + ": " + ErrnoText()};
    }

    const int left =
        std::min(PerCent(space.f_bavail, space.f_blocks), PerCent(space.f_favail, space.f_files));
    if (left >= kLittle) return {};
    return {left < kTooLittle ? CheckWord::kFailed : CheckWord::kWarning,
            std::string(subject) + " has " + std::to_string(left) + " % left"};
}

Finding CheckPostfixFiles(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const auto results = RunPrograms({{programs::kPostfix, "-c", kPostfixFiles, "check"},
                                      {programs::kPostconf, "-c", kPostfixFiles, "-n"}},
                                     CheckOptions());
    Finding finding = Judge(results[0]);
    Add(finding, Judge(results[1]));
    // postconf warns about unknown parameters, but succeeds.
    if (!results[1].errors.empty())
        Add(finding, {CheckWord::kWarning, FirstLine(results[1].errors)});
    return finding;
}

Finding CheckDovecotFiles(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    return Judge(RunProgram({programs::kDoveconf, "-c", kDovecotFile, "-n"}, CheckOptions()));
}

Finding CheckDkimFiles(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    return Judge(RunProgram({programs::kOpenDkim, "-x", kDkimFile, "-n"}, CheckOptions()));
}

Finding CheckDmarcFiles(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    return Judge(RunProgram({programs::kOpenDmarc, "-c", kDmarcFile, "-n"}, CheckOptions()));
}

}  // namespace host::selfcheck
