// The error code of the last failure.
#include "host/libhaldcore/error.h"

#include <cerrno>

#include "platform/hlib/error.h"

namespace {

int lastError = 0;

}  // namespace

int host::Fail(int code)
{
    lastError = code != 0 ? code : EIO;
    return -1;
}

int host::FailWithErrno()
{
    return Fail(errno);
}

int HLIBCErrGet()
{
    return lastError;
}
