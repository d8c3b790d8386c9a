// Reads the output of running programs into memory or, line by line, into the system log.
#include "host/libhaldcore/program_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/run_program.h"

namespace host {

namespace {

constexpr std::size_t kLineBytes = 800;
constexpr int kLoggedLines = 200;
constexpr int kReadsInOneGo = 64;  // so that an endless stream does not block the others

}  // namespace

Descriptor ProgramOutput::Open()
{
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) < 0) return Descriptor();

    pipe_ = Descriptor(ends[0]);
    (void)fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return Descriptor(ends[1]);
}

void ProgramOutput::Read()
{
    std::array<char, 16384> bytes;
    for (int reads = 0; pipe_ && reads < kReadsInOneGo; ++reads) {
        const ssize_t got = read(pipe_.get(), bytes.data(), bytes.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && errno == EAGAIN) return;
        if (got <= 0) {
            pipe_.Close();
        } else {
            Add(bytes.data(), static_cast<std::size_t>(got));
        }
    }
}

void ProgramOutput::Finish()
{
    Read();
    pipe_.Close();
    if (!name_.empty() && !text_.empty()) LogLine();
}

void ProgramOutput::Add(const char* bytes, std::size_t size)
{
    if (name_.empty()) {
        text_.append(bytes, std::min(size, kMostCaptured - text_.size()));
    } else {
        std::for_each(bytes, bytes + size, [this](char byte) { AddToLine(byte); });
    }
}

void ProgramOutput::AddToLine(char byte)
{
    if (byte == '\n') {
        LogLine();
    } else if (text_.size() < kLineBytes) {
        text_ += byte;
    }
}

void ProgramOutput::LogLine()
{
    ++lines_;
    if (lines_ <= kLoggedLines) {
        Log(LOG_NOTICE, "%s: %s", name_.c_str(), text_.c_str());
    } else if (lines_ == kLoggedLines + 1) {
        Log(LOG_NOTICE, "%s: more output is not logged", name_.c_str());
    }
    text_.clear();
}

}  // namespace host
