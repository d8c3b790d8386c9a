// Texts of the interface in the user's language. Provided by libkos.so.6.
#pragma once

#include <json/value.h>

#include <string>

namespace HALD::HDX {

class LocalizedStringParser {
public:
    /// Parses a file with `[section]` and `key="text"` lines into an object of sections, each an
    /// object of texts by key; null when the file cannot be read.
    static Json::Value ParseTexts(const std::string& path);
};

}  // namespace HALD::HDX
