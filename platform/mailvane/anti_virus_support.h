// Whether this machine has an anti-virus engine. Provided by libmailvane.so.
#pragma once

/// True when the anti-virus engine and its tools are installed.
bool IsSupportAntiVirus();
