// multipart/form-data (RFC 7578) as it arrives, in pieces of any size.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kos {

/// Cuts a form upload into its parts and hands their contents on at once; it keeps no more than one
/// part's header and the piece it was fed.
class MultipartParser {
public:
    /// Header bytes of one part, and parts of one body, beyond which a body is malformed.
    static constexpr std::size_t kMaxHeaderBytes = 8192;
    static constexpr int kMaxParts = 64;

    /// Receives the parts in their order.
    class Sink {
    public:
        Sink() = default;
        Sink(const Sink&) = delete;
        Sink& operator=(const Sink&) = delete;

        /// A part begins: name of its field, and whether it is a file. `fileName` is the client's
        /// name for it, empty when no file was chosen.
        virtual void PartBegins(const std::string& field, bool file,
                                const std::string& fileName) = 0;

        /// Some of its content; the text is valid during the call only.
        virtual void PartData(std::string_view data) = 0;

        virtual void PartEnds() = 0;

    protected:
        ~Sink() = default;
    };

    /// `boundary` as in the content type; `sink` must outlive the parser.
    MultipartParser(const std::string& boundary, Sink& sink);

    /// Takes the next bytes of the body. False when the body is malformed, now and from then on.
    bool Feed(std::string_view bytes);

    /// Whether the body has come to its proper end; what follows that is ignored.
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
    std::string pending_;   // what was fed and is not dealt with
    std::size_t used_ = 0;  // bytes of it that are
    int parts_ = 0;
};

}  // namespace kos
