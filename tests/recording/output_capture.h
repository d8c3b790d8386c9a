// Standard output as a test sees it.
#pragma once

#include <string>

namespace recording {

/// Collects what is written to standard output while it lives.
class OutputCapture {
public:
    OutputCapture();
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    /// What was written so far.
    std::string Bytes() const;

private:
    int file_;
    int saved_;
};

}  // namespace recording
