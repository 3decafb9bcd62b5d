#pragma once
// One scalar attribute of an observable entity: a getter, a setter that tells the entity's
// reactors (hook on<Name>()) only when the value really changes, and the stored value.
// The entity class must declare its Notifiee and `notifiees_` before using it.
#define ZIM_ATTRIBUTE(Type, name, Name)                                                            \
public:                                                                                            \
    const Type& name() const noexcept {                                                            \
        return name##_;                                                                            \
    }                                                                                              \
    void name##Is(const Type& value) {                                                             \
        if (name##_ == value)                                                                      \
            return;                                                                                \
        name##_ = value;                                                                           \
        notifiees_.notify([](Notifiee& n) { n.on##Name(); });                                      \
    }                                                                                              \
                                                                                                   \
private:                                                                                           \
    Type name##_{};

// One collection attribute held in Map<Key, Value>: const access to the map, a setter taking
// the member's key and value, and a delete; the reactors hear on<Name>(key) for each member
// that changed.
#define ZIM_COLLECTION(Map, Key, Value, name, Name)                                                \
public:                                                                                            \
    const ::Zim::Map<Key, Value>& name() const noexcept {                                          \
        return name##_;                                                                            \
    }                                                                                              \
    void name##Is(const Key& key, const Value& value) {                                            \
        if (name##_.set(key, value))                                                               \
            notifiees_.notify([&](Notifiee& n) { n.on##Name(key); });                              \
    }                                                                                              \
    void name##Del(const Key& key) {                                                               \
        if (name##_.erase(key))                                                                    \
            notifiees_.notify([&](Notifiee& n) { n.on##Name(key); });                              \
    }                                                                                              \
                                                                                                   \
private:                                                                                           \
    ::Zim::Map<Key, Value> name##_;

// A hashed collection, and one of a few members per entity (a neighbour's sub-tables) kept in
// one sorted array.
#define ZIM_HASHED_COLLECTION(Key, Value, name, Name)                                              \
    ZIM_COLLECTION(HashMap, Key, Value, name, Name)
#define ZIM_SMALL_COLLECTION(Key, Value, name, Name) ZIM_COLLECTION(FlatMap, Key, Value, name, Name)
