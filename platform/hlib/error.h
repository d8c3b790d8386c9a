// The error code of the core library. Provided by libhaldcore.so.6.
#pragma once

/// The code of the last failure in this process, 0 without one. It is logged with "0x%04X".
int HLIBCErrGet();
