// Typed settings: the store that the settings classes share. Provided by libmailvane.so.
#pragma once

#include <boost/any.hpp>

#include <list>
#include <string>
#include <utility>

/// Identity of one setting; T is int, std::string or bool. Travels inside a `boost::any`.
template <typename T>
class Key {
public:
    explicit Key(std::string name) : name_(std::move(name)) {}
    const std::string& name() const { return name_; }

private:
    std::string name_;
};

/// Value of one setting: exactly one T. Travels inside a `boost::any`.
template <typename T>
class Value {
public:
    explicit Value(T value) : value_(std::move(value)) {}
    const T& get() const { return value_; }

private:
    T value_;
};

/// The settings of one service in memory. The classes derived from it load and save them.
class Config {
public:
    struct State;  ///< what the implementation keeps

    Config();
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    /// Stores a value (a `Value<T>`) under a setting's name. A value that the setting cannot take
    /// marks the object, and the save that follows fails.
    virtual void Set(const std::string& name, const boost::any& value);
    virtual ~Config();

    /// The stored value, a `Value<T>`; an empty `boost::any` for an unknown name. Owned by this
    /// object and valid until it is set again.
    boost::any& Get(const std::string& name);

    /// The keys in their fixed order; each element holds a `Key<int>`, `Key<std::string>` or
    /// `Key<bool>`.
    std::list<boost::any> GetKeyList() const;

    /// Name of a key of any kind.
    static std::string GetKeyName(const boost::any& key);

protected:
    State* state_;  ///< owned
};
