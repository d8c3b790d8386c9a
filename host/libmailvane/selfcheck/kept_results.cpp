// What the last self-check found. Reads and writes /run/mailvane/check.results.
#include "host/libmailvane/selfcheck/kept_results.h"

#include <cstdlib>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace host::selfcheck {

namespace {

constexpr char kDate[] = "date";
constexpr CheckWord kWords[] = {CheckWord::kOff, CheckWord::kOk, CheckWord::kUnknown,
                                CheckWord::kWarning, CheckWord::kFailed};

std::string KeptPath()
{
    return Path("/run/mailvane/check.results");
}

}  // namespace

void KeepResults(const std::vector<CheckResult>& results, std::int64_t now)
{
    auto file = KeyValueFile::Parse("");
    bool kept = file.Set(kDate, std::to_string(now));
    for (const CheckResult& result : results) {
        kept = file.Set(result.key, Spelling(result.finding.word)) && kept;
    }
    if (!kept || !file.Write(KeptPath(), 0600)) {
        Log(LOG_WARNING, "self-check: its results cannot be kept: %s", ErrnoText());
    }
}

std::optional<KeptResults> ReadKeptResults()
{
    const auto file = KeyValueFile::Read(KeptPath());
    if (!file) return std::nullopt;
    KeptResults kept;
    kept.date = std::strtoll(file->Get(kDate).value_or("").c_str(), nullptr, 10);
    for (const auto& [key, value] : file->Values()) {
        for (const CheckWord word : kWords) {
            if (value == Spelling(word)) kept.words[key] = word;
        }
    }
    return kept;
}

}  // namespace host::selfcheck
