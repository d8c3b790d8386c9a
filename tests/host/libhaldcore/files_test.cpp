// Files and directories: whole-file replacement, links, distrust in shared directories.
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>

#include "platform/hlib/file.h"
#include "tests/host/machine.h"

namespace fs = std::filesystem;
using host::Path;

/// In the place of the library's: a disk of which root may fill more than others.
extern "C" int statvfs(const char* /*path*/, struct statvfs* disk) noexcept
{
    *disk = {};
    disk->f_frsize = 4096;
    disk->f_bavail = 5;
    disk->f_bfree = 9;
    return 0;
}

namespace {

constexpr uid_t kStranger = 12345;

class Files : public Machine {
protected:
    /// A directory like /tmp.
    static void MakeShared(const std::string& path)
    {
        fs::create_directories(Path(path));
        ASSERT_EQ(0, chmod(Path(path).c_str(), 01777));
    }

    static std::string Read(const std::string& path)
    {
        std::string bytes = "unchanged";
        return host::ReadFile(Path(path), bytes) ? bytes : "errno " + std::to_string(errno);
    }
};

TEST(FreeSpace, IsWhatIsLeftToThoseWhoAreNotRoot)
{
    EXPECT_EQ(5 * 4096, HLIBGetFsFreeSize("/"));
    EXPECT_LT(HLIBGetFsFreeSize(nullptr), 0);
}

TEST_F(Files, AreReplacedWholeWithTheWantedModeWhateverTheUmask)
{
    const mode_t before = umask(077);
    Write("/d/f", "old", 0600);
    const std::string bytes = std::string(300000, 'x') + '\0' + "end";
    EXPECT_TRUE(host::ReplaceFile(Path("/d/f"), bytes, 0644));
    EXPECT_TRUE(host::ReplaceFile(Path("/d/new"), "", 0600));
    EXPECT_TRUE(host::MakeDirectories(Path("/d/a/b"), 0755));
    EXPECT_FALSE(host::MakeDirectories(Path("/d/f/b"), 0755)) << "a file is in the way";
    umask(before);

    EXPECT_EQ(bytes, Read("/d/f"));
    EXPECT_EQ(0644U, Mode("/d/f"));
    EXPECT_EQ(0600U, Mode("/d/new"));
    EXPECT_EQ(0755U, Mode("/d/a"));
    EXPECT_EQ("a f new", Names("/d")) << "no temporary file stays";
}

TEST_F(Files, StayAsTheyWereWhenAReplacementFails)
{
    fs::create_directories(Path("/d/target/full"));
    for (const char* path : {"/d/target", "/missing/f", "/d/"}) {
        EXPECT_FALSE(host::ReplaceFile(Path(path), "x", 0600)) << path;
    }
    EXPECT_EQ("target", Names("/d")) << "no temporary file stays";
}

TEST_F(Files, BehindLinksAreReplacedAndTheLinksStay)
{
    Write("/etc/generated/gen-2/conf", "old");
    fs::create_symlink("gen-2", Path("/etc/generated/current"));
    fs::create_symlink("generated/current/conf", Path("/etc/conf"));
    fs::create_symlink("generated/current/later", Path("/etc/dangling"));
    fs::create_symlink("loop", Path("/etc/loop"));

    EXPECT_TRUE(host::ReplaceFile(Path("/etc/conf"), "new", 0600));
    EXPECT_TRUE(host::ReplaceFile(Path("/etc/dangling"), "made", 0600));
    EXPECT_FALSE(host::ReplaceFile(Path("/etc/loop"), "x", 0600));
    EXPECT_EQ(ELOOP, errno);
    EXPECT_EQ("new", Contents("/etc/generated/gen-2/conf"));
    EXPECT_EQ("made", Contents("/etc/generated/gen-2/later"));
    EXPECT_TRUE(fs::is_symlink(Path("/etc/conf")));
    EXPECT_EQ(0, HLIBCFileExist("/etc/loop"));
}

TEST_F(Files, InSharedDirectoriesAreNeitherFollowedNorBelieved)
{
    MakeShared("/tmp");
    Write("/etc/secret", "secret", 0600);
    fs::create_symlink(Path("/etc/secret"), Path("/tmp/link"));
    EXPECT_EQ("errno " + std::to_string(EPERM), Read("/tmp/link"));
    EXPECT_TRUE(host::ReplaceFile(Path("/tmp/link"), "mine", 0600));
    EXPECT_EQ("mine", Read("/tmp/link")) << "the link gave way to a file";
    EXPECT_EQ("secret", Contents("/etc/secret"));
}

TEST_F(Files, OfStrangersKeepTheirOwnerButInSharedDirectories)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can make files of strangers";
    MakeShared("/tmp");
    for (const char* path : {"/tmp/f", "/home/f"}) {
        Write(path, "planted", 0666);
        ASSERT_EQ(0, chown(Path(path).c_str(), kStranger, kStranger));
    }
    EXPECT_EQ("errno " + std::to_string(EPERM), Read("/tmp/f"));
    EXPECT_EQ("planted", Read("/home/f"));

    struct stat status;
    EXPECT_TRUE(host::ReplaceFile(Path("/home/f"), "new", 0640));
    ASSERT_EQ(0, stat(Path("/home/f").c_str(), &status));
    EXPECT_EQ(kStranger, status.st_uid);
    EXPECT_TRUE(host::ReplaceFile(Path("/tmp/f"), "new", 0600));
    ASSERT_EQ(0, stat(Path("/tmp/f").c_str(), &status));
    EXPECT_EQ(geteuid(), status.st_uid) << "the stranger could write into it else";
}

TEST_F(Files, ThatAreNoneAreNotRead)
{
    fs::create_directories(Path("/d"));
    ASSERT_EQ(0, mkfifo(Path("/d/fifo").c_str(), 0600));
    EXPECT_EQ("errno " + std::to_string(EINVAL), Read("/d/fifo")) << "nobody waits for a writer";
    EXPECT_EQ("errno " + std::to_string(EISDIR), Read("/d"));

    std::string bytes;
    EXPECT_TRUE(host::ReadFile("/proc/self/status", bytes)) << "its size reads as 0";
    EXPECT_NE(std::string::npos, bytes.find("Name:"));
}

TEST(Paths, KnowTheirRootAndWhatClimbsUp)
{
    host::SetRoot("/test/root");
    EXPECT_EQ("/test/root/etc/x", Path("/etc/x"));
    EXPECT_EQ("/test/root/etc/x", Path("/test/root/etc/x")) << "already under it";
    EXPECT_EQ("/test/root/test/rootless", Path("/test/rootless"));
    EXPECT_EQ("relative", Path("relative"));
    host::SetRoot("");
    EXPECT_EQ("/etc/x", Path("/etc/x"));

    for (const char* path : {"..", "../x", "/a/..", "/a/../b", "a/.."}) {
        EXPECT_TRUE(host::ClimbsUp(path)) << path;
    }
    for (const char* path : {"", "/", "/a..b/..c/d../...", ".", "a"}) {
        EXPECT_FALSE(host::ClimbsUp(path)) << path;
    }
}

}  // namespace
