// Texts of lookup tables made from lists of names. The most specific entry decides: an address
// before its domain, a domain before the tree that contains it, a small network before a larger
// one.
#pragma once

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/libmailvane/names/list_names.h"

namespace host::names {

/// Text of a map with unique keys: the value added first stays.
class MapText {
public:
    void Add(const std::vector<std::string>& keys, const std::string& value)
    {
        for (const std::string& key : keys) {
            if (keys_.insert(key).second) text_.append(key).append(" ").append(value).append("\n");
        }
    }

    std::string Take() { return std::move(text_); }

private:
    std::unordered_set<std::string> keys_;
    std::string text_;
};

/// Text of a map of the entries with mail addresses and domains. A domain's own entry is added
/// before that of its tree, which also has the domain as a key.
template <typename Entries, typename ValueOf>
std::string NamesText(const Entries& entries, ValueOf valueOf)
{
    MapText map;
    for (const NameType kind : {NAME_ADDRESS, NAME_DOMAIN, NAME_DOMAIN_TREE}) {
        for (const auto& entry : entries) {
            if (entry.nameType == kind) map.Add(AccessKeys(kind, entry.name), valueOf(entry));
        }
    }
    return map.Take();
}

/// The entries with addresses and networks of the given kinds, the longest prefix first: Postfix
/// takes the first that matches.
template <typename Entries>
auto SmallestFirst(const Entries& entries, const std::vector<NameType>& kinds)
{
    std::vector<const typename Entries::value_type*> networks;
    for (const auto& entry : entries) {
        const auto kind = static_cast<NameType>(entry.nameType);
        if (std::find(kinds.begin(), kinds.end(), kind) != kinds.end()) networks.push_back(&entry);
    }
    std::stable_sort(networks.begin(), networks.end(), [](const auto* left, const auto* right) {
        return PrefixLength(left->name) > PrefixLength(right->name);
    });
    return networks;
}

}  // namespace host::names
