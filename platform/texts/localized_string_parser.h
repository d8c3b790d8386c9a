// Texts of the interface in the user's language. Provided by libkos.so.6.
#pragma once

#include <json/value.h>

#include <string>

namespace HALD::HDX {

class LocalizedStringParser {
public:
    /// Reads a text file: `[section]` lines and `key="text"` lines. An object of sections of keys;
    /// null when the file cannot be read.
    static Json::Value ParseTexts(const std::string& path);
};

}  // namespace HALD::HDX
