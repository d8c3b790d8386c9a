// Refused attachment types. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class AttachmentFilter {
public:
    /// Sets `types` to those that contain `query` (all when it is empty) and returns their number;
    /// negative on failure.
    static int GetList(std::list<std::string>& types, const std::string& query);
    /// Remove and add types, with the next `GenerateConfig`; negative on failure.
    static int Delete(const std::list<std::string>& types);
    static int Add(const std::list<std::string>& types);
    /// Stores what was changed and rebuilds the mail server's filter; negative on failure, with the
    /// old types still stored and in force.
    static int GenerateConfig();
};
