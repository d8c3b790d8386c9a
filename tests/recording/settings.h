// The settings of one service as a test scripts them: typed keys in order, each with its value.
#pragma once

#include <json/value.h>

#include <boost/any.hpp>
#include <string>
#include <vector>

#include "platform/mailvane/config.h"

namespace recording {

class Settings {
public:
    Settings() = default;

    /// Settings of the names, types and values of a JSON object's members.
    explicit Settings(const std::string& text);

    /// Sets what `members` names, each by the type of its key. A name without a key fails the test.
    void Set(const Json::Value& members);

    /// All settings by name.
    Json::Value ToJson() const;

    /// The value of a setting; null when there is no such name.
    boost::any* Find(const std::string& name);

    std::list<boost::any> Keys() const;

private:
    struct Entry {
        std::string name;
        boost::any key;
        boost::any value;
    };

    std::vector<Entry> entries_;
};

/// The settings of the three services as a fresh installation has them.
Settings DefaultPostfix();
Settings DefaultImapPop3();
Settings DefaultMailScanner();

}  // namespace recording
