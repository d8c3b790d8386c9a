// The error code of the last failure, for callers of the platform.
#pragma once

namespace host {

/// Stores `code` (an errno value) as the error of the last failure and returns -1, for `return
/// Fail(ENOENT);`.
int Fail(int code);

/// As `Fail(errno)`.
int FailWithErrno();

}  // namespace host
