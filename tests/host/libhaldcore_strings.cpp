// The platform's lists and hashes of strings, and its upper-casing.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/hlib/error.h"
#include "platform/hlib/string_hash.h"
#include "platform/hlib/string_list.h"
#include "platform/hlib/text.h"

namespace {

std::string Join(const HLIBCSzList* list)
{
    std::string text;
    for (int i = 0; i < list->count; ++i) text += std::string(HLIBCSzListGet(list, i)) + " ";
    return text;
}

TEST(StringList, GrowsAndKeepsWhatItGaveOut)
{
    HLIBCSzList* list = HLIBCSzListAlloc(1);
    EXPECT_EQ(1, HLIBCSzListPush(&list, "first"));
    const char* first = HLIBCSzListGet(list, 0);
    for (int i = 2; i <= 3000; ++i) EXPECT_EQ(i, HLIBCSzListPush(&list, "more"));
    EXPECT_EQ(first, HLIBCSzListGet(list, 0)) << "still where it was";
    EXPECT_STREQ("first", first);

    EXPECT_EQ(nullptr, HLIBCSzListGet(list, 3000));
    EXPECT_EQ(nullptr, HLIBCSzListGet(list, -1));
    EXPECT_GT(0, HLIBCSzListPush(&list, nullptr));
    EXPECT_EQ(EINVAL, HLIBCErrGet());
    EXPECT_EQ(3000, list->count);
    HLIBCSzListFree(list);
    HLIBCSzListFree(nullptr);
}

TEST(StringList, SortsByBytes)
{
    HLIBCSzList* list = HLIBCSzListAlloc(0);
    for (const char* text : {"b", "\xc3\xa4", "B", "a", "ab"}) HLIBCSzListPush(&list, text);
    HLIBCSzListSortItems(list, 1);
    EXPECT_EQ("B a ab b \xc3\xa4 ", Join(list));
    HLIBCSzListSortItems(list, 0);
    EXPECT_EQ("\xc3\xa4 b ab a B ", Join(list));
    HLIBCSzListFree(list);
}

TEST(StringHash, KeepsTheOrderOfInsertion)
{
    HLIBCSzHash* hash = HLIBCSzHashAlloc(1024);
    for (const char* key : {"zoe", "adam", "mia", ""}) {
        EXPECT_EQ(0, HLIBCSzHashSetValue(&hash, key, key));
    }
    EXPECT_EQ(0, HLIBCSzHashSetValue(&hash, "adam", "replaced"));
    EXPECT_EQ(0, HLIBCSzHashRemoveKey(hash, "mia"));
    EXPECT_GT(0, HLIBCSzHashRemoveKey(hash, "mia"));

    std::string keys;
    for (const char* key = HLIBCSzHashEnumKey(hash, nullptr); key != nullptr;
         key = HLIBCSzHashEnumKey(hash, key)) {
        keys += std::string(key) + "=" + HLIBCSzHashGetValue(hash, key) + " ";
    }
    EXPECT_EQ("zoe=zoe adam=replaced = ", keys);
    EXPECT_EQ(nullptr, HLIBCSzHashGetValue(hash, "mia"));
    EXPECT_EQ(nullptr, HLIBCSzHashEnumKey(hash, "mia"));
    HLIBCSzHashFree(hash);
    HLIBCSzHashFree(nullptr);
}

TEST(Upper, KnowsScriptsAndRefusesWhatIsNoUtf8)
{
    const struct {
        const char* source;
        const char* want;  // null: refused
    } rows[] = {
        {"", ""},
        {"Abc-1@x.org", "ABC-1@X.ORG"},
        {"j\xc3\xbcrgen \xce\xb1\xcf\x82 \xd0\xb6", "J\xc3\x9cRGEN \xce\x91\xce\xa3 \xd0\x96"},
        {"\xe4\xbd\xa0\xf0\x9f\x98\x80", "\xe4\xbd\xa0\xf0\x9f\x98\x80"},
        {"\xc9\x90", "\xe2\xb1\xaf"},              // grows from two bytes to three
        {"\xf0\x90\x90\xa8", "\xf0\x90\x90\x80"},  // beyond the first plane
        {"a\xff", nullptr},
        {"\xc3", nullptr},              // cut short
        {"\xc0\xaf", nullptr},          // overlong
        {"\xe0\x80\xaf", nullptr},      // overlong
        {"\xed\xa0\x80", nullptr},      // surrogate
        {"\xf4\x90\x80\x80", nullptr},  // beyond the last code point
        {"\x80", nullptr},
    };
    for (const auto& row : rows) {
        std::vector<char> target(2 * std::string(row.source).size() + 1, '~');
        const int result = HLIBCUnicodeUTF8StrUpper(row.source, target.data(), target.size());
        const std::string got = result == 0 ? target.data() : "(refused)";
        EXPECT_EQ(row.want != nullptr ? row.want : "(refused)", got) << row.source;
    }
}

TEST(Upper, FitsItsTarget)
{
    std::string target = "~~~~";
    EXPECT_EQ(0, HLIBCUnicodeUTF8StrUpper("ab", target.data(), 3));
    EXPECT_STREQ("AB", target.c_str());
    EXPECT_GT(0, HLIBCUnicodeUTF8StrUpper("abc", target.data(), 3));
    EXPECT_EQ('~', target[3]) << "written beyond its end";
}

}  // namespace
