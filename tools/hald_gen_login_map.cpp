// hald_gen_login_map: rebuilds the map of the addresses that each login may send from.
#include <cstdio>
#include <cstdlib>

#include "host/libmailvane/save/list_change.h"

int main()
{
    // It is made with the map of the aliases.
    const auto applied = host::save::ApplyLists({&host::render::kAliasList});
    if (host::Succeeded(applied)) return EXIT_SUCCESS;

    std::fprintf(stderr, "hald_gen_login_map: failed, see the system log\n");
    return EXIT_FAILURE;
}
