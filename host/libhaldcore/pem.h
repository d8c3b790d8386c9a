// Keys and certificates in PEM format.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// The first block of a kind ("CERTIFICATE", "PUBLIC KEY") in a text, from its BEGIN to its END
/// line, without the last line end; empty when there is no complete one.
std::string_view PemBlock(std::string_view text, std::string_view kind);

/// The base64 content of that block in one line; empty when there is no complete one.
std::string PemBody(std::string_view text, std::string_view kind);

}  // namespace host
