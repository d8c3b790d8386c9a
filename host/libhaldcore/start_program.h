// Starting programs.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/result.h"

namespace host {

/// The standard streams of a program; the caller closes them.
struct ProgramStreams {
    int input = -1;
    int output = -1;
    int errors = -1;
};

struct StartedProgram {
    pid_t pid = -1;      ///< to be waited for; also the id of the process group
    Descriptor process;  ///< pidfd; readable when the program has ended
};

/// Prepares for starting processes whose exit status matters: some web servers leave SIGCHLD
/// ignored, and then the kernel drops exit statuses.
void ExpectChildren();

/// Starts `arguments[0]`, an absolute path, in a new process group with a fixed environment,
/// default signals, umask 022, working directory "/" and only the descriptors `streams`. A package
/// tool also inherits the request lock, when it is held.
Result<StartedProgram> StartProgram(const std::vector<std::string>& arguments,
                                    const ProgramStreams& streams);

/// The reason when a program could not be started; errno tells why.
Reason CannotBeStarted(const std::string& path);

}  // namespace host
