// A text that may be longer than the memory that is there: etc/generated/text.XXXXXX.new, which is
// unlinked as soon as it is open.
#include "host/libmailvane/generation/long_text.h"

#include <fcntl.h>
#include <stdlib.h>  // mkostemps
#include <unistd.h>

#include <cerrno>

#include "host/libhaldcore/files.h"
#include "host/libmailvane/generation/generation.h"

namespace host::generation {

namespace {

constexpr std::size_t kPiece = 64UL * 1024;
constexpr std::string_view kEnding = ".new";

Descriptor NamelessFile()
{
    if (!MakeDirectories(GeneratedDirectory(), 0755)) return Descriptor();
    std::string path = GeneratedDirectory() + "/text.XXXXXX";
    path.append(kEnding);
    Descriptor file(mkostemps(path.data(), static_cast<int>(kEnding.size()), O_CLOEXEC));
    if (file) (void)unlink(path.c_str());
    return file;
}

}  // namespace

LongText& LongText::operator+=(std::string_view text)
{
    end_.append(text);
    if (end_.size() >= kPiece) KeepEnd();
    return *this;
}

void LongText::KeepEnd()
{
    if (!file_) file_ = NamelessFile();
    if (failure_ == 0 && (!file_ || !WriteAll(file_.get(), end_))) failure_ = errno;
    end_.clear();
}

bool LongText::Each(const std::function<bool(std::string_view)>& take) const
{
    errno = failure_;
    if (failure_ != 0) return false;

    std::string piece(file_ ? kPiece : 0, '\0');
    for (off_t at = 0; file_;) {
        const ssize_t got = pread(file_.get(), piece.data(), piece.size(), at);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        if (!take({piece.data(), static_cast<std::size_t>(got)})) return false;
        at += got;
    }
    return take(end_);
}

}  // namespace host::generation
