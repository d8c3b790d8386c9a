// Refused attachment types. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class AttachmentFilter {
public:
    /// Fills `types` with those that contain `query` (all for an empty one); their number,
    /// negative on failure.
    static int GetList(std::list<std::string>& types, const std::string& query);
    /// Remove and add types, with the next `GenerateConfig`; negative on failure.
    static int Delete(const std::list<std::string>& types);
    static int Add(const std::list<std::string>& types);
    /// Stores what was changed and rebuilds the mail server's filter; negative on failure, the
    /// types, stored and in force, are then the old ones.
    static int GenerateConfig();
};
