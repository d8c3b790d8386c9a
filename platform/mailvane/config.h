// Typed settings: the base of the settings classes. Provided by libmailvane.so.
#pragma once

#include <boost/any.hpp>

#include <list>
#include <string>
#include <utility>

/// The key of a setting; T is int, std::string or bool. Stored in a `boost::any`.
template <typename T>
class Key {
public:
    explicit Key(std::string name) : name_(std::move(name)) {}
    const std::string& name() const { return name_; }

private:
    std::string name_;
};

/// The value of a setting, of type T. Stored in a `boost::any`.
template <typename T>
class Value {
public:
    explicit Value(T value) : value_(std::move(value)) {}
    const T& get() const { return value_; }

private:
    T value_;
};

/// The settings of one service in memory. Derived classes load and save them.
class Config {
public:
    struct State;  ///< of the implementation

    Config();
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    /// Sets a setting to a value (a `Value<T>`). After an invalid value the next save fails.
    virtual void Set(const std::string& name, const boost::any& value);
    virtual ~Config();

    /// The value of a setting, a `Value<T>`; an empty `boost::any` for an unknown name. Owned by
    /// this object and valid until the setting is set again.
    boost::any& Get(const std::string& name);

    /// The keys in a fixed order; each element contains a `Key<int>`, `Key<std::string>` or
    /// `Key<bool>`.
    std::list<boost::any> GetKeyList() const;

    /// The name of a key of any type.
    static std::string GetKeyName(const boost::any& key);

protected:
    State* state_;  ///< owned
};
