// The output of programs.
#pragma once

#include <cstddef>
#include <string>

#include "host/libhaldcore/descriptor.h"

namespace host {

/// The reading end of one output stream of a running program. The output is captured, or logged
/// line by line under the program's name.
class ProgramOutput {
public:
    /// Creates the pipe and returns its writing end, for the program. None, with errno set, on
    /// failure.
    Descriptor Open();

    /// Makes the output be logged under this name instead of captured.
    void LogAs(const std::string& name) { name_ = name; }

    /// Reads what is available, without waiting. Closes the stream at its end.
    void Read();

    /// To be called after the program's end: reads what is available and closes the stream. It does
    /// not wait for the end of the stream, since a daemon left behind may keep that open for ever.
    void Finish();

    /// The descriptor for poll; -1 when the stream has ended.
    int descriptor() const { return pipe_.get(); }

    /// The captured output, at most 1 MiB.
    std::string& text() { return text_; }

private:
    void Add(const char* bytes, std::size_t size);
    void AddToLine(char byte);
    void LogLine();

    Descriptor pipe_;
    std::string name_;  // empty: capture
    std::string text_;  // captured output, or the incomplete line
    int lines_ = 0;
};

}  // namespace host
