// What lies between two documents, or generations that are kept, wherever they come from: nothing
// of it is judged by what this machine has stored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/document/document.h"

namespace document {

/// A generation that is kept, as the parts that it holds: what is stored in etc/ is not in it.
host::Result<Parts> PartsOfGeneration(std::uint64_t number);

/// The text of such a generation. Its head names the sections that it lacks.
host::Result<std::string> TextOfGeneration(std::uint64_t number);

/// The parts that a document has. What is wrong with it becomes a fault.
Parts PartsOf(const std::string& text, Faults& faults);

struct Comparison {
    std::vector<Difference> differences;
    std::string before;  ///< the parts that both have
    std::string after;
    std::vector<std::string> onlyBefore;  ///< names of the sections that are not compared
    std::vector<std::string> onlyAfter;
};

/// Compares the sections that both have. A secret that one of them only names is no difference.
Comparison Compare(const Parts& before, const Parts& after);

}  // namespace document
