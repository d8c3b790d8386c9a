// What was looked up, kept within a bound of memory.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace host::render {

/// Values by what they were looked up by. All are forgotten when they come to more than some bytes,
/// so that memory is bounded whatever is looked up, and most is still found.
template <typename Key, typename Value>
class LookedUp {
public:
    explicit LookedUp(std::size_t mostBytes) : mostBytes_(mostBytes) {}

    /// Null when it is not there. What is found stays until the next `Keep`.
    const Value* Find(const Key& key) const
    {
        const auto found = values_.find(key);
        return found == values_.end() ? nullptr : &found->second;
    }

    /// Keeps a value, in place of one that was there. `bytes` are what key and value hold besides
    /// themselves.
    const Value& Keep(const Key& key, Value value, std::size_t bytes)
    {
        constexpr std::size_t kOfNode = sizeof(Key) + sizeof(Value) + 4 * sizeof(void*);
        bytes_ += kOfNode + bytes;
        if (bytes_ > mostBytes_) {
            values_.clear();
            bytes_ = kOfNode + bytes;
        }
        return values_.insert_or_assign(key, std::move(value)).first->second;
    }

private:
    std::size_t mostBytes_;
    std::size_t bytes_ = 0;
    std::unordered_map<Key, Value> values_;
};

}  // namespace host::render
