// Downloads: a file as the answer instead of JSON.
#pragma once

#include <string>

/// Creates an empty file from a pattern that ends in "XXXXXX" and returns its path; the pattern
/// itself on failure. The caller removes the file.
std::string NewTemporaryFile(const char* pattern);

/// Writes the headers of a download that the client saves as `name`.
void WriteDownloadHead(const char* name);

/// Sends the file at `path` as a download, which the client saves as `name`. False, with nothing
/// written, when it cannot be opened; a read error ends the download early.
bool SendDownload(const std::string& path, const char* name);
