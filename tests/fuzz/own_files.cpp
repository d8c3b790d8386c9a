// Files of a fuzz target, and its log, which is nobody's.
#include <syslog.h>

#include <filesystem>
#include <fstream>

#include "tests/fuzz/fuzz.h"

extern "C" void syslog(int /*priority*/, const char* /*format*/, ...) {}
extern "C" void __syslog_chk(int /*priority*/, int /*flag*/, const char* /*format*/, ...) {}

namespace fuzz {
namespace {

namespace fs = std::filesystem;

class Folder {
public:
    Folder() { Expect(mkdtemp(path_.data()) != nullptr); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(path_); }

    const std::string& path() const { return path_; }

private:
    std::string path_ = "/dev/shm/mailvane-fuzz-XXXXXX";
};

}  // namespace

std::string OwnFile(const std::string& name)
{
    static const Folder folder;
    return folder.path() + "/" + name;
}

std::string NewFile(const std::string& name, std::string_view bytes)
{
    const std::string path = OwnFile(name);
    fs::create_directories(fs::path(path).parent_path());
    fs::remove(path);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

}  // namespace fuzz
