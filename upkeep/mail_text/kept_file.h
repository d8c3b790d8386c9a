// A file with a message that was kept, packed by gzip or as it came.
#pragma once

#include <zlib.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace upkeep {

/// Reads at most 64 MiB of the message, however small the file is.
class KeptFile {
public:
    /// Takes the descriptor over.
    explicit KeptFile(int descriptor) : file_(gzdopen(descriptor, "rb")) {}
    ~KeptFile()
    {
        if (file_ != nullptr) (void)gzclose(file_);
    }
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;

    /// The next bytes; empty at the end.
    std::string_view Next();

    /// The next line, without its end; a long one comes in pieces. False at the end.
    bool NextLine(std::string& line);

    /// Whether the end was not that of the message: it is longer, or the file is damaged.
    bool cut() const { return cut_; }

private:
    gzFile file_;
    std::array<char, 65536> buffer_;
    std::string_view rest_;
    std::size_t taken_ = 0;
    bool cut_ = false;
};

}  // namespace upkeep
