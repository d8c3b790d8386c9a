// Key-value files: what counts as an entry, what survives a change, what is refused.
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <vector>

#include "host/libhaldcore/key_value_file.h"
#include "platform/hlib/key_value.h"
#include "tests/host/machine.h"

namespace {

using host::KeyValueFile;

TEST(KeyValueFile, ReadsEntriesAsTheyAreSpelled)
{
    const struct {
        const char* text;
        const char* want;  // of key "k", null when absent
    } rows[] = {
        {"k=v\n", "v"},
        {"k=\"v\"\r\n", "v"},
        {"[global]\n\tk = EXAMPLE.COM  \n", "EXAMPLE.COM"},
        {"k=v", "v"},
        {"k=\n", ""},
        {"k=\"\"\n", ""},
        {"k=\"\n", "\""},
        {"k=\"a\"b\"\n", "a\"b"},
        {"k=\" a \"\n", " a "},
        {"k=v # no comment\n", "v # no comment"},
        {"k=a=b\n", "a=b"},
        {"k=first\nk=second\n", "first"},
        {"#k=v\n;k=v\n[k=v]\nk v\n", nullptr},
        {"kk=v\nK=v\n k k=v\n", nullptr},
        {"", nullptr},
    };
    for (const auto& row : rows) {
        const std::optional<std::string> got = KeyValueFile::Parse(row.text).Get("k");
        EXPECT_EQ(row.want != nullptr, got.has_value()) << row.text;
        EXPECT_EQ(row.want != nullptr ? row.want : "", got.value_or("")) << row.text;
        EXPECT_EQ(row.text, KeyValueFile::Parse(row.text).Text());
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
    for (const char* value :
         {"", " ", "\t leading and trailing ", "\"", "\"\"", "\"quoted\"", "a\"b", "back\\slash\\",
          "a=b", "# no comment", "[x]", "J\xc3\xbcrgen", "'$(x)'"}) {
        EXPECT_TRUE(file.Set("k", value));
        EXPECT_EQ(value, KeyValueFile::Parse(file.Text()).Get("k").value_or("(absent)"));
    }
}

TEST(KeyValueFile, RefusesWhatWouldNotStayOneLine)
{
    KeyValueFile file = KeyValueFile::Parse("k=v\n");
    for (const std::string& value :
         {std::string("a\nb"), std::string("a\r"), std::string("a\0b", 3)}) {
        EXPECT_FALSE(file.Set("k", value));
    }
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
    EXPECT_EQ("-1:", Get("/etc/none", "k"));
    EXPECT_EQ("-1:", Get("/etc/../etc/f", "k"));
    EXPECT_EQ("-1:", Get("/etc", "k"));
    EXPECT_NE(0, HLIBCFileCheckKeyValue("/etc/f", "k", "12345", 0));
    EXPECT_EQ(0, HLIBCFileCheckKeyValue("/etc/f", "k", "123", 0));
    EXPECT_EQ(0, HLIBCFileCheckKeyValue("/etc/f", "absent", "", 0));
    EXPECT_EQ(0, HLIBCFileCheckKeyValue("/etc/none", "k", "", 0));
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
    EXPECT_GT(0, HLIBCFileSetKeyValue("/none/f", "k", "w", 0));
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

/// Sets ten keys of its own; the exit status of a child.
int SetTen(const std::string& file, int first)
{
    for (int i = first; i < first + 10; ++i) {
        const std::string key = "k" + std::to_string(i);
        if (HLIBCFileSetKeyValue(file.c_str(), key.c_str(), "v", 0) < 0) return 1;
    }
    return 0;
}

TEST_F(KeyValue, SettersOfOneFileLoseNothing)
{
    const std::string file = host::PackagePath("etc/some.conf");
    for (const int first : {0, 10, 20, 30}) {
        InChild([&] { return SetTen(file, first); });
    }
    for (int i = 0; i < 4; ++i) EXPECT_EQ(0, StatusOf(-1));
    for (int i = 0; i < 40; ++i) {
        const std::string key = "k" + std::to_string(i);
        EXPECT_NE(0, HLIBCFileCheckKeyValue(file.c_str(), key.c_str(), "v", 0)) << key;
    }
}

}  // namespace
