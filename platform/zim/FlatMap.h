#pragma once
// A small keyed collection in one sorted array: what a neighbour sends in its sub-tables (a few
// addresses, a few VLAN names) costs one allocation instead of a hash table with a node per
// member, and one pointer while empty. Members are inserted in key order by whoever copies
// them from an ordered document, which appends; a lookup is a binary search.
#include <algorithm>
#include <concepts>
#include <memory>
#include <utility>
#include <vector>

namespace Zim {

template <class K, class V> class FlatMap {
public:
    using value_type = std::pair<K, V>;
    using Members = std::vector<value_type>;
    using const_iterator = typename Members::const_iterator;

    FlatMap() = default;
    FlatMap(const FlatMap& other)
        : members_(other.members_ ? std::make_unique<Members>(*other.members_) : nullptr) {}
    FlatMap& operator=(const FlatMap& other) {
        if (this != &other)
            members_ = other.members_ ? std::make_unique<Members>(*other.members_) : nullptr;
        return *this;
    }
    FlatMap(FlatMap&&) noexcept = default;
    FlatMap& operator=(FlatMap&&) noexcept = default;

    size_t size() const noexcept { return members().size(); }
    bool empty() const noexcept { return members().empty(); }
    bool contains(const K& key) const { return find(key) != nullptr; }
    const V* find(const K& key) const {
        auto it = position(key);
        return it != members().end() && it->first == key ? &it->second : nullptr;
    }
    // Inserts or overwrites; true when something changed.
    bool set(const K& key, V value) {
        if (!members_)
            members_ = std::make_unique<Members>();
        auto it = position(key);
        if (it != members_->end() && it->first == key) {
            if constexpr (std::equality_comparable<V>) {
                if (it->second == value)
                    return false;
            }
            it->second = std::move(value);
            return true;
        }
        members_->emplace(it, key, std::move(value));
        return true;
    }
    bool erase(const K& key) {
        if (!members_)
            return false;
        auto it = position(key);
        if (it == members_->end() || !(it->first == key))
            return false;
        members_->erase(it);
        if (members_->empty())
            members_.reset();
        return true;
    }
    const_iterator begin() const noexcept { return members().begin(); }
    const_iterator end() const noexcept { return members().end(); }
    // The keys as they stand now, for callers that change the map while they go through it.
    std::vector<K> keys() const {
        std::vector<K> out;
        out.reserve(size());
        for (const auto& kv : members())
            out.push_back(kv.first);
        return out;
    }

private:
    const Members& members() const noexcept {
        static const Members none;
        return members_ ? *members_ : none;
    }
    // Where the key is or would go; only while there are members.
    typename Members::iterator position(const K& key) {
        return std::lower_bound(members_->begin(), members_->end(), key,
                                [](const value_type& m, const K& k) { return m.first < k; });
    }
    const_iterator position(const K& key) const {
        return std::lower_bound(members().begin(), members().end(), key,
                                [](const value_type& m, const K& k) { return m.first < k; });
    }

    std::unique_ptr<Members> members_;
};

} // namespace Zim
