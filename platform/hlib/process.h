// Programs and processes. Provided by libhaldcore.so.6.
#pragma once

/// Runs the program at the absolute `path` with up to four arguments (the first null ends them) and
/// waits for it. 0 when its exit status is 0; else -1: it could not be started, was killed, took
/// too long or had another status, and a log line has its name and status. No shell is involved.
int HLIBCExec(const char* path, const char* arg1, const char* arg2, const char* arg3,
              const char* arg4);

/// Forks. Negative on failure, 0 in the child, the child's id in the parent. The child has its own
/// session, no lock, and /dev/null as standard streams, so that a web server that waits for the end
/// of the request's output does not wait for the child.
int HLIBCProcFork();

/// Non-zero when `pidFile` names a running process, else 0. A process that was started after the
/// file was written does not count, since it only reused the number, unless it runs the program
/// that the file or its folder is named after: then the clock was set forward.
int HLIBCProcAliveByPidFile(const char* pidFile);
