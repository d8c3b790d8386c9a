// A form upload: text fields become parameters, the file goes to a spool file.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "host/libkos/body_reader.h"
#include "host/libkos/form_parser.h"
#include "host/libkos/multipart_parser.h"

namespace kos {

/// Reads the body of one upload. It may hold one file; the spool file is mode 0600 and is removed
/// with this object.
class Upload final : private MultipartParser::Sink {
public:
    enum class Result {
        kDone,       ///< all has been read and stored
        kLarge,      ///< more than `kMaxInMemory`, and no directory was given
        kMalformed,  ///< not what its content type promises
        kCutShort,   ///< the body ended early
        kNoSpace     ///< the spool file could not be written
    };

    /// The largest file that needs no directory, in bytes.
    static constexpr std::size_t kMaxInMemory = std::size_t{256} << 10;

    /// Text fields are added to `parameters`, which must outlive this object.
    Upload(const std::string& boundary, Parameters& parameters);
    ~Upload();

    /// Reads on until the end. `directory` is where the file is spooled; null keeps it in memory
    /// and, at the end, in /tmp. After `kLarge` a second call with a directory goes on where the
    /// first stopped, nothing is lost.
    Result Load(BodyReader& body, const char* directory);

    /// The spool file, empty when there is none.
    const std::string& path() const { return path_; }

private:
    void PartBegins(const std::string& field, bool file, const std::string& fileName) override;
    void PartData(std::string_view data) override;
    void PartEnds() override;

    Result Finish(const char* directory);
    bool Store(const char* directory);
    bool Create(const char* directory);

    struct CloseFile {
        void operator()(std::FILE* file) const { (void)fclose(file); }
    };
    enum class Part { kText, kFile, kIgnored };

    Parameters& parameters_;
    MultipartParser parser_;
    Part part_ = Part::kIgnored;
    std::string field_;
    std::string text_;
    bool hasFile_ = false;
    bool malformed_ = false;
    bool broken_ = false;  // the spool file lacks bytes
    std::string memory_;   // of the file, not written yet
    std::unique_ptr<std::FILE, CloseFile> spool_;
    std::string path_;
};

}  // namespace kos
