// The authors of a message, by its From field.
#pragma once

#include <string>

namespace from_check {

/// The domain of all authors in the value of a From field. Empty when there are several domains, or
/// when the value is ambiguous: mail programs and the DMARC checker must see the same author.
std::string DomainOfAuthors(const std::string& value);

}  // namespace from_check
