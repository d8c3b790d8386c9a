// Handling of one request from the start of the process to its end.
#pragma once

/// Handles the request for which the web server started this process. 0, or -1 (exit status 255)
/// when an exception, which is logged, ended the request without an answer.
int RunRequest();
