// Texts of lookup tables made from lists of names. The most specific entry decides: an address
// before its domain, a domain before the tree that contains it, a small network before a larger
// one. No list is in memory as a whole.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <string>

#include "host/libmailvane/generation/long_text.h"
#include "host/libmailvane/stores/rule_store.h"

namespace host::render {

/// What a table answers for a rule.
using AnswerOf = std::function<std::string(const stores::Rule& rule)>;

/// A line of a table.
std::string TableLine(const std::string& key, const std::string& answer);

/// The text of a map of the rules of one type with mail addresses and domains, after what stands
/// there. A domain's own rule counts more than that of its tree, which also has the domain as a
/// key. Throws SQLite::Exception.
generation::LongText NamesText(SQLite::Database& store, const stores::RuleList& list, int type,
                               const AnswerOf& answer, generation::LongText before = {});

}  // namespace host::render
