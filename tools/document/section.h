// The sections of a document: the table of all that a document can hold.
//
// What a section holds is read from a folder with stored files, etc/ or a staged copy of it, and
// merged into a staged copy. To add a section: a row in section.cpp with two functions, and its
// line in docs/document.md.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/settings/settings_table.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "tools/document/fault.h"
#include "tools/document/yaml_reader.h"

namespace document {

/// The stored state in a folder.
struct State {
    std::string folder;
    host::settings::StoredSettings settings;
    std::string rules;  ///< of the spam filter, that are in force
};

/// An entry of a section.
struct Entry {
    std::string key;      ///< its name, or all of it
    std::string value;    ///< what follows the colon, in YAML; empty in a list of lines
    std::string secret;   ///< the name by which an export replaces the value; empty for none
    std::string comment;  ///< what it means; empty for none
};
using Entries = std::vector<Entry>;

/// What a name of a secret stands for.
struct Secret {
    std::string text;
    bool isTyped;  ///< with the document; else it is the stored one
};

/// A state that is changed by a document, and what the document says.
struct Merge {
    State& state;
    bool prunes;                            ///< what a section does not mention goes
    std::map<std::string, Secret> secrets;  ///< by their names
    Faults& faults;

    /// Run once the settings are merged: whose lists there are follows from them.
    std::function<host::Result<void>()> bringLists;

    std::set<std::string> rules = {};  ///< that the document has, by table and name
};

/// The form of a section.
enum class Form {
    kLines,   ///< a list of texts
    kValues,  ///< a map from names to texts, numbers and switches
    kLists,   ///< a map from names to lists of texts
    kParts    ///< a map from names to maps
};

struct Section {
    std::string_view name;
    Form form;
    std::string_view file;  ///< in etc/, that holds it; empty: the settings of a generation
    const host::render::List* list;  ///< that is made of it; null for none
    int type;                        ///< of the rules of the list
    const char* help;                ///< whole sentences
    host::Result<Entries> (*read)(const Section& section, const State& state);
    host::Result<void> (*merge)(const Section& section, const Node& node, Merge& merge);
};

inline constexpr std::size_t kSectionCount = 17;

/// The table, in the order of a document.
const std::array<Section, kSectionCount>& AllSections();

/// The name of the first section, on which the others depend.
inline constexpr std::string_view kSettingsSection = "settings";

/// The name of the section that an export leaves out unless it is asked for.
inline constexpr std::string_view kPersonalSection = "personal";

// The functions of the rows, by their sources. What is wrong in the document becomes a fault; a
// reason is why nothing can be said about it.
host::Result<Entries> ReadSettings(const Section& section, const State& state);
host::Result<void> MergeSettings(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadDomains(const Section& section, const State& state);
host::Result<void> MergeDomains(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadBlocklists(const Section& section, const State& state);
host::Result<void> MergeBlocklists(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadCopiesOfAll(const Section& section, const State& state);
host::Result<void> MergeCopiesOfAll(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadAttachments(const Section& section, const State& state);
host::Result<void> MergeAttachments(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadAliasSection(const Section& section, const State& state);
host::Result<void> MergeAliases(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadRuleSection(const Section& section, const State& state);
host::Result<void> MergeRules(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadLimits(const Section& section, const State& state);
host::Result<void> MergeLimits(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadRuleSets(const Section& section, const State& state);
host::Result<void> MergeRuleSets(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadPersonal(const Section& section, const State& state);
host::Result<void> MergePersonal(const Section& section, const Node& node, Merge& merge);
host::Result<Entries> ReadReport(const Section& section, const State& state);
host::Result<void> MergeReport(const Section& section, const Node& node, Merge& merge);

// What they share.

/// A text of the document, and where it stands.
struct Line {
    std::string text;
    int line;
    bool isTyped = true;  ///< not a secret that is stored here
};

/// "SECTION.KEY", as faults name what they are about.
std::string PathOf(const Section& section, const std::string& key);

/// The texts of a list; a fault for each item that is no text of one line.
std::vector<Line> LinesOf(const Section& section, const Node& node, Merge& merge);

/// The texts of a map, by their names; a fault for each that is none. A secret is replaced by what
/// it stands for, and left out where that is not known.
std::map<std::string, Line> ValuesOf(const Section& section, const Node& node, Merge& merge);

/// What a refused line of an import file tells, without its place in that file.
std::string WhyOf(const host::Reason& cause);

/// The name of the secret that a setting of the servers is.
std::string SecretOfSetting(const std::string& name);

/// The name of the secret that the password of the report is.
std::string SecretOfReport();

/// Whether a node is a map; a fault when it is not.
bool IsMap(const Section& section, const Node& node, Merge& merge);

/// A value in stored spelling, as YAML has it.
std::string Spelled(host::settings::SettingType type, const std::string& stored);

/// `yes` or `no` for a switch in any spelling of YAML; other texts as they are.
std::string Switch(const std::string& text);

}  // namespace document
