// A form upload. Writes one spool file.
#include "host/libkos/upload.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>

#include "host/libhaldcore/paths.h"

namespace kos {

namespace {

constexpr char kSpoolDirectory[] = "/tmp";
constexpr std::size_t kStep = 65536;

}  // namespace

Upload::Upload(const std::string& boundary, Parameters& parameters)
    : parameters_(parameters), parser_(boundary, *this)
{
}

Upload::~Upload()
{
    if (!path_.empty()) (void)unlink(path_.c_str());
}

Upload::Result Upload::Load(BodyReader& body, const char* directory)
{
    std::array<char, kStep> buffer;
    while (body.left() > 0) {
        if (directory == nullptr && memory_.size() > kMaxInMemory) return Result::kLarge;

        const ssize_t got = body.Read(buffer.data(), buffer.size());
        if (got < 0) return Result::kCutShort;
        if (!parser_.Feed({buffer.data(), static_cast<std::size_t>(got)}) || malformed_) {
            return Result::kMalformed;
        }
        if (directory != nullptr && !Store(directory)) return Result::kNoSpace;
    }
    return Finish(directory);
}

Upload::Result Upload::Finish(const char* directory)
{
    if (!parser_.Finished()) return Result::kMalformed;
    if (directory == nullptr && memory_.size() > kMaxInMemory) return Result::kLarge;

    const char* const place = directory != nullptr ? directory : kSpoolDirectory;
    if (!Store(place)) return Result::kNoSpace;
    // What a failed flush has lost does not come with another one.
    broken_ = spool_ != nullptr && fflush(spool_.get()) != 0;
    return broken_ ? Result::kNoSpace : Result::kDone;
}

/// Appends the bytes in memory to the spool file.
bool Upload::Store(const char* directory)
{
    if (broken_) return false;
    if (!hasFile_) return true;
    if (spool_ == nullptr && !Create(directory))
        return false;  // nothing is lost, so the caller may try again

    broken_ = fwrite(memory_.data(), 1, memory_.size(), spool_.get()) != memory_.size();
    memory_.clear();
    return !broken_;
}

bool Upload::Create(const char* directory)
{
    std::string path = host::Path(directory) + "/mailvane-upload.XXXXXX";
    const int descriptor = mkostemp(path.data(), O_CLOEXEC);
    if (descriptor < 0) return false;

    path_ = path;
    spool_.reset(fdopen(descriptor, "w"));
    if (spool_ != nullptr) return true;
    (void)close(descriptor);
    return false;
}

void Upload::PartBegins(const std::string& field, bool file, const std::string& fileName)
{
    field_ = field;
    text_.clear();
    part_ = file ? Part::kFile : Part::kText;
    if (!file) return;

    // A file field without a chosen file has an empty file name.
    if (fileName.empty()) {
        part_ = Part::kIgnored;
    } else if (hasFile_) {
        malformed_ = true;
    } else {
        hasFile_ = true;
    }
}

void Upload::PartData(std::string_view data)
{
    if (malformed_ || part_ == Part::kIgnored) return;
    if (part_ == Part::kFile) {
        memory_ += data;
        return;
    }
    text_ += data;
    if (text_.size() > kMaxParameterBytes) malformed_ = true;
}

void Upload::PartEnds()
{
    if (part_ == Part::kText && !malformed_) malformed_ = !parameters_.Add(field_, text_);
}

}  // namespace kos
