// Standard output as a test sees it: the descriptor leads to a file in memory meanwhile.
#include "tests/recording/output_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

namespace recording {

OutputCapture::OutputCapture()
    : file_(memfd_create("output", MFD_CLOEXEC)), saved_(dup(STDOUT_FILENO))
{
    std::fflush(stdout);
    dup2(file_, STDOUT_FILENO);
}

OutputCapture::~OutputCapture()
{
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    close(file_);
}

std::string OutputCapture::Bytes() const
{
    std::fflush(stdout);
    std::string bytes;
    char block[4096];
    ssize_t length = 0;
    while ((length = pread(file_, block, sizeof block, static_cast<off_t>(bytes.size()))) > 0) {
        bytes.append(block, static_cast<std::size_t>(length));
    }
    return bytes;
}

}  // namespace recording
