// Reads a document in YAML: maps, lists and texts, each with its line.
//
// Of YAML only what a configuration needs is taken: one document, no anchors, no names given twice,
// no tags but `!secret`. What a text means is for the section that it stands in.
#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tools/document/fault.h"

namespace document {

struct Node {
    enum class Kind { kText, kList, kMap };

    Kind kind = Kind::kText;
    int line = 0;             ///< where it begins
    std::string text;         ///< of a text; in a map, of the name that leads to it
    bool isSecret = false;    ///< a text that names a secret: `!secret relay_password`
    bool isBlock = false;     ///< a text below a `|`: its first line is the one behind `line`
    bool isNothing = false;   ///< a text without a character that is not quoted
    std::vector<Node> items;  ///< of a list
    std::vector<std::pair<Node, Node>> members;  ///< of a map: names and what they lead to

    /// The member of a map; null when there is none.
    const Node* Find(const std::string& name) const;
};

/// The document, or the first fault that keeps it from being one.
std::variant<Node, Fault> ReadYaml(const std::string& text);

}  // namespace document
