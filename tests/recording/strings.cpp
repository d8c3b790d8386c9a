// String lists and hashes. Those not freed at the end of a test are counted.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "platform/hlib/string_hash.h"
#include "platform/hlib/string_list.h"
#include "tests/recording/call.h"

using namespace recording;

namespace {

using Strings = std::vector<std::string>;

Strings& Elements(const HLIBCSzList* list) { return *static_cast<Strings*>(list->elements); }

}  // namespace

HLIBCSzList* HLIBCSzListAlloc(int capacity)
{
    if (Detail("HLIBCSzListAlloc", capacity) < 0) return nullptr;

    ++TheWorld().liveObjects;
    return new HLIBCSzList{0, new Strings};
}

int HLIBCSzListPush(HLIBCSzList** list, const char* text)
{
    if (Detail("HLIBCSzListPush", text) < 0) return -1;

    Elements(*list).emplace_back(text);
    (*list)->count = static_cast<int>(Elements(*list).size());
    return (*list)->count;
}

const char* HLIBCSzListGet(const HLIBCSzList* list, int index)
{
    if (index < 0 || index >= list->count) return nullptr;

    return Elements(list)[static_cast<std::size_t>(index)].c_str();
}

void HLIBCSzListSortItems(HLIBCSzList* list, int order)
{
    Detail("HLIBCSzListSortItems", order);
    Strings& strings = Elements(list);
    std::sort(strings.begin(), strings.end());
    if (order != 1) std::reverse(strings.begin(), strings.end());
}

void HLIBCSzListFree(HLIBCSzList* list)
{
    if (list == nullptr) return;

    --TheWorld().liveObjects;
    delete &Elements(list);
    delete list;
}

struct HLIBCSzHash {
    std::map<std::string, std::string> entries;
};

HLIBCSzHash* HLIBCSzHashAlloc(int capacity)
{
    if (Detail("HLIBCSzHashAlloc", capacity) < 0) return nullptr;

    ++TheWorld().liveObjects;
    return new HLIBCSzHash;
}

int HLIBCSzHashSetValue(HLIBCSzHash** hash, const char* key, const char* value)
{
    const int result = Detail("HLIBCSzHashSetValue", key, value);
    if (result >= 0) (*hash)->entries[key] = value;
    return result;
}

const char* HLIBCSzHashGetValue(const HLIBCSzHash* hash, const char* key)
{
    const auto entry = hash->entries.find(key);
    return entry == hash->entries.end() ? nullptr : entry->second.c_str();
}

int HLIBCSzHashRemoveKey(HLIBCSzHash* hash, const char* key)
{
    return hash->entries.erase(key) != 0 ? 0 : -1;
}

const char* HLIBCSzHashEnumKey(const HLIBCSzHash* hash, const char* previous)
{
    auto entry = hash->entries.begin();
    if (previous != nullptr) entry = hash->entries.upper_bound(previous);
    return entry == hash->entries.end() ? nullptr : entry->first.c_str();
}

void HLIBCSzHashFree(HLIBCSzHash* hash)
{
    if (hash == nullptr) return;

    --TheWorld().liveObjects;
    delete hash;
}
