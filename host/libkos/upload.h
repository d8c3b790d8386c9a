// A form upload: text fields become parameters, the file is written to a spool file.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "host/libkos/body_reader.h"
#include "host/libkos/form_parser.h"
#include "host/libkos/multipart_parser.h"

namespace kos {

/// Reads the body of one upload, which may have one file. The spool file has mode 0600 and is
/// removed by the destructor.
class Upload final : private MultipartParser::Sink {
public:
    enum class Result {
        kDone,       ///< everything was read and stored
        kLarge,      ///< more than `kMaxInMemory`, without a directory
        kMalformed,  ///< not as its content type says
        kCutShort,   ///< the body ended early
        kNoSpace     ///< the spool file could not be written
    };

    /// The largest file kept in memory, in bytes; a larger one needs a directory.
    static constexpr std::size_t kMaxInMemory = std::size_t{256} << 10;

    /// Adds text fields to `parameters`, which must outlive the object.
    Upload(const std::string& boundary, Parameters& parameters);
    ~Upload();

    /// Reads the rest of the body. `directory` is for the spool file; with null the file is kept in
    /// memory and, at the end, written to /tmp. After `kLarge` a second call with a directory
    /// continues without loss.
    Result Load(BodyReader& body, const char* directory);

    /// Path of the spool file; empty when there is none.
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
    bool broken_ = false;  // the spool file is incomplete
    std::string memory_;   // part of the file, not yet written
    std::unique_ptr<std::FILE, CloseFile> spool_;
    std::string path_;
};

}  // namespace kos
