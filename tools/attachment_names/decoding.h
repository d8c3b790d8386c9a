// How the characters of an attachment's name can be written in a header. What is not well formed is
// decoded as far as it goes, as mail programs do.
#pragma once

#include <string>

namespace attachment_names {

/// A text with each `%65` decoded (RFC 2231).
std::string PercentDecoded(const std::string& text);

/// A text with each `=65` decoded (RFC 2045, quoted-printable), but for the ends of lines.
std::string QuotedDecoded(const std::string& text);

/// The bytes of a text in base64. What is no sign of it is passed over.
std::string Base64Decoded(const std::string& text);

/// Text of a character set as far as its letters of ASCII go. Those stand for themselves in all
/// sets that mail programs know, with NULs between them in the wide ones, but not in UTF-7.
std::string FromCharset(const std::string& charset, const std::string& text);

/// Makes text of a character set what the caller wants of it.
using Convert = std::string (*)(const std::string& charset, const std::string& text);

/// A text with its encoded words decoded (RFC 2047), `=?utf-8?Q?run=2Eexe?=`. With `joined` words
/// that follow each other are decoded as one: some programs cut a name in the middle of a
/// character.
std::string WordsDecoded(const std::string& text, bool joined, Convert convert = FromCharset);

}  // namespace attachment_names
