// Downloads: a file as the answer instead of JSON.
#pragma once

#include <string>

/// Makes a new, empty file from a pattern that ends in "XXXXXX" and returns its name; the pattern
/// itself when it could not be made. The file is the caller's.
std::string NewTemporaryFile(const char* pattern);

/// Writes the headers of a download that the client saves as `name`.
void WriteDownloadHead(const char* name);

/// Answers with the bytes of the file at `path`, which the client saves as `name`. False, with
/// nothing written, when it cannot be opened; a read error ends the copy.
bool SendDownload(const std::string& path, const char* name);
