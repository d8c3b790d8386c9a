// Keys and certificates in PEM form.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// The first block of a kind ("CERTIFICATE", "PUBLIC KEY") in a text, with the lines that begin and
/// end it but without a line end; empty when there is none that is whole.
std::string_view PemBlock(std::string_view text, std::string_view kind);

/// What such a block holds, in base64 on one line; empty when there is none that is whole.
std::string PemBody(std::string_view text, std::string_view kind);

}  // namespace host
