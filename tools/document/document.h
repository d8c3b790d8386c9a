// A document: the whole stored state as text, and what lies between two of them.
#pragma once

#include <string>
#include <vector>

#include "tools/document/section.h"

namespace document {

inline constexpr int kFormat = 1;
inline constexpr char kFormatName[] = "format";

struct Part {
    const Section* section;
    Entries entries;
};
using Parts = std::vector<Part>;

/// What is stored in the folder of a state, section by section.
host::Result<Parts> ReadParts(const State& state, bool withPersonal);

/// How secrets stand in a text.
enum class Secrets {
    kNamed,  ///< by their names
    kShown
};

/// What stands above a document of the stored state.
extern const char* const kHead;

std::string TextOf(const Parts& parts, Secrets secrets, const std::string& head = kHead);

/// The JSON Schema of documents.
std::string Schema();

/// The stored secrets, by their names.
std::map<std::string, Secret> StoredSecrets(const State& state);

/// An entry that differs. A value that is not there is empty; that of a secret is told by nobody.
struct Difference {
    const Section* section;
    std::string key;
    std::string before;
    std::string after;
    enum class Kind { kAdded, kRemoved, kChanged, kMoved } kind;
};

/// What lies between two states. `after` gets marks where a secret is another one, so that the
/// texts differ there, too.
std::vector<Difference> DifferencesOf(const Parts& before, Parts& after);

/// Whether a text is a document; a fault where the format is not ours.
bool CheckFormat(const Node& document, Faults& faults);

/// A fault for each section that there is not.
void CheckSections(const Node& document, Faults& faults);

void SortByLine(Faults& faults);

/// Merges what a document says into a state; what is wrong becomes a fault.
host::Result<void> MergeDocument(const Node& document, Merge& merge);

}  // namespace document
