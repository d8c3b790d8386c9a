// hald_set_config: makes what the daemons read from what is stored.
//
//   hald_set_config alias                rebuilds the alias tables
//   hald_set_config render               renders every file of the daemons from the stored settings
//   hald_set_config apply                the same, and puts it in force as a save does
//   hald_set_config recover              finishes or undoes a save that was interrupted; takes back
//                                        what was not confirmed in time; renders when the kernel
//                                        has got or lost IPv6
//   hald_set_config take-back            takes back what is not confirmed, when its time is up
//   hald_set_config repair [DIRECTORY]   makes account databases in the place of lost ones: those
//   in
//                                        a staged directory, or empty ones
//   hald_set_config restore DIRECTORY    puts the state in a staged directory in force
//   hald_set_config dkim PAIR            makes a replaced key pair the one that signs
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/libhaldcore/request_note.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/pages/key_pairs.h"
#include "host/libmailvane/pages/staged_state.h"
#include "host/libmailvane/save/confirm.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/restore.h"
#include "host/libmailvane/save/transaction.h"

namespace {

host::Result<void> RebuildAliases()
{
    // Groups are looked at again soon, when the change has been confirmed or taken back.
    if (host::FindUnconfirmedChange()) return {};
    return host::save::ApplyLists({&host::render::kAliasList});
}

host::Result<void> Restore(const std::string& staged)
{
    host::Result<void> checked = host::pages::CheckStagedState(staged);
    return checked ? host::save::RestoreState(staged) : checked;
}

host::Result<void> RepairWithNothing()
{
    return host::save::RepairLists();
}

/// Whether the machine runs a command by itself, or somebody at the console.
enum class By { kMachine, kUser };

/// A command, with or without an argument: one of the two functions is set.
struct Command {
    const char* name;
    By by;
    host::Result<void> (*run)();
    host::Result<void> (*runWith)(const std::string& argument);
};

constexpr Command kCommands[] = {
    {"alias", By::kMachine, RebuildAliases, nullptr},
    {"render", By::kMachine, host::save::RenderAll, nullptr},
    {"apply", By::kUser, host::save::ApplyStored, nullptr},
    {"recover", By::kMachine, host::save::RecoverAll, nullptr},
    {"take-back", By::kMachine, host::save::TakeBackWhenDue, nullptr},
    {"repair", By::kUser, RepairWithNothing, nullptr},
    {"repair", By::kUser, nullptr, host::save::RepairLists},
    {"restore", By::kUser, nullptr, Restore},
    {"dkim", By::kUser, nullptr, host::pages::RestoreKeyPair},
};

}  // namespace

int main(int count, char** arguments)
{
    for (const Command& command : kCommands) {
        const int wanted = command.run != nullptr ? 2 : 3;
        if (count != wanted || std::strcmp(arguments[1], command.name) != 0) continue;

        host::NoteRequest({command.name, command.by == By::kUser ? host::ConsoleUser() : ""});
        const auto done = command.run != nullptr ? command.run() : command.runWith(arguments[2]);
        if (host::Succeeded(done)) return EXIT_SUCCESS;
        std::fprintf(stderr, "hald_set_config: %s failed, see the system log\n", command.name);
        return EXIT_FAILURE;
    }
    std::fprintf(stderr,
                 "usage: hald_set_config alias | render | apply | recover | take-back |\n"
                 "           repair [DIRECTORY] | restore DIRECTORY | dkim PAIR\n");
    return 2;
}
