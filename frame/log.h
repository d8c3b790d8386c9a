// Log lines of the program.
#pragma once

/// The source line of the caller, for `LogError`.
constexpr int Here(int line = __builtin_LINE())
{
    return line;
}

/// Writes "mailvane:<line> <message>" to syslog at LOG_ERR. `line` is `Here()`, or a fixed number
/// by which support recognises the error.
void LogError(int line, const char* format, ...) __attribute__((format(printf, 2, 3)));
