// The road of one request from process start to exit.
#pragma once

/// Answers the request that the web server started this process for. 0, or -1 (exit status 255)
/// after an exception that ended the request without an answer; it is then in the system log.
int RunRequest();
