// Checks of the self-check on the mail scanner and the anti-virus engine.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <memory>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/signatures.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/render/spam_filter.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/system/line_client.h"
#include "host/libmailvane/system/user_command.h"

namespace host::selfcheck {

namespace {

constexpr int kSecondsADay = 86400;
constexpr int kOldDays = 2;
constexpr int kTooOldDays = 7;
constexpr int kOldRulesDays = 30;
const char kUpdateSignatures[] =
    "/var/packages/Mailvane/target/bin/hald_anti-virus update tells why, in the system log";
const char kUpdateRules[] = "/var/packages/Mailvane/target/scripts/update_rules.sh tells why";

bool HoldsSignatures(const char* name, const struct stat& file)
{
    return S_ISREG(file.st_mode) && file.st_size > 0 && daemons::IsSignatureFile(name);
}

bool HoldsRules(const char* name, const struct stat& file)
{
    return S_ISREG(file.st_mode) && std::filesystem::path(name).extension() == ".cf";
}

/// Modification time of the newest file of a kind in a directory; 0 when there are none.
std::time_t Newest(const std::string& directory, bool (*isWanted)(const char*, const struct stat&))
{
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory.c_str()), closedir);
    std::time_t newest = 0;
    if (!entries) return newest;

    while (const dirent* entry = readdir(entries.get())) {
        struct stat file = {};
        const bool found =
            fstatat(dirfd(entries.get()), entry->d_name, &file, AT_SYMLINK_NOFOLLOW) == 0;
        if (found && isWanted(entry->d_name, file)) newest = std::max(newest, file.st_mtime);
    }
    return newest;
}

}  // namespace

Finding CheckScanner(const settings::StoredSettings& /*settings*/, const char* subject)
{
    // The scanner answers any request, but only while a process is free for mail.
    system::LineClient client(subject);
    client.SendBytes("request=smtpd_access_policy\n\n");
    if (client.ReadLine().value_or("").rfind("action=", 0) == 0) return {};
    return {CheckWord::kFailed, std::string(subject) + " does not answer"};
}

Finding CheckAntiVirus(const settings::StoredSettings& /*settings*/, const char* subject)
{
    system::LineClient client(subject);
    client.SendBytes({"zPING", sizeof "zPING"});
    if (client.ReadBytes(4) == "PONG") return {};
    return {CheckWord::kFailed, std::string(subject) + " does not answer"};
}

Finding CheckSignatures(const settings::StoredSettings& /*settings*/, const char* subject)
{
    const std::time_t newest = Newest(subject, HoldsSignatures);
    if (newest == 0)
        return {CheckWord::kFailed, "there are no signatures; " + std::string(kUpdateSignatures)};

    const auto days = (std::time(nullptr) - newest) / kSecondsADay;
    if (days < kOldDays) return {};
    return {
        days < kTooOldDays ? CheckWord::kWarning : CheckWord::kFailed,
        "the newest signatures are " + std::to_string(days) + " days old; " + kUpdateSignatures};
}

Finding CheckSpamRules(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const std::time_t newest = std::max(Newest(Path(render::kFetchedRules), HoldsRules),
                                        Newest(Path(render::kShippedRules), HoldsRules));
    const auto days = (std::time(nullptr) - newest) / kSecondsADay;
    if (days < kOldRulesDays) return {};
    return {CheckWord::kWarning,
            "the newest rules are " + std::to_string(days) + " days old; " + kUpdateRules};
}

Finding CheckScannerFiles(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const std::string file = generation::GeneratedDirectory() + "/current/" + render::kScannerFile;
    const ProgramResult check = RunProgram(
        system::AsUser(daemons::kScanner.user, {programs::kAmavisd, "-c", file, "showkeys"}),
        CheckOptions());
    if (check.Succeeded()) return {};
    if (check.status < 0) return {CheckWord::kUnknown, check.done.reason().text};
    return {CheckWord::kFailed, check.errors.substr(0, check.errors.find('\n'))};
}

}  // namespace host::selfcheck
