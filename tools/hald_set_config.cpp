// hald_set_config: makes what the daemons read from what is stored.
//
//   hald_set_config alias     rebuilds the alias tables
//   hald_set_config render    renders every file of the daemons from the stored settings
//   hald_set_config recover   finishes or undoes a save that was interrupted; renders when the
//                             kernel has got or lost IPv6
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/libmailvane/list_maps.h"
#include "host/libmailvane/save_transaction.h"

namespace {

int RebuildAliases()
{
    return host::RebuildLists({host::AliasFiles});
}

struct Command {
    const char* name;
    int (*run)();
};

constexpr Command kCommands[] = {
    {"alias", RebuildAliases},
    {"render", host::RenderAll},
    {"recover", host::RecoverAll},
};

}  // namespace

int main(int count, char** arguments)
{
    for (const Command& command : kCommands) {
        if (count != 2 || std::strcmp(arguments[1], command.name) != 0) continue;
        if (command.run() == 0) return EXIT_SUCCESS;

        std::fprintf(stderr, "hald_set_config: %s failed, see the system log\n", command.name);
        return EXIT_FAILURE;
    }
    std::fprintf(stderr, "usage: hald_set_config alias | render | recover\n");
    return 2;
}
