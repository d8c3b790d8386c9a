// Who wrote a message, by its From field.
#pragma once

#include <string>

namespace from_check {

/// The domain of all authors that the value of a From field names. Empty when they are of several
/// domains, or when any of it can be read in more than one way: mail programs, and the DMARC
/// checker behind, must see the same author in it.
std::string DomainOfAuthors(const std::string& value);

}  // namespace from_check
