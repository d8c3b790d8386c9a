// Paths on the machine. All files of the package are below /var/packages/Mailvane.
#include "host/libhaldcore/paths.h"

namespace host {

namespace {

constexpr char kPackage[] = "/var/packages/Mailvane/";

/// Null for "/". A pointer, so that nothing is constructed at program start.
const std::string* testRoot = nullptr;

bool LiesUnder(const std::string& path, const std::string& root)
{
    return path.compare(0, root.size(), root) == 0 &&
           (path.size() == root.size() || path[root.size()] == '/');
}

}  // namespace

std::string Path(const std::string& path)
{
    if (testRoot == nullptr || path.empty() || path[0] != '/') return path;
    return LiesUnder(path, *testRoot) ? path : *testRoot + path;
}

std::string PackagePath(const std::string& relative)
{
    return Path(kPackage + relative);
}

void SetRoot(const std::string& directory)
{
    delete testRoot;
    testRoot = directory.empty() || directory == "/" ? nullptr : new std::string(directory);
}

}  // namespace host
