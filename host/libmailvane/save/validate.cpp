// Validates a generation before it is activated. Postfix's own check of a whole installation
// accepts a missing map, a service listed twice and a port out of range, and looks through the
// queue. So what a generation says is checked here, by the tools that read it. Files that are those
// in force have been checked before.
#include "host/libmailvane/save/validate.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/listening_ports.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/settings/derived_settings.h"
#include "host/libmailvane/settings/shared_counters.h"
#include "host/libmailvane/system/user_command.h"

namespace host::save {

namespace {

/// Types of maps that are kept in files. Other types are served by daemons or need no data.
const char* const kFileTypes[] = {"hash",   "btree", "cdb",  "lmdb",   "texthash",
                                  "regexp", "pcre",  "cidr", "sqlite", "ldap"};

/// The settings to be saved, and those stored; null when they cannot be read.
struct Change {
    const settings::StoredSettings& wanted;
    const settings::StoredSettings* stored;
};

Reason GivenTwice(int port, const MailService& one, const MailService& other)
{
    const auto setting = [](const MailService& service) {
        return Subject::Setting({service, &MailService::portKey});
    };
    Reason reason{ReasonCode::kGivenTwice, setting(one),
                  "refused: port " + std::to_string(port) + " is given to two services"};
    reason.causes = {{ReasonCode::kGivenTwice, setting(other), ""}};
    return reason;
}

Result<void> PortsAreFree(const settings::StoredSettings& wanted)
{
    std::map<int, const MailService*> services;
    std::set<int> ports;
    for (const MailService* service : settings::EnabledServices(wanted)) {
        const int port = wanted.Int(service->portKey);
        const auto [other, isNew] = services.emplace(port, service);
        if (!isNew) return GivenTwice(port, *other->second, *service);
        ports.insert(port);
    }

    const auto held = daemons::PortsHeldByOthers(ports);
    if (!held) return held.reason();
    if (held->empty()) return {};
    const daemons::HeldPort& first = held->front();
    return daemons::PortIsHeld(first, services.at(first.port),
                               "refused: port " + std::to_string(first.port) + " is in use");
}

/// Refuses a service that master.cf lists twice: the administrator may add one that the package
/// has.
Result<void> ServicesStandOnce(const generation::NextGeneration& next)
{
    std::string text;
    const std::string path = next.directory() + "/postfix/master.cf";
    if (!ReadFile(path, text))
        return SystemReason(Subject::List("settings"), "cannot read " + path);

    std::istringstream lines(text);
    std::set<std::pair<std::string, std::string>> services;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        std::string type;
        const bool isEntry = !line.empty() && line.front() != ' ' && line.front() != '#';
        if (!isEntry || !(words >> name >> type)) continue;
        if (services.emplace(name, type).second) continue;

        const std::string service = name.append("/").append(type);
        return Reason{ReasonCode::kGivenTwice, Subject::Service(daemons::kPostfix),
                      "refused: the service " + service + " stands twice"};
    }
    return {};
}

/// A daemon's own check, `program`, has found a fault in its files.
Reason RefusedBy(const daemons::Daemon& daemon, const std::string& program,
                 const ProgramResult& result)
{
    const bool isLate = !result.done && result.done.reason().code == ReasonCode::kOutOfTime;
    return {isLate ? ReasonCode::kOutOfTime : ReasonCode::kDaemonRefuses, Subject::Service(daemon),
            "refused by " + program + ": " + result.errors, result.Causes()};
}

ProgramOptions Capturing()
{
    ProgramOptions options;
    options.capture = true;
    return options;
}

std::string PostfixFolder(const generation::NextGeneration& next)
{
    return next.directory() + "/postfix";
}

/// Success when a check ended well and printed no complaint; else the reason.
Result<void> Passed(const daemons::Daemon& daemon, const char* check, const ProgramResult& result)
{
    if (result.Succeeded() && result.errors.empty()) return {};
    return RefusedBy(daemon, check, result);
}

/// The file-based tables that a dump of Postfix parameters names, as `type:path`.
std::set<std::string> TablesIn(const std::string& parameters)
{
    std::set<std::string> tables;
    for (const char* type : kFileTypes) {
        std::string start = type;
        start += ":/";
        for (auto at = parameters.find(start); at != std::string::npos;
             at = parameters.find(start, at + 1)) {
            const bool isWord =
                at == 0 || std::isalnum(static_cast<unsigned char>(parameters[at - 1])) == 0;
            const auto end = parameters.find_first_of(" ,;\n\t}{", at);
            if (isWord) tables.insert(parameters.substr(at, end - at));
        }
    }
    return tables;
}

/// Whether a table is to be queried: one of the generation that has changed, or any that is not the
/// package's. A compiled map lies beside its source.
bool IsNew(const std::string& table, const generation::NextGeneration& next)
{
    const std::string path = table.substr(table.find(':') + 1);
    const std::string folder = next.directory() + "/";
    return path.rfind(folder, 0) != 0 || next.Changed(path.substr(folder.size()));
}

Result<void> TablesAnswer(const generation::NextGeneration& next,
                          const std::set<std::string>& tables)
{
    std::vector<std::string> asked;
    std::vector<std::vector<std::string>> queries;
    for (const std::string& table : tables) {
        if (!IsNew(table, next)) continue;
        asked.push_back(table);
        queries.push_back({programs::kPostmap, "-c", PostfixFolder(next), "-q", "probe", table});
    }
    const std::vector<ProgramResult> results = RunPrograms(queries, Capturing());
    auto table = asked.begin();
    for (const ProgramResult& result : results) {
        // Exit status 1 without output only means that the table has no such key.
        if (result.status < 0 || result.status > 1 || !result.errors.empty()) {
            return Reason{ReasonCode::kDaemonRefuses, Subject::Service(daemons::kPostfix),
                          "refused: the table " + *table + " cannot be queried", result.Causes()};
        }
        ++table;
    }
    return {};
}

/// A check of a daemon's files by a program of its own.
struct Check {
    const daemons::Daemon& daemon;
    const char* program;
    std::vector<std::string> command;
    bool mayComplain = false;  ///< what it prints besides is no fault
};

using Checks = std::vector<Check>;

/// Adds the checks of Postfix's parameters: those of main.cf and master.cf that are set, with
/// variables expanded, and that numbers are numbers, which is noticed by whoever works with them.
void AddPostfixChecks(const generation::NextGeneration& next, Checks& checks)
{
    const std::string folder = PostfixFolder(next);
    for (const char* which : {"-n", "-P"}) {
        checks.push_back({daemons::kPostfix,
                          programs::kPostconf,
                          {programs::kPostconf, "-c", folder, "-x", which}});
    }
    checks.push_back({daemons::kPostfix,
                      programs::kPostmap,
                      {programs::kPostmap, "-c", folder, "-q", "probe", "static:probe"}});
}

/// Runs checks side by side. Returns the parameters that Postfix's have printed, or the reason of
/// the first that does not pass.
Result<std::string> Run(const Checks& checks)
{
    std::vector<std::vector<std::string>> commands;
    commands.reserve(checks.size());
    for (const Check& check : checks) commands.push_back(check.command);
    const std::vector<ProgramResult> results = RunPrograms(commands, Capturing());
    std::string parameters;
    auto check = checks.begin();
    for (const ProgramResult& result : results) {
        if (!result.Succeeded() || (!result.errors.empty() && !check->mayComplain)) {
            return RefusedBy(check->daemon, check->program, result);
        }
        if (&check->daemon == &daemons::kPostfix) parameters += result.output;
        ++check;
    }
    return parameters;
}

/// A filter's configuration with paths through the link `current` replaced by the new generation's.
std::string AsInForce(const generation::NextGeneration& next, const std::string& relative)
{
    const std::string link = generation::GeneratedDirectory() + "/current/";
    const std::string directory = next.directory() + "/";
    std::string text;
    if (!ReadFile(directory + relative, text)) return "";

    for (auto at = text.find(link); at != std::string::npos; at = text.find(link, at + 1)) {
        text.replace(at, link.size(), directory);
    }
    return text;
}

/// Has a filter check a configuration, given on its standard input.
Result<void> FilterAccepts(const generation::NextGeneration& next, const daemons::Daemon& filter,
                           const char* option, const std::string& relative)
{
    ProgramOptions options;
    options.capture = true;
    options.input = AsInForce(next, relative);
    const std::string program(filter.program);
    return Passed(filter, program.c_str(),
                  RunProgram({program, "-n", option, "/dev/stdin"}, options));
}

/// Whether a daemon is to run with files that it does not run with now: changed ones, or because it
/// is being switched on.
bool TakesUp(const daemons::Daemon& daemon, const char* files,
             const generation::NextGeneration& next, const Change& change)
{
    return daemons::Runs(daemon, change.wanted) &&
           (next.Changed(files) || !change.stored || !daemons::Runs(daemon, *change.stored));
}

Result<void> FiltersAccept(const generation::NextGeneration& next, const Change& change)
{
    Result<void> accepted;
    if (TakesUp(daemons::kDkimFilter, "opendkim/", next, change)) {
        accepted = FilterAccepts(next, daemons::kDkimFilter, "-x", "opendkim/opendkim.conf");
    }
    if (accepted && TakesUp(daemons::kDmarcFilter, "opendmarc/", next, change)) {
        accepted = FilterAccepts(next, daemons::kDmarcFilter, "-c", "opendmarc/opendmarc.conf");
    }
    return accepted;
}

/// The checks that the daemons have for their own files.
Checks OwnChecks(const generation::NextGeneration& next, const Change& change)
{
    Checks checks;
    if (next.Changed("postfix/")) AddPostfixChecks(next, checks);
    if (next.Changed("dovecot/")) {
        checks.push_back(
            {daemons::kDovecot,
             programs::kDoveconf,
             {programs::kDoveconf, "-c", next.directory() + "/dovecot/dovecot.conf", "-n"},
             true});
    }
    // The scanner's file is a Perl program, so it is loaded by the scanner's user.
    if (TakesUp(daemons::kScanner, render::kScannerFile, next, change)) {
        const std::string file = next.directory() + "/" + render::kScannerFile;
        checks.push_back(
            {daemons::kScanner, programs::kAmavisd,
             system::AsUser(daemons::kScanner.user, {programs::kAmavisd, "-c", file, "showkeys"}),
             true});
    }
    return checks;
}

}  // namespace

Result<void> MapsAnswer(const generation::NextGeneration& next)
{
    if (!next.Changed("postfix/")) return {};
    Checks checks;
    AddPostfixChecks(next, checks);
    const Result<std::string> parameters = Run(checks);
    return parameters ? TablesAnswer(next, TablesIn(*parameters)) : parameters.reason();
}

Result<void> ValidateGeneration(const generation::NextGeneration& next,
                                const settings::StoredSettings& wanted)
{
    const auto counters = settings::SharedCounters();
    if (!counters) return counters.reason();
    Result<void> good = PortsAreFree(wanted);
    if (good && next.Changed("postfix/master.cf")) good = ServicesStandOnce(next);
    if (!good) return good;

    const auto stored = settings::StoredSettings::Read();
    const Change change{wanted, stored ? &*stored : nullptr};
    const Result<std::string> parameters = Run(OwnChecks(next, change));
    if (!parameters) return parameters.reason();
    good = TablesAnswer(next, TablesIn(*parameters));
    return good ? FiltersAccept(next, change) : good;
}

}  // namespace host::save
