// A list of strings. Provided by libhaldcore.so.6.
#pragma once

/// The elements are copies owned by the list; read them with `HLIBCSzListGet`.
struct HLIBCSzList {
    int count = 0;
    void* elements = nullptr;
};

/// A new empty list for about `capacity` strings, owned by the caller; null when out of memory.
HLIBCSzList* HLIBCSzListAlloc(int capacity);

/// Appends a copy of `text` and returns the number of elements; negative on failure, with the list
/// unchanged.
int HLIBCSzListPush(HLIBCSzList** list, const char* text);

/// Element `index`, owned by the list; null when there is no such element.
const char* HLIBCSzListGet(const HLIBCSzList* list, int index);

/// Sorts by bytes: ascending when `order` is 1, else descending.
void HLIBCSzListSortItems(HLIBCSzList* list, int order);

/// Frees a list; null is allowed.
void HLIBCSzListFree(HLIBCSzList* list);
