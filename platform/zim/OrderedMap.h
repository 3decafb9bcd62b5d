#pragma once
// An ordered collection whose iterators outlive changes to it. An iterator holds counted
// references to the collection and to its current entry, and remembers the collection's
// modification counter: if rows were added or removed since it was positioned, stepping
// re-seeks to the least key greater than the current one. So a walk across a removal neither
// stops early nor repeats a row.
#include "platform/zim/Ptr.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <set>

namespace Zim {

template <class K, class V, class Compare = std::less<K>> class OrderedMap : public PtrInterface {
public:
    struct Entry : PtrInterface {
        Entry(K k, V v) : key(std::move(k)), value(std::move(v)) {}
        const K key;
        V value;

    protected:
        // Counted: deleted by its last Ptr, never on the stack.
        ~Entry() override = default;
    };

private:
    // The entries ordered by their own key, so that a large table keeps each key once.
    struct ByKey {
        using is_transparent = void;
        bool operator()(const Ptr<Entry>& a, const Ptr<Entry>& b) const {
            return Compare()(a->key, b->key);
        }
        bool operator()(const Ptr<Entry>& a, const K& b) const { return Compare()(a->key, b); }
        bool operator()(const K& a, const Ptr<Entry>& b) const { return Compare()(a, b->key); }
    };
    using Tree = std::set<Ptr<Entry>, ByKey>;

public:
    class ConstIterator {
    public:
        ConstIterator() = default;

        bool atEnd() const noexcept { return !entry_; }
        explicit operator bool() const noexcept { return entry_ != nullptr; }
        const K& key() const noexcept { return entry_->key; }
        const V& value() const noexcept { return entry_->value; }
        const Ptr<Entry>& entry() const noexcept { return entry_; }
        const OrderedMap* collection() const noexcept { return map_.get(); }
        uint64_t modifications() const noexcept { return seen_; }

        ConstIterator& operator++() {
            advance();
            return *this;
        }
        void advance() {
            if (!entry_)
                return;
            if (map_->modifications_ == seen_) {
                ++pos_;
            } else {
                pos_ = map_->tree_.upper_bound(entry_->key);
                seen_ = map_->modifications_;
            }
            settle();
        }
        friend bool operator==(const ConstIterator& a, const ConstIterator& b) noexcept {
            return a.entry_ == b.entry_;
        }

    private:
        friend class OrderedMap;
        ConstIterator(const OrderedMap* map, typename Tree::const_iterator pos)
            : map_(map), seen_(map->modifications_), pos_(pos) {
            settle();
        }
        void settle() { entry_ = pos_ == map_->tree_.end() ? Ptr<Entry>() : *pos_; }

        Ptr<const OrderedMap> map_;
        Ptr<Entry> entry_;
        uint64_t seen_ = 0;
        typename Tree::const_iterator pos_{};
    };

    using ChangeHook = std::function<void(const K&)>;

    size_t size() const noexcept { return tree_.size(); }
    bool empty() const noexcept { return tree_.empty(); }
    uint64_t modifications() const noexcept { return modifications_; }
    bool contains(const K& key) const { return tree_.find(key) != tree_.end(); }

    const V* find(const K& key) const {
        auto it = tree_.find(key);
        return it == tree_.end() ? nullptr : &(*it)->value;
    }
    V* find(const K& key) {
        auto it = tree_.find(key);
        return it == tree_.end() ? nullptr : &(*it)->value;
    }

    // Inserts, or overwrites the value of an existing key in place (iterators standing on it
    // see the new value). Returns whether anything changed; the change hook runs only then.
    bool set(const K& key, V value) {
        auto it = tree_.lower_bound(key);
        if (it != tree_.end() && !Compare()(key, (*it)->key)) {
            if constexpr (std::equality_comparable<V>) {
                if ((*it)->value == value)
                    return false;
            }
            (*it)->value = std::move(value);
        } else {
            tree_.emplace_hint(it, makePtr<Entry>(key, std::move(value)));
            ++modifications_;
        }
        changed(key);
        return true;
    }

    bool erase(const K& key) {
        auto it = tree_.find(key);
        if (it == tree_.end())
            return false;
        tree_.erase(it);
        ++modifications_;
        changed(key);
        return true;
    }

    void clear() {
        while (!tree_.empty())
            erase(K((*tree_.begin())->key)); // a copy: erase frees the entry
    }

    ConstIterator begin() const { return ConstIterator(this, tree_.begin()); }
    // Positioned at exactly this key, or at end.
    ConstIterator at(const K& key) const {
        auto it = tree_.find(key);
        return it == tree_.end() ? ConstIterator(this, tree_.end()) : ConstIterator(this, it);
    }
    ConstIterator lowerBound(const K& key) const {
        return ConstIterator(this, tree_.lower_bound(key));
    }
    ConstIterator upperBound(const K& key) const {
        return ConstIterator(this, tree_.upper_bound(key));
    }

    // Plain, uncounted iteration for code that does not change the map while it walks.
    template <class F> void forEach(F&& f) const {
        for (const auto& entry : tree_)
            f(entry->key, entry->value);
    }

    void onChangeIs(ChangeHook hook) { onChange_ = std::move(hook); }

private:
    void changed(const K& key) {
        if (onChange_)
            onChange_(key);
    }

    Tree tree_;
    uint64_t modifications_ = 0;
    ChangeHook onChange_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~OrderedMap() override = default;
};

} // namespace Zim
