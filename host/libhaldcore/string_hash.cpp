// The platform's hash table of strings, which keeps the order of insertion.
#include "platform/hlib/string_hash.h"

#include <cerrno>
#include <list>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/libhaldcore/error.h"

namespace {

struct Entry {
    std::string key;
    std::string value;
};

}  // namespace

struct HLIBCSzHash {
    std::list<Entry> entries;
    std::unordered_map<std::string_view, std::list<Entry>::iterator> byKey;  // views of the entries
};

HLIBCSzHash* HLIBCSzHashAlloc(int capacity)
{
    HLIBCSzHash* hash = nullptr;
    try {
        hash = new HLIBCSzHash;
        if (capacity > 0) hash->byKey.reserve(static_cast<std::size_t>(capacity));
        return hash;
    } catch (const std::bad_alloc&) {
        delete hash;
        (void)host::Fail(ENOMEM);
        return nullptr;
    }
}

int HLIBCSzHashSetValue(HLIBCSzHash** hash, const char* key, const char* value)
{
    if (hash == nullptr || *hash == nullptr || key == nullptr || value == nullptr) {
        return host::Fail(EINVAL);
    }
    try {
        const auto found = (*hash)->byKey.find(key);
        if (found != (*hash)->byKey.end()) {
            found->second->value = value;
            return 0;
        }
        std::list<Entry> added;
        added.push_back({key, value});
        (*hash)->byKey.emplace(added.front().key, added.begin());
        (*hash)->entries.splice((*hash)->entries.end(), added);
        return 0;
    } catch (const std::bad_alloc&) {
        return host::Fail(ENOMEM);
    }
}

const char* HLIBCSzHashGetValue(const HLIBCSzHash* hash, const char* key)
{
    if (hash == nullptr || key == nullptr) return nullptr;
    const auto found = hash->byKey.find(key);
    return found == hash->byKey.end() ? nullptr : found->second->value.c_str();
}

int HLIBCSzHashRemoveKey(HLIBCSzHash* hash, const char* key)
{
    if (hash == nullptr || key == nullptr) return host::Fail(EINVAL);
    const auto found = hash->byKey.find(key);
    if (found == hash->byKey.end()) return host::Fail(ENOENT);

    const std::list<Entry>::iterator entry = found->second;
    hash->byKey.erase(found);
    hash->entries.erase(entry);
    return 0;
}

const char* HLIBCSzHashEnumKey(const HLIBCSzHash* hash, const char* previous)
{
    if (hash == nullptr) return nullptr;
    std::list<Entry>::const_iterator next = hash->entries.begin();
    if (previous != nullptr) {
        const auto found = hash->byKey.find(previous);
        if (found == hash->byKey.end()) return nullptr;
        next = std::next(std::list<Entry>::const_iterator(found->second));
    }
    return next == hash->entries.end() ? nullptr : next->key.c_str();
}

void HLIBCSzHashFree(HLIBCSzHash* hash)
{
    delete hash;
}
