// Where the libraries of the platform leave the code of their last failure.
#pragma once

namespace host {

/// Records `code` (an errno value) as the reason of the last failure and returns -1, so that an
/// operation fails with `return Fail(ENOENT);`.
int Fail(int code);

/// The same with the current errno.
int FailWithErrno();

}  // namespace host
