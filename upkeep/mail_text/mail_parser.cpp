// What a message says, and what else is in it (RFC 5322, RFC 2045, RFC 2046).
#include "upkeep/mail_text/mail_parser.h"

#include <algorithm>

#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "tools/attachment_names/decoding.h"
#include "upkeep/mail_text/charset.h"
#include "upkeep/mail_text/parameters.h"

namespace upkeep {

namespace {

constexpr std::size_t kDeepest = 20;
constexpr std::size_t kMostParts = 100;
constexpr std::size_t kLongestBoundary = 200;
constexpr std::size_t kMostEncoded = std::size_t{512} << 10;  // of a part that is shown
constexpr std::size_t kMostShown = std::size_t{128} << 10;    // of the text, as JSON
constexpr std::size_t kMostHeaders = std::size_t{24} << 10;   // of all of the header
constexpr std::size_t kLongestValue = 4096;
constexpr std::size_t kLongestName = 100;
constexpr std::size_t kLongestType = 80;
constexpr std::size_t kLongestPartName = 200;

constexpr std::string_view kBase64 = "base64";
constexpr std::string_view kQuoted = "quoted-printable";

bool BeginsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

/// A text with the ends of lines left out that are there for the transport alone.
std::string WithoutSoftEnds(const std::string& text)
{
    std::string joined;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const bool isSoft = end > start && text[end - 1] == '=';
        joined.append(text, start, end - start - (isSoft ? 1 : 0)).append(isSoft ? "" : "\n");
        start = end + 1;
    }
    return joined;
}

/// How many bytes a text has in JSON, at most.
std::size_t SizeAsJson(std::string_view text)
{
    return text.size() +
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
               return c == '"' || c == '\\' || c == '\n';
           }));
}

}  // namespace

void MailParser::Add(std::string_view line)
{
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (EndsPart(line)) return;
    if (state_ != State::kHeader) {
        AddToBody(line);
        return;
    }
    const HeaderBlock::Line taken = header_.Add(line);
    if (taken == HeaderBlock::Line::kTaken) return;
    BeginBody();
    if (taken == HeaderBlock::Line::kNoField) AddToBody(line);
}

MailText MailParser::Finish(bool cut)
{
    FinishPart();
    mail_.cut = mail_.cut || cut;
    return std::move(mail_);
}

/// Whether a line is the border between two parts, or behind the last one. What is in the part that
/// ends there, and has not ended itself, ends with it.
bool MailParser::EndsPart(std::string_view line)
{
    if (!BeginsWith(line, "--")) return false;
    line.remove_prefix(2);
    for (std::size_t level = boundaries_.size(); level-- > 0;) {
        if (!BeginsWith(line, boundaries_[level])) continue;
        std::string_view rest = line.substr(boundaries_[level].size());
        const bool isLast = BeginsWith(rest, "--");
        if (isLast) rest.remove_prefix(2);
        if (!host::Trim(rest).empty()) continue;

        FinishPart();
        boundaries_.resize(isLast ? level : level + 1);
        state_ = isLast ? State::kBetween : State::kHeader;
        return true;
    }
    return false;
}

/// Begins what follows a header.
void MailParser::BeginBody()
{
    if (isMain_) AddHeaders();
    isMain_ = false;
    const std::string_view field = header_.Value("content-type");
    const std::string_view disposition = header_.Value("content-disposition");
    const std::string type = field.empty() ? "text/plain" : MainValue(field);
    encoding_ = host::InLowerCase(host::Trim(header_.Value("content-transfer-encoding")));
    charset_ = Parameter(field, "charset");

    const bool isMultipart = BeginsWith(type, "multipart/");
    const std::string boundary = isMultipart ? Parameter(field, "boundary") : "";
    const bool isKnown = !boundary.empty() && boundary.size() <= kLongestBoundary;
    if (isKnown && boundaries_.size() < kDeepest) {
        boundaries_.push_back(boundary);
        state_ = State::kBetween;
    } else if (type == "text/plain" && MainValue(disposition) != "attachment") {
        state_ = State::kText;
    } else {
        std::string name = Parameter(disposition, "filename");
        if (name.empty()) name = Parameter(field, "name");
        other_ = {host::ShownText(type, kLongestType), host::ShownText(name, kLongestPartName), 0};
        mail_.cut = mail_.cut || isMultipart;
        state_ = State::kOther;
    }
    header_ = HeaderBlock();
}

void MailParser::AddToBody(std::string_view line)
{
    if (state_ == State::kOther) {
        const bool isDense = encoding_ == kBase64;
        other_.size += isDense ? line.size() / 4 * 3 : line.size() + 1;
    }
    if (state_ != State::kText) return;
    if (body_.size() + line.size() < kMostEncoded) {
        body_.append(line).append("\n");
    } else {
        mail_.cut = true;
    }
}

void MailParser::FinishPart()
{
    if (state_ == State::kHeader) BeginBody();
    if (state_ == State::kText) AddText();
    if (state_ == State::kOther) {
        ++mail_.partCount;
        if (mail_.parts.size() < kMostParts) {
            mail_.parts.push_back(std::move(other_));
        } else {
            mail_.cut = true;
        }
    }
    other_ = {};
    body_.clear();
    state_ = State::kBetween;
}

/// Takes over the header of the message.
void MailParser::AddHeaders()
{
    std::size_t bytes = 0;
    mail_.cut = header_.cut();
    for (const HeaderField& field : header_.fields()) {
        const std::string value = attachment_names::WordsDecoded(field.value, true, ToUtf8);
        HeaderField shown{host::ShownText(field.name, kLongestName),
                          host::ShownText(value, kLongestValue)};
        bytes += shown.name.size() + shown.value.size();
        if (bytes > kMostHeaders) {
            mail_.cut = true;
            return;
        }
        mail_.headers.push_back(std::move(shown));
    }
}

/// Decodes a part in plain text.
void MailParser::AddText()
{
    using namespace attachment_names;
    std::string bytes = encoding_ == kBase64   ? Base64Decoded(body_)
                        : encoding_ == kQuoted ? QuotedDecoded(WithoutSoftEnds(body_))
                                               : std::move(body_);
    const std::string text = ToUtf8(charset_, bytes);
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const std::string shown = host::ShownText(line, kMostShown) + "\n";
        shown_ += SizeAsJson(shown);
        if (shown_ > kMostShown) {
            mail_.cut = true;
            return;
        }
        mail_.text += shown;
    }
}

}  // namespace upkeep
