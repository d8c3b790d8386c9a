// Downloads: a file as the answer instead of JSON.
#include "frame/download.h"

#include <stdlib.h>  // mkstemp
#include <unistd.h>

#include <cstdio>

namespace {

void CopyLines(std::FILE* file)
{
    char* line = nullptr;
    size_t capacity = 0;
    ssize_t length = 0;
    while ((length = getline(&line, &capacity, file)) > 0) {
        std::fwrite(line, 1, static_cast<size_t>(length), stdout);
    }
    free(line);
}

}  // namespace

std::string NewTemporaryFile(const char* pattern)
{
    std::string name = pattern;
    const int descriptor = mkstemp(name.data());
    if (descriptor >= 0) close(descriptor);
    return name;
}

void WriteDownloadHead(const char* name)
{
    std::printf("Content-Type:application/octet-stream\n");
    std::printf("Content-Disposition:attachment; filename=\"%s\"\n\n", name);
}

bool SendDownload(const std::string& path, const char* name)
{
    std::FILE* file = std::fopen(path.c_str(), "re");
    if (file == nullptr) return false;

    WriteDownloadHead(name);
    CopyLines(file);
    std::fflush(stdout);
    std::fclose(file);
    return true;
}
