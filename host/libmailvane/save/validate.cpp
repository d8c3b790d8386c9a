// Validates a generation before it is activated. `postfix check` accepts a missing map, a service
// listed twice and a port out of range, so these are checked here.
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

Result<void> TablesAnswer(const std::string& configuration, const std::set<std::string>& tables)
{
    std::vector<std::vector<std::string>> queries;
    queries.reserve(tables.size());
    for (const std::string& table : tables) {
        queries.push_back({programs::kPostmap, "-c", configuration, "-q", "probe", table});
    }
    ProgramOptions options;
    options.capture = true;
    const std::vector<ProgramResult> results = RunPrograms(queries, options);
    auto table = tables.begin();
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

/// The parameters of main.cf and master.cf that are set, with variables expanded.
std::vector<ProgramResult> DumpParameters(const std::string& configuration)
{
    ProgramOptions options;
    options.capture = true;
    return RunPrograms({{programs::kPostconf, "-c", configuration, "-x", "-n"},
                        {programs::kPostconf, "-c", configuration, "-x", "-P"}},
                       options);
}

Result<void> ParametersAndTablesAreGood(const std::string& configuration)
{
    const std::vector<ProgramResult> dumps = DumpParameters(configuration);
    std::string parameters;
    for (const ProgramResult& dump : dumps) {
        Result<void> passed = Passed(daemons::kPostfix, "postconf", dump);
        if (!passed) return passed;
        parameters += dump.output;
    }
    return TablesAnswer(configuration, TablesIn(parameters));
}

Result<void> OwnChecksPass(const generation::NextGeneration& next)
{
    // Always checked: Dovecot's files include the administrator's, which can change between saves.
    std::vector<std::vector<std::string>> checks{
        {programs::kDoveconf, "-c", next.directory() + "/dovecot/dovecot.conf", "-n"}};
    if (next.Changed("postfix/")) {
        checks.push_back({programs::kPostfix, "-c", next.directory() + "/postfix", "check"});
    }
    ProgramOptions options;
    options.capture = true;
    const std::vector<ProgramResult> results = RunPrograms(checks, options);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i].Succeeded()) continue;
        return RefusedBy(i == 0 ? daemons::kDovecot : daemons::kPostfix, checks[i].front(),
                         results[i]);
    }
    return {};
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

Result<void> FiltersAccept(const generation::NextGeneration& next,
                           const settings::StoredSettings& wanted)
{
    // main.cf changes when a filter is switched on.
    const bool mailServer = next.Changed("postfix/main.cf");
    const bool dkim =
        daemons::Runs(daemons::kDkimFilter, wanted) && (mailServer || next.Changed("opendkim/"));
    const bool dmarc =
        daemons::Runs(daemons::kDmarcFilter, wanted) && (mailServer || next.Changed("opendmarc/"));
    Result<void> accepted;
    if (dkim) accepted = FilterAccepts(next, daemons::kDkimFilter, "-x", "opendkim/opendkim.conf");
    if (accepted && dmarc) {
        accepted = FilterAccepts(next, daemons::kDmarcFilter, "-c", "opendmarc/opendmarc.conf");
    }
    return accepted;
}

/// Has the scanner load its configuration. The file is a Perl program, so it runs as the scanner's
/// user.
Result<void> ScannerAccepts(const generation::NextGeneration& next,
                            const settings::StoredSettings& wanted)
{
    // main.cf changes when the scanner is switched on.
    if (!daemons::Runs(daemons::kScanner, wanted) ||
        !(next.Changed("postfix/main.cf") || next.Changed(render::kScannerFile))) {
        return {};
    }

    ProgramOptions options;
    options.capture = true;
    const ProgramResult check = RunProgram(
        system::AsUser(
            daemons::kScanner.user,
            {programs::kAmavisd, "-c", next.directory() + "/" + render::kScannerFile, "showkeys"}),
        options);
    if (check.Succeeded()) return {};
    return RefusedBy(daemons::kScanner, programs::kAmavisd, check);
}

}  // namespace

Result<void> MapsAnswer(const generation::NextGeneration& next)
{
    return ParametersAndTablesAreGood(next.directory() + "/postfix");
}

Result<void> ValidateGeneration(const generation::NextGeneration& next,
                                const settings::StoredSettings& wanted)
{
    const auto counters = settings::SharedCounters();
    if (!counters) return counters.reason();
    Result<void> good = PortsAreFree(wanted);
    if (good) good = ServicesStandOnce(next);
    if (good) good = MapsAnswer(next);
    if (good) good = OwnChecksPass(next);
    if (good) good = FiltersAccept(next, wanted);
    if (good) good = ScannerAccepts(next, wanted);
    return good;
}

}  // namespace host::save
