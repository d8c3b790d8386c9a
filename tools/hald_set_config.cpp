// hald_set_config: makes what the daemons read from what is stored.
//
//   hald_set_config alias                rebuilds the alias tables
//   hald_set_config render               renders every file of the daemons from the stored settings
//   hald_set_config apply                the same, and puts it in force as a save does
//   hald_set_config recover              finishes or undoes a save that was interrupted; renders
//                                        when the kernel has got or lost IPv6
//   hald_set_config repair [DIRECTORY]   makes account databases in the place of lost ones: those
//   in
//                                        a staged directory, or empty ones
//   hald_set_config rollback GENERATION  puts the settings of an earlier generation in force
//   hald_set_config restore DIRECTORY    puts the state in a staged directory in force
//   hald_set_config dkim PAIR            makes a replaced key pair the one that signs
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/libmailvane/pages/key_pairs.h"
#include "host/libmailvane/pages/staged_state.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/restore.h"
#include "host/libmailvane/save/transaction.h"

namespace {

host::Result<void> RebuildAliases()
{
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

/// A command, with or without an argument: one of the two functions is set.
struct Command {
    const char* name;
    host::Result<void> (*run)();
    host::Result<void> (*runWith)(const std::string& argument);
};

constexpr Command kCommands[] = {
    {"alias", RebuildAliases, nullptr},
    {"render", host::save::RenderAll, nullptr},
    {"apply", host::save::ApplyStored, nullptr},
    {"recover", host::save::RecoverAll, nullptr},
    {"repair", RepairWithNothing, nullptr},
    {"repair", nullptr, host::save::RepairLists},
    {"rollback", nullptr, host::save::RollBack},
    {"restore", nullptr, Restore},
    {"dkim", nullptr, host::pages::RestoreKeyPair},
};

}  // namespace

int main(int count, char** arguments)
{
    for (const Command& command : kCommands) {
        const int wanted = command.run != nullptr ? 2 : 3;
        if (count != wanted || std::strcmp(arguments[1], command.name) != 0) continue;

        const auto done = command.run != nullptr ? command.run() : command.runWith(arguments[2]);
        if (host::Succeeded(done)) return EXIT_SUCCESS;
        std::fprintf(stderr, "hald_set_config: %s failed, see the system log\n", command.name);
        return EXIT_FAILURE;
    }
    std::fprintf(stderr,
                 "usage: hald_set_config alias | render | apply | recover | repair [DIRECTORY] |\n"
                 "           rollback GENERATION | restore DIRECTORY | dkim PAIR\n");
    return 2;
}
