// A parser for multipart/form-data (RFC 7578) that is fed pieces of any size.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kos {

/// Passes the contents of the parts on as they arrive. Stores no more than the header of one part
/// and the piece being parsed.
class MultipartParser {
public:
    /// A body is malformed when the header of a part has more bytes or the body has more parts than
    /// these.
    static constexpr std::size_t kMaxHeaderBytes = 8192;
    static constexpr int kMaxParts = 64;

    /// Receives the parts in order.
    class Sink {
    public:
        Sink() = default;
        Sink(const Sink&) = delete;
        Sink& operator=(const Sink&) = delete;

        /// Called at the beginning of a part, with the name of its field and whether it is a file.
        /// `fileName` is the client's name for the file, empty when none was chosen.
        virtual void PartBegins(const std::string& field, bool file,
                                const std::string& fileName) = 0;

        /// Called with a piece of its content, which is valid during the call only.
        virtual void PartData(std::string_view data) = 0;

        virtual void PartEnds() = 0;

    protected:
        ~Sink() = default;
    };

    /// `boundary` is that of the content type; `sink` must outlive the parser.
    MultipartParser(const std::string& boundary, Sink& sink);

    /// Parses the next bytes of the body. False, also at all later calls, when the body is
    /// malformed.
    bool Feed(std::string_view bytes);

    /// Whether the end of the body was reached; bytes after it are ignored.
    bool Finished() const { return state_ == State::kEpilogue; }

private:
    enum class State { kPreamble, kDelimiter, kHeader, kData, kEpilogue, kMalformed };

    bool Step();
    bool SkipPreamble();
    bool EndDelimiter();
    bool ReadHeader();
    bool PassData();
    bool Become(State state);
    bool BeginPart(std::string_view header);
    std::string_view Pending() const { return std::string_view(pending_).substr(used_); }

    const std::string delimiter_;  // line end, two dashes, boundary
    Sink& sink_;
    State state_ = State::kPreamble;
    std::string pending_;   // bytes fed
    std::size_t used_ = 0;  // how many of these are parsed
    int parts_ = 0;
};

}  // namespace kos
