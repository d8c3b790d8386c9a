// hald_gen_login_map: rebuilds the map of the addresses that each login may send from.
#include <cstdio>
#include <cstdlib>

#include "host/libmailvane/render/alias_maps.h"
#include "host/libmailvane/save/rebuild_lists.h"

int main()
{
    const auto rebuilt = host::save::RebuildLists({host::render::LoginFiles});
    if (host::Succeeded(rebuilt)) return EXIT_SUCCESS;

    std::fprintf(stderr, "hald_gen_login_map: failed, see the system log\n");
    return EXIT_FAILURE;
}
