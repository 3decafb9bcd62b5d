#pragma once
// A hashed collection that tells its owner which key changed, so the owning entity can pass
// per-member notifications on to its reactors.
#include <concepts>
#include <functional>
#include <unordered_map>
#include <vector>

namespace Zim {

template <class K, class V, class Hash = std::hash<K>> class HashMap {
public:
    using ChangeHook = std::function<void(const K&)>;
    using Map = std::unordered_map<K, V, Hash>;

    size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    bool contains(const K& key) const { return map_.find(key) != map_.end(); }
    const V* find(const K& key) const {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }

    // Inserts or overwrites; the hook runs only when something changed.
    bool set(const K& key, V value) {
        auto [it, inserted] = map_.try_emplace(key, value);
        if (!inserted) {
            if constexpr (std::equality_comparable<V>) {
                if (it->second == value)
                    return false;
            }
            it->second = std::move(value);
        }
        changed(key);
        return true;
    }

    bool erase(const K& key) {
        if (map_.erase(key) == 0)
            return false;
        changed(key);
        return true;
    }

    void clear() {
        while (!map_.empty())
            erase(K(map_.begin()->first)); // a copy: erase frees the node
    }

    typename Map::const_iterator begin() const { return map_.begin(); }
    typename Map::const_iterator end() const { return map_.end(); }

    // The keys as they stand now, for callers that change the map while they go through it.
    std::vector<K> keys() const {
        std::vector<K> out;
        out.reserve(map_.size());
        for (const auto& kv : map_)
            out.push_back(kv.first);
        return out;
    }

    void onChangeIs(ChangeHook hook) { onChange_ = std::move(hook); }

private:
    void changed(const K& key) {
        if (onChange_)
            onChange_(key);
    }

    Map map_;
    ChangeHook onChange_;
};

} // namespace Zim
