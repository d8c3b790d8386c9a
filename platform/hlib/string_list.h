// Growable list of strings. Provided by libhaldcore.so.6.
#pragma once

/// The elements are copies owned by the list; read them with `HLIBCSzListGet`.
struct HLIBCSzList {
    int count = 0;
    void* elements = nullptr;
};

/// A new empty list for about `capacity` strings, owned by the caller; null when memory is short.
HLIBCSzList* HLIBCSzListAlloc(int capacity);

/// Appends a copy of `text`. The number of elements; negative on failure, the list is then as it
/// was.
int HLIBCSzListPush(HLIBCSzList** list, const char* text);

/// Element `index`, owned by the list; null outside of it.
const char* HLIBCSzListGet(const HLIBCSzList* list, int index);

/// Sorts by bytes, ascending for `order` 1, descending for any other.
void HLIBCSzListSortItems(HLIBCSzList* list, int order);

/// Frees a list; null is fine.
void HLIBCSzListFree(HLIBCSzList* list);
