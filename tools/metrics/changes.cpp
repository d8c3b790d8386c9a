// Metrics of the settings: the generation in force, changes and how they ended, and what the last
// self-check found.
#include <charconv>

#include "host/libhaldcore/audit.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/selfcheck/kept_results.h"
#include "host/libmailvane/selfcheck/self_check.h"
#include "tools/metrics/sources.h"

namespace metrics {

namespace {

constexpr Family kCheck = {"mailvane_check_state", "",
                           "What the last self-check found: 0 off, 1 ok, 2 unknown, 3 warning, 4"
                           " failed."};
constexpr Family kChecked = {"mailvane_check_run_timestamp_seconds", "seconds", "When that was."};
constexpr Family kGeneration = {"mailvane_generation_number", "",
                                "Number of the generation of files in force."};
constexpr Family kMade = {"mailvane_generation_made_timestamp_seconds", "seconds",
                          "When that was made."};
constexpr Family kPending = {"mailvane_change_pending", "",
                             "Whether a change is under way, or was broken off: 1 or 0."};
constexpr Family kChanges = {"mailvane_changes", "",
                             "Changes since the machine was started, by how they ended.",
                             Kind::kCounter};

}  // namespace

bool AddChecks(std::int64_t /*now*/, Exposition& exposition)
{
    const auto kept = host::selfcheck::ReadKeptResults();
    if (!kept) return false;
    std::vector<Sample> samples;
    for (const auto& check : host::selfcheck::AllChecks()) {
        const auto found = kept->words.find(check.key);
        if (found == kept->words.end()) continue;
        samples.push_back({{{"check", check.key}}, static_cast<double>(found->second)});
    }
    exposition.Add(kCheck, samples);
    exposition.Add(kChecked, static_cast<double>(kept->date));
    return true;
}

bool AddGeneration(std::int64_t /*now*/, Exposition& exposition)
{
    namespace generation = host::generation;
    const std::string name = generation::CurrentGeneration();
    if (!generation::IsGeneration(name)) return false;
    int number = 0;
    (void)std::from_chars(name.data() + name.rfind('-') + 1, name.data() + name.size(), number);
    const auto origin = host::system::ReadOrigin(generation::GenerationDirectory(name));
    exposition.Add(kGeneration, number);
    exposition.Add(kMade, static_cast<double>(origin.date));
    exposition.Add(kPending, generation::ReadPendingSave() ? 1 : 0);
    return true;
}

bool AddChanges(std::int64_t /*now*/, Exposition& exposition)
{
    std::vector<Sample> samples;
    for (const char* const result : {host::kChangeDone, host::kChangeFailed}) {
        samples.push_back(
            {{{"result", result}}, static_cast<double>(host::CountedChanges(result))});
    }
    exposition.Add(kChanges, samples);
    return true;
}

}  // namespace metrics
