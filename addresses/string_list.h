// Lists of strings filled by the platform's account functions.
#pragma once

#include "platform/hlib/string_list.h"

/// Owns a list.
class StringList {
public:
    StringList() : list_(HLIBCSzListAlloc(kCapacity)) {}
    ~StringList() { HLIBCSzListFree(list_); }
    StringList(const StringList&) = delete;
    StringList& operator=(const StringList&) = delete;

    /// False when there was not enough memory; the object can then only be destroyed.
    bool Ok() const { return list_ != nullptr; }

    /// The argument for platform functions that append.
    HLIBCSzList** Address() { return &list_; }

    /// Appends a copy; false on failure.
    bool Push(const char* text) { return HLIBCSzListPush(&list_, text) >= 0; }

    int Size() const { return list_->count; }
    const char* operator[](int index) const { return HLIBCSzListGet(list_, index); }

private:
    static constexpr int kCapacity = 1024;

    HLIBCSzList* list_;
};
