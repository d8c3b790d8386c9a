// describe_settings: writes the documents about the settings from the rows of the settings.
//
//   describe_settings FOLDER     writes docs/settings.md, docs/settings.yaml and
//                                packaging/texts/en.settings below FOLDER
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tools/describe/documents.h"

namespace {

bool WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) (void)std::fprintf(stderr, "describe_settings: cannot write %s\n", path.c_str());
    return static_cast<bool>(file);
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        (void)std::fprintf(stderr, "usage: describe_settings FOLDER\n");
        return 2;
    }

    const std::string folder = arguments[1];
    const bool written = WriteFile(folder + "/docs/settings.md", describe::Markdown()) &&
                         WriteFile(folder + "/docs/settings.yaml", describe::Yaml()) &&
                         WriteFile(folder + "/packaging/texts/en.settings", describe::Texts());
    return written ? EXIT_SUCCESS : EXIT_FAILURE;
}
