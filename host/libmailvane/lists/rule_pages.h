// What the pages of the lists of rules have in common: counting, paging, and text files.
#pragma once

#include <functional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/stores/rule_store.h"

namespace host::lists {

/// The pages of one list. `what` begins their lines in the log.
class RulePages {
public:
    /// `list` has to be a list of rules.
    constexpr RulePages(const render::List& list, const char* what) : list_(list), what_(what) {}

    const stores::RuleList& rules() const { return *list_.rules; }
    const char* what() const { return what_; }

    /// Whether the store can be read; logged when not.
    bool CanBeRead() const;

    /// Number of rules that a search finds, and the page of them; -1 or none, logged, on failure.
    int Count(const stores::RuleSearch& search) const;
    stores::Rules Page(const stores::RuleSearch& search) const;

    /// Writes text made from the store to a file, empty without a store.
    int Export(const std::string& path,
               const std::function<std::string(SQLite::Database&)>& text) const;

    /// A change that adds a rule. Refused when a stored one is in the way.
    save::ListChange Adding(stores::Rule rule) const;

    /// A change that adds the rules of a file, as `ImportRules`.
    save::ListChange Importing(int type, const std::string& path, bool replaces) const;

    /// The status of a change at whose result nobody looks: a failure is told in the audit line
    /// too.
    int Told(const Result<void>& done) const;

    /// A change that removes rules.
    save::ListChange Removing(stores::Rules rules) const;

    /// Runs a change at once, one of the settings with it, or with the next time that the list is
    /// applied.
    Result<void> StoreAndApply(const save::ListChange& change,
                               const save::SettingsChange& settingsChange = nullptr) const;
    Result<void> Store(const save::ListChange& change) const;

    /// The same line with what the list refuses.
    template <typename T>
    Result<T> Refused(Result<T> result) const
    {
        return std::move(result).Prefixed(std::string(what_) + ": refused: ");
    }

private:
    /// Runs a query on the store.
    template <typename Query>
    auto Ask(const Query& query) const
    {
        return stores::AskLists(what_, query).About(Subject::List(list_));
    }

    const render::List& list_;
    const char* what_;
};

}  // namespace host::lists
