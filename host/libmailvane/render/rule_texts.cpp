// Texts of lookup tables made from lists of names.
#include "host/libmailvane/render/rule_texts.h"

#include <utility>

#include "host/libmailvane/names/list_names.h"

namespace host::render {

namespace {

/// Adds the lines of a rule. `domains` finds the rules that count more than a tree's own domain.
void AddLines(generation::LongText& text, stores::RuleFinder& domains, const stores::Rule& rule,
              const std::string& answer)
{
    const auto kind = static_cast<NameType>(rule.nameType);
    for (const std::string& key : names::AccessKeys(kind, rule.name)) {
        const bool isTaken = kind == NAME_DOMAIN_TREE && key == rule.name &&
                             domains.Has({rule.type, key, NAME_DOMAIN, ""});
        if (!isTaken) text += TableLine(key, answer);
    }
}

}  // namespace

std::string TableLine(const std::string& key, const std::string& answer)
{
    return key + " " + answer + "\n";
}

generation::LongText NamesText(SQLite::Database& store, const stores::RuleList& list, int type,
                               const AnswerOf& answer, generation::LongText before)
{
    generation::LongText text = std::move(before);
    stores::RuleFinder domains(store, list);
    for (const NameType kind : {NAME_ADDRESS, NAME_DOMAIN, NAME_DOMAIN_TREE}) {
        stores::EachRuleOfKind(store, list, type, kind, [&](const stores::Rule& rule) {
            AddLines(text, domains, rule, answer(rule));
        });
    }
    return text;
}

}  // namespace host::render
