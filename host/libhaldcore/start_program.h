// The start of a program: everything between the decision to run it and its first instruction.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "host/libhaldcore/descriptor.h"

namespace host {

/// The standard streams of a program; they stay the caller's.
struct ProgramStreams {
    int input = -1;
    int output = -1;
    int errors = -1;
};

struct StartedProgram {
    pid_t pid = -1;      ///< to be waited for; also the id of its process group
    Descriptor process;  ///< readable once it has ended
};

/// To be called before a process is started whose exit status matters: it is lost while SIGCHLD is
/// ignored, as some web servers leave it.
void ExpectChildren();

/// Starts `arguments[0]` in a process group of its own with a fixed environment, default signals,
/// umask 022, "/" as its directory and no descriptors but `streams`; a package tool gets the
/// request lock as well, when it is held. False, with errno set, when it cannot be started.
bool StartProgram(const std::vector<std::string>& arguments, const ProgramStreams& streams,
                  StartedProgram& started);

}  // namespace host
