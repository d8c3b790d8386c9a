// Whether the anti-virus side is busy, ready or broken.
#pragma once

/// The status word: "error", "fresh_clam", "service_starting" or "done".
const char* AntiVirusStatus();
