// The spam filter's own check of its rules.
#include "host/libmailvane/save/spam_rule_lint.h"

#include <pwd.h>
#include <stdlib.h>  // mkdtemp
#include <unistd.h>

#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/spam_filter.h"
#include "host/libmailvane/system/user_command.h"

namespace host::save {
namespace {

namespace fs = std::filesystem;

const char kPlugins[] = "mailvane.pre";
constexpr std::chrono::seconds kLimit{60};
constexpr std::size_t kLongestComplaint = 2000;

/// A temporary directory, removed at the end of the scope.
class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        std::string name = "/tmp/mailvane-lint.XXXXXX";
        if (mkdtemp(name.data()) != nullptr) path_ = name;
    }
    ~TemporaryDirectory()
    {
        std::error_code error;
        if (!path_.empty()) fs::remove_all(path_, error);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Fills the directory with what the spam filter reads, the plugins in force and the rules, and
/// gives it to the filter's user as home.
bool Furnish(const std::string& directory, const std::string& rules)
{
    const struct passwd* user = getpwnam(std::string(daemons::kScanner.user).c_str());
    std::string plugins;
    const std::string inForce =
        generation::GeneratedDirectory() + "/current/amavis/spamassassin/" + std::string(kPlugins);
    return user != nullptr && !directory.empty() && ReadFile(inForce, plugins) &&
           ReplaceFile(directory + "/" + kPlugins, plugins, 0644) &&
           ReplaceFile(directory + "/rules.cf", rules, 0644) &&
           chown(directory.c_str(), user->pw_uid, user->pw_gid) == 0;
}

}  // namespace

Result<void> SpamFilterTakes(const std::string& rules)
{
    const TemporaryDirectory home;
    if (!Furnish(home.path(), rules)) {
        return SystemReason(Subject::Service(daemons::kScanner),
                            "the spam filter cannot be asked about its rules");
    }
    ProgramOptions options;
    options.limit = kLimit;
    options.capture = true;
    std::vector<std::string> command = {programs::kEnv,
                                        "HOME=" + home.path(),
                                        programs::kSpamassassin,
                                        "--lint",
                                        "--siteconfigpath=" + home.path(),
                                        "--prefspath=/dev/null"};
    // The rules that the scanner reads, too.
    const std::string fetched = Path(render::kFetchedRules);
    if (fs::is_directory(fetched)) command.push_back("--configpath=" + fetched);
    const ProgramResult result =
        RunProgram(system::AsUser(daemons::kScanner.user, command), options);
    if (result.Succeeded()) return {};
    const bool isJudged = result.status > 0;
    return Reason{isJudged ? ReasonCode::kDaemonRefuses : ReasonCode::kDaemonIsDown,
                  Subject::Service(daemons::kScanner),
                  "refused by the spam filter: " + result.errors.substr(0, kLongestComplaint),
                  result.Causes()};
}

}  // namespace host::save
