// The states of the settings that are kept. Reads the generations' manifests and settings.
#include "upkeep/history/kept_states.h"

#include <algorithm>
#include <map>
#include <set>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libmailvane/generation/generation.h"

namespace upkeep {

namespace {

using host::generation::NumberOf;
using host::system::Manifest;

constexpr char kSettings[] = "mailvane.conf";

/// Files that hold settings, by the name under which they are told.
struct SettingsFile {
    const char* told;
    const char* file;
};
constexpr SettingsFile kLists[] = {{"domains", "domains"}, {"blocklists", "dnsbl"}};

std::map<std::string, std::string> SettingsOf(const std::string& name)
{
    const auto file =
        host::KeyValueFile::Read(host::generation::GenerationDirectory(name) + "/" + kSettings);
    if (!file) return {};
    const auto values = file->Values();
    return {values.begin(), values.end()};
}

/// The keys whose values differ, or that only one of them has.
std::vector<std::string> DifferingKeys(const std::map<std::string, std::string>& one,
                                       const std::map<std::string, std::string>& other)
{
    std::set<std::string> keys;
    for (const auto* values : {&one, &other}) {
        for (const auto& [key, value] : *values) keys.insert(key);
    }
    const auto valueOf = [](const auto& values, const std::string& key) {
        const auto found = values.find(key);
        return found == values.end() ? nullptr : &found->second;
    };
    std::vector<std::string> differing;
    for (const std::string& key : keys) {
        const std::string* const first = valueOf(one, key);
        const std::string* const second = valueOf(other, key);
        const bool same = first != nullptr && second != nullptr && *first == *second;
        if (!same) differing.push_back(key);
    }
    return differing;
}

std::vector<std::string> DifferingSettings(const std::string& before, const std::string& after)
{
    std::vector<std::string> names = DifferingKeys(SettingsOf(before), SettingsOf(after));
    for (const SettingsFile& list : kLists) {
        std::string texts[2];
        (void)host::ReadFile(host::generation::GenerationDirectory(before) + "/" + list.file,
                             texts[0]);
        (void)host::ReadFile(host::generation::GenerationDirectory(after) + "/" + list.file,
                             texts[1]);
        if (texts[0] != texts[1]) names.emplace_back(list.told);
    }
    return names;
}

bool IsOfSettings(const std::string& file)
{
    return file == kSettings ||
           std::any_of(std::begin(kLists), std::end(kLists),
                       [&file](const SettingsFile& list) { return file == list.file; });
}

/// Last parts of the paths of the other files that differ.
std::vector<std::string> DifferingFiles(const Manifest& before, const Manifest& after)
{
    constexpr std::string_view kCompiled = ".cdb";
    std::set<std::string> names;
    for (const std::string& file : DifferingKeys(before, after)) {
        const bool isCompiled =
            file.size() > kCompiled.size() &&
            file.compare(file.size() - kCompiled.size(), std::string::npos, kCompiled) == 0;
        if (!isCompiled && !IsOfSettings(file)) names.insert(file.substr(file.rfind('/') + 1));
    }
    return {names.begin(), names.end()};
}

/// The names of the complete generations, the oldest first.
std::vector<std::string> Names(const std::string& inForce)
{
    std::vector<std::string> names = host::generation::EarlierGenerations();
    if (!inForce.empty()) names.push_back(inForce);
    names.erase(
        std::remove_if(names.begin(), names.end(),
                       [](const auto& name) { return !host::generation::IsGeneration(name); }),
        names.end());
    std::sort(names.begin(), names.end(),
              [](const auto& one, const auto& other) { return NumberOf(one) < NumberOf(other); });
    return names;
}

}  // namespace

std::vector<KeptState> KeptStates()
{
    const std::string inForce = host::generation::CurrentGeneration();
    std::vector<KeptState> states;
    std::string before;
    for (const std::string& name : Names(inForce)) {
        KeptState state;
        state.number = NumberOf(name);
        state.name = name;
        state.origin = host::system::ReadOrigin(host::generation::GenerationDirectory(name));
        state.inForce = name == inForce;
        if (!before.empty()) {
            state.settings = DifferingSettings(before, name);
            state.files = DifferingFiles(host::generation::ReadManifest(before),
                                         host::generation::ReadManifest(name));
        }
        state.different = DifferingSettings(inForce, name);
        states.push_back(std::move(state));
        before = name;
    }
    return states;
}

std::optional<KeptState> FindKeptState(std::uint64_t number)
{
    for (KeptState& state : KeptStates()) {
        if (state.number == number) return std::move(state);
    }
    return std::nullopt;
}

}  // namespace upkeep
