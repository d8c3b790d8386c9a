// Why the last operation of the core library failed. Provided by libhaldcore.so.6.
#pragma once

/// Code of the last failure in this process, 0 when there was none; logged with "0x%04X".
int HLIBCErrGet();
