// The self-check between reports. Reads and writes /run/mailvane/check.state.
#include "tools/report/check_watch.h"

#include <cstdlib>
#include <sstream>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"

namespace report {

namespace {

using host::selfcheck::CheckResult;
using host::selfcheck::CheckWord;

constexpr std::int64_t kPause = std::int64_t{15} * 60;
constexpr char kDefaults[] = "/etc/default/mailvane";
constexpr char kSwitch[] = "MAILVANE_CHECK_MAIL";

std::string StatePath()
{
    return host::Path("/run/mailvane/check.state");
}

std::set<std::string> Words(const host::KeyValueFile& file, const char* key)
{
    std::istringstream words(file.Get(key).value_or(""));
    std::set<std::string> found;
    for (std::string word; words >> word;) found.insert(word);
    return found;
}

std::string Joined(const std::set<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) text.append(text.empty() ? "" : " ").append(word);
    return text;
}

bool IsBad(const CheckResult& result)
{
    return result.finding.word >= CheckWord::kWarning;
}

bool IsWell(const CheckResult& result)
{
    return result.finding.word <= CheckWord::kOk;
}

}  // namespace

CheckMemory ReadCheckMemory()
{
    const auto file = host::KeyValueFile::Read(StatePath());
    if (!file) return {};
    return {strtoll(file->Get("last_run").value_or("").c_str(), nullptr, 10), Words(*file, "seen"),
            Words(*file, "told")};
}

host::Result<void> WriteCheckMemory(const CheckMemory& memory)
{
    auto file = host::KeyValueFile::Parse("");
    if (file.Set("last_run", std::to_string(memory.lastRun)) &&
        file.Set("seen", Joined(memory.seen)) && file.Set("told", Joined(memory.told)) &&
        file.Write(StatePath(), 0600)) {
        return {};
    }
    return host::SystemReason(StatePath(), "cannot store what the self-check has found");
}

bool ChecksAreMailed()
{
    const auto defaults = host::KeyValueFile::Read(host::Path(kDefaults));
    return defaults && defaults->Get(kSwitch) == "yes";
}

bool CheckIsDue(const CheckMemory& memory, std::int64_t now)
{
    return now < memory.lastRun || now - memory.lastRun >= kPause;
}

CheckNews NewsOf(const std::vector<CheckResult>& results, const CheckMemory& memory)
{
    CheckNews news;
    bool isLeft = false;
    for (const CheckResult& result : results) {
        const bool wasTold = memory.told.count(result.key) > 0;
        if (wasTold && !IsWell(result)) isLeft = true;
        if (!IsBad(result)) continue;
        if (wasTold) {
            news.badBefore.push_back(result);
        } else if (memory.seen.count(result.key) > 0) {
            news.turnedBad.push_back(result);
        }
    }
    news.isWellAgain = !memory.told.empty() && !isLeft && news.turnedBad.empty();
    return news;
}

CheckMemory Remembered(const std::vector<CheckResult>& results, const CheckMemory& memory,
                       bool isTold, std::int64_t now)
{
    CheckMemory next;
    next.lastRun = now;
    if (!isTold) next.told = memory.told;
    for (const CheckResult& result : results) {
        if (IsBad(result)) next.seen.insert(result.key);
        if (!isTold || IsWell(result)) continue;
        const bool wasTold = memory.told.count(result.key) > 0;
        if (wasTold || (IsBad(result) && memory.seen.count(result.key) > 0)) {
            next.told.insert(result.key);
        }
    }
    return next;
}

}  // namespace report
