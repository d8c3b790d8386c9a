// The processes of a daemon. Reads /proc.
#include "tools/hald_service/processes.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"

namespace service {

namespace {

struct Process {
    pid_t number;
    pid_t parent;
    pid_t group;
    pid_t session;
    unsigned long long start;
    unsigned long long memory;  ///< in bytes; none any more when it is ending
};

/// A running process, parsed from /proc/PID/stat: "number (name) state parent group session ...
/// start memory ...".
std::optional<Process> ReadProcess(pid_t number)
{
    // Files in /proc have no size, so the file is read to its end.
    const std::string path = host::Path("/proc/" + std::to_string(number) + "/stat");
    std::string text;
    if (!host::ReadFile(path, text)) return std::nullopt;

    const std::size_t name = text.rfind(')');  // the name may have any characters
    if (name == std::string::npos) return std::nullopt;
    char state = 0;
    Process process{number, 0, 0, 0, 0, 0};
    const int fields = std::sscanf(  // NOLINT(cert-err34-c)
        text.c_str() + name + 1,
        " %c %d %d %d %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %llu %llu",
        &state, &process.parent, &process.group, &process.session, &process.start, &process.memory);
    if (fields != 6 || state == 'Z' || state == 'X') return std::nullopt;
    return process;
}

std::vector<Process> AllProcesses()
{
    std::vector<Process> processes;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(host::Path("/proc").c_str()),
                                                     ::closedir);
    if (!folder) return processes;
    while (const dirent* entry = ::readdir(folder.get())) {
        char* end = nullptr;
        const long number = std::strtol(entry->d_name, &end, 10);
        if (number <= 0 || *end != '\0') continue;
        if (const auto process = ReadProcess(static_cast<pid_t>(number))) {
            processes.push_back(*process);
        }
    }
    return processes;
}

}  // namespace

ProcessSet ProcessSet::Of(pid_t master, bool all)
{
    const auto leader = ReadProcess(master);
    if (!leader) return Orphans(master);

    ProcessSet set;
    set.members_[master] = leader->start;
    if (leader->group == master || (leader->group != getpgrp() && !ReadProcess(leader->group))) {
        set.groups_.insert(leader->group);
    }
    const std::vector<Process> processes = AllProcesses();
    for (std::size_t before = 0; before != set.members_.size();) {
        before = set.members_.size();
        for (const Process& process : processes) {
            const bool descends = (all || process.session == leader->session) &&
                                  set.members_.count(process.parent) > 0;
            const bool isOurs = descends || set.groups_.count(process.group) > 0;
            if (isOurs) set.members_[process.number] = process.start;
        }
    }
    return set;
}

ProcessSet ProcessSet::WorkersOf(pid_t master)
{
    ProcessSet set = Of(master);
    set.members_.erase(master);
    set.groups_.clear();
    return set;
}

ProcessSet ProcessSet::Orphans(pid_t group)
{
    ProcessSet set;
    if (group <= 1 || group == getpgrp()) return set;
    const auto leader = ReadProcess(group);
    if (!leader || leader->memory == 0) set.groups_.insert(group);
    return set;
}

std::string ProcessSet::Name(pid_t process)
{
    const auto read = ReadProcess(process);
    return read ? std::to_string(process) + " " + std::to_string(read->start) : "";
}

/// The addresses that the kernel has given to the program, by chance.
std::string ProcessSet::Program(pid_t process)
{
    std::string text;
    const std::string path = host::Path("/proc/" + std::to_string(process) + "/auxv");
    return host::ReadFile(path, text) ? text : "";
}

std::vector<pid_t> ProcessSet::Running() const
{
    std::vector<pid_t> numbers;
    if (groups_.empty()) {
        for (const auto& [number, start] : members_) {
            const auto process = ReadProcess(number);
            if (process && process->start == start) numbers.push_back(number);
        }
        return numbers;
    }
    for (const Process& process : AllProcesses()) {
        const auto member = members_.find(process.number);
        const bool isMember = member != members_.end() && member->second == process.start;
        if (isMember || groups_.count(process.group) > 0) numbers.push_back(process.number);
    }
    return numbers;
}

bool ProcessSet::AreGone() const
{
    return Running().empty();
}

void ProcessSet::SignalGroups(int number) const
{
    for (const pid_t group : groups_) (void)kill(-group, number);
}

void ProcessSet::Signal(int number) const
{
    for (const pid_t process : Running()) (void)kill(process, number);
}

}  // namespace service
