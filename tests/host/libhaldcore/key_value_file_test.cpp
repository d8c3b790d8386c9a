// Key-value files: what counts as an entry, what survives a change, what is refused.
#include <sys/stat.h>

#include "host/libhaldcore/key_value_file.h"
#include "platform/hlib/key_value.h"
#include "tests/host/machine.h"

namespace {

using host::KeyValueFile;
using std::string_literals::operator""s;

TEST(KeyValueFile, ReadsEntriesAsTheyAreSpelled)
{
    const std::pair<const char*, const char*> rows[] = {
        {"k=v\n", "v"},
        {"k=\"v\"\r\n", "v"},
        {"[global]\n\tk = EXAMPLE.COM  \n", "EXAMPLE.COM"},
        {"k=\n", ""},
        {"k=\"\n", "\""},
        {"k=\"a\"b\"\n", "a\"b"},
        {"k=\" a \"\n", " a "},
        {"k=v # no comment\n", "v # no comment"},
        {"k=a=b", "a=b"},
        {"k=first\nk=second\n", "first"},
        {"#k=v\n;k=v\n[k=v]\nk v\nkk=v\nK=v\n k k=v\n", "(absent)"},
    };
    for (const auto& [text, want] : rows) {
        const KeyValueFile file = KeyValueFile::Parse(text);
        EXPECT_EQ(want, file.Get("k").value_or("(absent)")) << text;
        EXPECT_EQ(text, file.Text());
    }
}

TEST(KeyValueFile, KeepsEveryOtherLineByteForByte)
{
    KeyValueFile file = KeyValueFile::Parse("# note\r\n[s]\n  other = 1  \n\nk=a\nk=b\njunk");
    EXPECT_TRUE(file.Set("k", "c"));
    EXPECT_TRUE(file.Set("new", "d"));
    EXPECT_EQ("# note\r\n[s]\n  other = 1  \n\nk=\"c\"\nk=b\njunk\nnew=\"d\"\n", file.Text());
    file.Remove("k");
    EXPECT_EQ("# note\r\n[s]\n  other = 1  \n\njunk\nnew=\"d\"\n", file.Text());
}

TEST(KeyValueFile, GivesBackWhatWasSet)
{
    KeyValueFile file;
    for (const char* value : {"", "\t leading and trailing ", "\"", "\"quoted\"", "a\"b", "back\\",
                              "a=b", "# no comment", "J\xc3\xbcrgen", "'$(x)'"}) {
        EXPECT_TRUE(file.Set("k", value));
        EXPECT_EQ(value, KeyValueFile::Parse(file.Text()).Get("k").value_or("(absent)"));
    }
}

TEST(KeyValueFile, RefusesWhatWouldNotStayOneLine)
{
    KeyValueFile file = KeyValueFile::Parse("k=v\n");
    for (const std::string& value : {"a\nb"s, "a\r"s, "a\0b"s}) EXPECT_FALSE(file.Set("k", value));
    for (const char* key : {"", " k", "k ", "a=b", "#k", ";k", "[k", "a\nb"}) {
        EXPECT_FALSE(file.Set(key, "v")) << key;
    }
    EXPECT_EQ("k=v\n", file.Text());
}

class KeyValue : public Machine {
protected:
    /// What a read of `size` bytes leaves behind, in a buffer that held something before.
    static std::string Get(const char* file, const char* key, int size = 512)
    {
        std::vector<char> buffer(520, '~');
        const int result = HLIBCFileGetKeyValue(file, key, buffer.data(), size, 0);
        EXPECT_EQ('~', buffer[static_cast<std::size_t>(size)]) << "written beyond its end";
        return std::to_string(result) + ":" + buffer.data();
    }
};

TEST_F(KeyValue, ReadFailsOnlyForAnUnreadableFile)
{
    Write("/etc/f", "k=\"12345\"\n");
    EXPECT_EQ("0:12345", Get("/etc/f", "k"));
    EXPECT_EQ("0:123", Get("/etc/f", "k", 4)) << "cut to fit";
    EXPECT_EQ("0:", Get("/etc/f", "absent"));
    for (const char* file : {"/etc/none", "/etc/../etc/f", "/etc"}) {
        EXPECT_EQ("-1:", Get(file, "k")) << file;
    }
    EXPECT_NE(0, HLIBCFileCheckKeyValue("/etc/f", "k", "12345", 0));
    EXPECT_EQ(0, HLIBCFileCheckKeyValue("/etc/f", "k", "123", 0));
}

TEST_F(KeyValue, SetMakesAPrivateFileAndKeepsTheModeOfAnotherOne)
{
    Write("/etc/f", "a=1\n", 0640);
    EXPECT_EQ(0, HLIBCFileSetKeyValue("/etc/f", "k", "v", 0));
    EXPECT_EQ("a=1\nk=\"v\"\n", Contents("/etc/f"));
    EXPECT_EQ(0640U, Mode("/etc/f"));
    EXPECT_EQ(0, HLIBCFileSetKeyValue("/etc/new", "k", "v", 0));
    EXPECT_EQ(0600U, Mode("/etc/new"));

    EXPECT_GT(0, HLIBCFileSetKeyValue("/etc/f", "k", "v\nadmin=yes", 0));
    EXPECT_GT(0, HLIBCFileSetKeyValue("/etc/x/../f", "k", "w", 0));
    EXPECT_EQ("a=1\nk=\"v\"\n", Contents("/etc/f"));
}

TEST_F(KeyValue, SetStartsAnewInASharedDirectory)
{
    Write("/home/precious", "p=1\n");
    std::filesystem::create_directories(host::Path("/tmp"));
    ASSERT_EQ(0, chmod(host::Path("/tmp").c_str(), 01777));
    std::filesystem::create_symlink(host::Path("/home/precious"), host::Path("/tmp/staged"));
    EXPECT_EQ(0, HLIBCFileSetKeyValue("/tmp/staged", "k", "v", 0));
    EXPECT_EQ("k=\"v\"\n", Contents("/tmp/staged"));
    EXPECT_EQ("p=1\n", Contents("/home/precious"));
}

// Files of the package are changed under the request lock.
TEST_F(KeyValue, SettersOfOneFileLoseNothing)
{
    constexpr const char* kStored = "/var/packages/Mailvane/etc/some.conf";
    const auto key = [](int number) { return "k" + std::to_string(number); };
    const auto setTen = [&](int first) {
        int result = 0;
        for (int i = first; i < first + 10; ++i) {
            result |= HLIBCFileSetKeyValue(kStored, key(i).c_str(), "v", 0);
        }
        return result == 0 ? 0 : 1;
    };
    Write(kStored, "");
    for (const int first : {0, 10, 20, 30}) InChild([&] { return setTen(first); });
    for (int i = 0; i < 4; ++i) EXPECT_EQ(0, StatusOf(-1));
    for (int i = 0; i < 40; ++i) EXPECT_EQ("0:v", Get(kStored, key(i).c_str())) << i;
}

}  // namespace
