// Calls about the mail that waits to be delivered. The mail server's own programs change its queue.
#include "upkeep/queue/calls.h"

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"

namespace upkeep {

namespace {

constexpr char kConfiguration[] = "etc/generated/current/postfix";

}  // namespace

Answer QueueFlush(const Request& /*request*/)
{
    host::NoteChange("all");
    return Done(host::RunProgram(
                    {host::programs::kPostqueue, "-c", host::PackagePath(kConfiguration), "-f"})
                    .done);
}

}  // namespace upkeep
