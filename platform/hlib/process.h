// Programs and processes. Provided by libhaldcore.so.6.
#pragma once

/// Runs the program at an absolute `path` with up to four arguments (unused ones null, the first
/// null ends them), waits for it and returns 0 when it ended with status 0. Anything else is -1:
/// it could not be started, was killed, ran too long or ended with another status; a log line
/// names the program and the status. No shell is involved.
int HLIBCExec(const char* path, const char* arg1, const char* arg2, const char* arg3,
              const char* arg4);

/// Forks. Negative on failure, 0 in the child, the child's id in the parent. The child has a
/// session and standard streams of its own (/dev/null) and holds no lock, so that nobody who
/// waits for the end of the request's output waits for the child.
int HLIBCProcFork();

/// Non-zero when `pidFile` exists and names a living process, else 0. A process that was started
/// after the file was written is another one.
int HLIBCProcAliveByPidFile(const char* pidFile);
