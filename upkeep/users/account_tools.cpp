// Accounts made, changed and removed with Debian's own tools: useradd, chpasswd, usermod, userdel.
#include "upkeep/users/account_tools.h"

#include <string.h>

#include <chrono>
#include <thread>
#include <vector>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldsdk/account_lookup.h"
#include "upkeep/users/local_users.h"

namespace upkeep {

namespace {

using host::ProgramOptions;
using host::ProgramResult;
using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr char kDovecot[] = "etc/generated/current/dovecot/dovecot.conf";
constexpr int kNameInUse = 9;     // exit status of useradd
constexpr int kUserIsActive = 8;  // of userdel, while a process of the user runs
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kPause{100};

/// Runs a tool; `code` and `about` say what a failure means.
Result<void> RunTool(const std::vector<std::string>& words, ReasonCode code, Subject about)
{
    ProgramOptions options;
    options.capture = true;
    const ProgramResult result = host::RunProgram(words, options);
    if (result.Succeeded()) return {};
    return Reason{result.status < 0 ? ReasonCode::kSystem : code, std::move(about),
                  words.front() + " failed: " + result.errors, result.Causes()};
}

Result<void> DeleteWhenIdle(const std::string& name)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    ProgramOptions options;
    options.capture = true;
    for (;;) {
        const ProgramResult result =
            host::RunProgram({host::programs::kUserdel, "--", name}, options);
        if (result.Succeeded()) return {};
        const bool isActive = result.status == kUserIsActive;
        if (isActive && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(kPause);
            continue;
        }
        return Reason{isActive ? ReasonCode::kBusy : ReasonCode::kSystem, Subject::Setting("name"),
                      "userdel failed: " + result.errors, result.Causes()};
    }
}

}  // namespace

Result<void> MakeAccount(const std::string& name, const std::string& password)
{
    ProgramOptions options;
    options.capture = true;
    const ProgramResult made = host::RunProgram(
        {host::programs::kUseradd, "--create-home", "--home-dir", "/home/" + name, "--key",
         "HOME_MODE=0700", "--key", "UID_MIN=" + std::to_string(host::kFirstMailUser), "--key",
         "UID_MAX=" + std::to_string(host::kLastMailUser), "--shell", kNoShell, "--", name},
        options);
    if (!made.Succeeded()) {
        return Reason{made.status == kNameInUse ? ReasonCode::kTaken : ReasonCode::kSystem,
                      Subject::Setting("name"), "useradd failed: " + made.errors, made.Causes()};
    }
    Result<void> set = SetAccountPassword(name, password);
    if (!set) {
        (void)host::Succeeded(RunTool({host::programs::kUserdel, "--remove", "--", name},
                                      ReasonCode::kSystem, Subject::Setting("name")));
    }
    return set;
}

Result<void> SetAccountPassword(const std::string& name, const std::string& password)
{
    ProgramOptions options;
    options.capture = true;
    options.input = name + ":" + password + "\n";
    // With this limit the kernel writes no core, and pipes none to a program either.
    const ProgramResult set = host::RunProgram(
        {host::programs::kPrlimit, "--core=1:1", host::programs::kChpasswd}, options);
    explicit_bzero(options.input.data(), options.input.size());
    if (set.Succeeded()) return {};
    // What it says of a refusal does not hold the password, but need not be repeated either.
    return Reason{set.status < 0 ? ReasonCode::kSystem : ReasonCode::kRefused,
                  Subject::Setting("password"), "chpasswd refused the password of " + name,
                  set.Causes()};
}

Result<void> RemoveAccount(const std::string& name)
{
    const Subject about = Subject::Setting("name");
    Result<void> locked =
        RunTool({host::programs::kUsermod, "--lock", "--", name}, ReasonCode::kSystem, about);
    if (!locked) return locked;
    // Nobody may be connected, or the mailbox server be off.
    ProgramOptions quiet;
    quiet.capture = true;
    (void)host::RunProgram(
        {host::programs::kDoveadm, "-c", host::PackagePath(kDovecot), "kick", name}, quiet);
    Result<void> removed = DeleteWhenIdle(name);
    if (!removed) {
        (void)host::Succeeded(RunTool({host::programs::kUsermod, "--unlock", "--", name},
                                      ReasonCode::kSystem, about));
    }
    return removed;
}

}  // namespace upkeep
