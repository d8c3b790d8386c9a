// The platform's list of strings.
#include "platform/hlib/string_list.h"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "host/libhaldcore/error.h"

namespace {

/// A deque, so that pointers to texts stay valid while the list grows.
using Elements = std::deque<std::string>;

Elements& ElementsOf(const HLIBCSzList* list)
{
    return *static_cast<Elements*>(list->elements);
}

}  // namespace

HLIBCSzList* HLIBCSzListAlloc(int /*capacity*/)
{
    try {
        auto list = std::make_unique<HLIBCSzList>();
        list->elements = new Elements;
        return list.release();
    } catch (const std::bad_alloc&) {
        (void)host::Fail(ENOMEM);
        return nullptr;
    }
}

int HLIBCSzListPush(HLIBCSzList** list, const char* text)
{
    if (list == nullptr || *list == nullptr || text == nullptr) return host::Fail(EINVAL);
    try {
        ElementsOf(*list).emplace_back(text);
        return ++(*list)->count;
    } catch (const std::bad_alloc&) {
        return host::Fail(ENOMEM);
    }
}

const char* HLIBCSzListGet(const HLIBCSzList* list, int index)
{
    if (list == nullptr || index < 0 || index >= list->count) return nullptr;
    return ElementsOf(list)[static_cast<std::size_t>(index)].c_str();
}

void HLIBCSzListSortItems(HLIBCSzList* list, int order)
{
    if (list == nullptr) return;
    Elements& elements = ElementsOf(list);
    if (order == 1) {
        std::sort(elements.begin(), elements.end());
    } else {
        std::sort(elements.begin(), elements.end(), std::greater<>());
    }
}

void HLIBCSzListFree(HLIBCSzList* list)
{
    if (list == nullptr) return;
    delete static_cast<Elements*>(list->elements);
    delete list;
}
