// Programs, files, key-value files, text and packet filter of the machine.
#include <cstddef>

#include "platform/firewall/firewall.h"
#include "platform/hlib/error.h"
#include "platform/hlib/file.h"
#include "platform/hlib/key_value.h"
#include "platform/hlib/process.h"
#include "platform/hlib/string_list.h"
#include "platform/hlib/text.h"
#include "tests/recording/call.h"

using namespace recording;

int HLIBCExec(const char* path, const char* arg1, const char* arg2, const char* arg3,
              const char* arg4)
{
    const char* const arguments[] = {arg1, arg2, arg3, arg4};
    int count = 4;
    while (count > 0 && arguments[count - 1] == nullptr) --count;
    std::string line = Line("HLIBCExec", path);
    for (int i = 0; i < count; ++i) line += " " + Word(arguments[i]);

    if (const auto scripted = TheWorld().Called(line, false)) return *scripted;

    // Moving is what the program's own logic builds on, so it really happens.
    if (std::string(path) == "/bin/mv" && count == 2) return TheWorld().Move(arg1, arg2) ? 0 : -1;
    return 0;
}

int HLIBCProcFork() { return CallOr(4711, "HLIBCProcFork"); }  // the parent
int HLIBCProcAliveByPidFile(const char* pidFile)
{
    return CallOr(TheWorld().livePidFiles.count(pidFile), "HLIBCProcAliveByPidFile", pidFile);
}
int HLIBCFileExist(const char* path)
{
    return CallOr(TheWorld().Exists(path), "HLIBCFileExist", path);
}

int HLIBCFileEnumDir(const char* directory, int flags, HLIBCSzList** list, int max)
{
    const auto listing = TheWorld().listings.find(directory);
    const bool exists = listing != TheWorld().listings.end();
    const int result = CallOr(exists ? static_cast<int>(listing->second.size()) : -1,
                              "HLIBCFileEnumDir", directory, flags, max);
    if (result < 0) return result;

    for (const std::string& name : listing->second) HLIBCSzListPush(list, name.c_str());
    return result;
}

std::int64_t HLIBGetFsFreeSize(const char* path)
{
    return Call("HLIBGetFsFreeSize", path) < 0 ? -1 : TheWorld().freeBytes;
}

int HLIBCFileGetKeyValue(const char* file, const char* key, char* buffer, int size, int flags)
{
    const auto& files = TheWorld().keyValueFiles;
    const auto found = files.find(file);
    const int result =
        CallOr(found == files.end() ? -1 : 0, "HLIBCFileGetKeyValue", file, key, size, flags);
    CopyText("", buffer, size);
    if (result < 0 || found == files.end()) return result;

    const auto value = found->second.find(key);
    if (value != found->second.end()) CopyText(value->second, buffer, size);
    return result;
}

int HLIBCFileSetKeyValue(const char* file, const char* key, const char* value, int flags)
{
    const int result = Call("HLIBCFileSetKeyValue", file, key, value, flags);
    if (result >= 0) TheWorld().keyValueFiles[file][key] = value;
    return result;
}

int HLIBCFileCheckKeyValue(const char* file, const char* key, const char* value, int flags)
{
    auto& files = TheWorld().keyValueFiles;
    const bool same =
        files.count(file) != 0 && files[file].count(key) != 0 && files[file][key] == value;
    return CallOr(same ? 1 : 0, "HLIBCFileCheckKeyValue", file, key, value, flags);
}

int HLIBCErrGet() { return Given(TheWorld().lastError, "HLIBCErrGet"); }

/// Knows ASCII and the Latin letters that UTF-8 starts with the byte C3; sharp s becomes longer.
int HLIBCUnicodeUTF8StrUpper(const char* source, char* target, std::size_t targetSize)
{
    const std::string text = source;
    const int result = Detail("HLIBCUnicodeUTF8StrUpper", text);
    if (result < 0) return result;

    std::string upper = text;
    for (std::size_t i = 0; i < upper.size(); ++i) {
        const auto byte = static_cast<unsigned char>(upper[i]);
        const bool latin = i > 0 && upper[i - 1] == '\xc3' && byte >= 0xa0 && byte != 0xb7;
        if (latin || (byte >= 'a' && byte <= 'z')) upper[i] = static_cast<char>(byte - 0x20);
    }
    for (std::size_t at; (at = upper.find("\xc3\x9f")) != std::string::npos;) {
        upper.replace(at, 2, "\xe1\xba\x9e");
    }
    if (upper.size() >= targetSize) return -1;

    CopyText(upper, target, static_cast<int>(targetSize));
    return result;
}

int HALDFwRuleHup() { return Call("HALDFwRuleHup"); }
