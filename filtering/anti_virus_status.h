// The state of the anti-virus engine and its updater.
#pragma once

/// The status word: "error", "fresh_clam", "service_starting" or "done".
const char* AntiVirusStatus();
