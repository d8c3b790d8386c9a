// Whether this machine can scan for viruses. Provided by libmailvane.so.
#pragma once

/// True when the anti-virus engine and its tools are installed.
bool IsSupportAntiVirus();
