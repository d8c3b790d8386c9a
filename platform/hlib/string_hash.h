// A hash table of strings. Provided by libhaldcore.so.6.
#pragma once

struct HLIBCSzHash;

/// A new empty table for about `capacity` names, owned by the caller; null when out of memory.
HLIBCSzHash* HLIBCSzHashAlloc(int capacity);

/// Sets the value of a key; copies both texts. 0, or negative on failure.
int HLIBCSzHashSetValue(HLIBCSzHash** hash, const char* key, const char* value);

/// The value of a key, owned by the table; null when there is no such key.
const char* HLIBCSzHashGetValue(const HLIBCSzHash* hash, const char* key);

/// Removes a key; 0, or negative when there was none.
int HLIBCSzHashRemoveKey(HLIBCSzHash* hash, const char* key);

/// The key after `previous` in the order of insertion, the first one after null; null at the end.
/// Owned by the table.
const char* HLIBCSzHashEnumKey(const HLIBCSzHash* hash, const char* previous);

/// Frees a table; null is allowed.
void HLIBCSzHashFree(HLIBCSzHash* hash);
