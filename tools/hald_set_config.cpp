// hald_set_config: makes what the daemons read from what is stored.
//
//   hald_set_config alias                rebuilds the alias tables
//   hald_set_config render               renders every file of the daemons from the stored settings
//   hald_set_config recover              finishes or undoes a save that was interrupted
//   hald_set_config rollback GENERATION  puts the settings of an earlier generation in force
//   hald_set_config restore DIRECTORY    puts the state in a staged directory in force
//   hald_set_config tls DIRECTORY        puts the certificate in a staged directory in force
//   hald_set_config dkim PAIR            makes a replaced key pair the one that signs
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/libmailvane/key_pairs.h"
#include "host/libmailvane/list_maps.h"
#include "host/libmailvane/restore.h"
#include "host/libmailvane/save_transaction.h"
#include "host/libmailvane/write_scope.h"

namespace {

int RebuildAliases(const std::string& /*unused*/)
{
    return host::RebuildLists({host::AliasFiles});
}

int Render(const std::string& /*unused*/)
{
    return host::RenderAll();
}

int Recover(const std::string& /*unused*/)
{
    return host::WriteScope().ok() ? 0 : -1;
}

struct Command {
    const char* name;
    bool hasArgument;
    int (*run)(const std::string& argument);
};

constexpr Command kCommands[] = {
    {"alias", false, RebuildAliases},      {"render", false, Render},
    {"recover", false, Recover},           {"rollback", true, host::RollBack},
    {"restore", true, host::RestoreState}, {"tls", true, host::ReplaceCertificate},
    {"dkim", true, host::RestoreKeyPair},
};

}  // namespace

int main(int count, char** arguments)
{
    for (const Command& command : kCommands) {
        const int wanted = command.hasArgument ? 3 : 2;
        if (count != wanted || std::strcmp(arguments[1], command.name) != 0) continue;
        if (command.run(command.hasArgument ? arguments[2] : "") == 0) return EXIT_SUCCESS;

        std::fprintf(stderr, "hald_set_config: %s failed, see the system log\n", command.name);
        return EXIT_FAILURE;
    }
    std::fprintf(stderr,
                 "usage: hald_set_config alias | render | recover | rollback GENERATION |\n"
                 "           restore DIRECTORY | tls DIRECTORY | dkim PAIR\n");
    return 2;
}
