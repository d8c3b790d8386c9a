// What becomes of the output of a program.
#pragma once

#include <cstddef>
#include <string>

#include "host/libhaldcore/descriptor.h"

namespace host {

/// The reading end of one output stream of a running program. The text is kept, or goes to the log
/// line by line under the program's name.
class ProgramOutput {
public:
    /// Makes the pipe and returns its writing end, for the program. None, with errno set, on
    /// failure.
    Descriptor Open();

    /// Logs instead of keeping, under this name.
    void LogAs(const std::string& name) { name_ = name; }

    /// Takes what is there and never waits. Closes the stream at its end.
    void Read();

    /// After the program has ended: takes what is there and closes the stream. A daemon that the
    /// program left behind may hold the other end open for ever.
    void Finish();

    /// The descriptor to wait for, -1 when the stream has ended.
    int descriptor() const { return pipe_.get(); }

    /// What was kept, at most 1 MiB.
    std::string& text() { return text_; }

private:
    void Add(const char* bytes, std::size_t size);
    void AddToLine(char byte);
    void LogLine();

    Descriptor pipe_;
    std::string name_;  // empty: keep
    std::string text_;  // what is kept, or the line under way
    int lines_ = 0;
};

}  // namespace host
