// The names that a header gives an attachment.
#pragma once

#include <string>
#include <vector>

namespace attachment_names {

/// Why an attachment with this header (`Content-Disposition` or `Content-Type`) is refused: some
/// mail program may see a name in it that ends in one of the types, or nobody can tell. Empty when
/// it is not.
std::string Refusal(const std::string& header, const std::vector<std::string>& types);

}  // namespace attachment_names
