// Strings by name. Provided by libhaldcore.so.6.
#pragma once

struct HLIBCSzHash;

/// A new empty hash for about `capacity` names, owned by the caller; null when memory is short.
HLIBCSzHash* HLIBCSzHashAlloc(int capacity);

/// Adds or replaces; copies both texts. 0, negative on failure.
int HLIBCSzHashSetValue(HLIBCSzHash** hash, const char* key, const char* value);

/// The value, owned by the hash; null when there is no such key.
const char* HLIBCSzHashGetValue(const HLIBCSzHash* hash, const char* key);

/// Removes a key; 0, negative when there was none.
int HLIBCSzHashRemoveKey(HLIBCSzHash* hash, const char* key);

/// The key after `previous` in the order of insertion, the first one for null; null at the end.
/// Owned by the hash.
const char* HLIBCSzHashEnumKey(const HLIBCSzHash* hash, const char* previous);

/// Frees a hash; null is fine.
void HLIBCSzHashFree(HLIBCSzHash* hash);
