#include "platform/zim/Entity.h"

#include "platform/zim/Exception.h"

#include <vector>

namespace Zim {

namespace {
std::map<std::string, Ptr<Entity>, std::less<>>& singletons() {
    static std::map<std::string, Ptr<Entity>, std::less<>> registry;
    return registry;
}

std::vector<std::string_view> splitPath(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        auto slash = path.find('/');
        auto part = path.substr(0, slash);
        if (!part.empty())
            parts.push_back(part);
        if (slash == std::string_view::npos)
            break;
        path.remove_prefix(slash + 1);
    }
    return parts;
}
} // namespace

std::string Entity::fullName() const {
    std::string path = name_.str();
    for (const Entity* e = parent_; e; e = e->parent_) {
        path = e->name_.str() + "/" + path;
    }
    return "/" + path;
}

bool Entity::singletonExists(std::string_view typeName) {
    return singletons().find(typeName) != singletons().end();
}

Ptr<Entity> Entity::singleton(std::string_view typeName) {
    auto it = singletons().find(typeName);
    return it == singletons().end() ? Ptr<Entity>() : it->second;
}

void Entity::singletonStore(std::string_view typeName, Ptr<Entity> entity) {
    singletons()[std::string(typeName)] = std::move(entity);
}

void Entity::singletonDel(std::string_view typeName) {
    if (auto it = singletons().find(typeName); it != singletons().end())
        singletons().erase(it);
}

Dir::~Dir() {
    for (auto& [name, child] : children_)
        child->parentIs(nullptr);
}

Ptr<Entity> Dir::entity(const String8& name) const {
    auto it = children_.find(name);
    return it == children_.end() ? Ptr<Entity>() : it->second;
}

void Dir::entityIs(const Ptr<Entity>& child) {
    auto& slot = children_[child->name()];
    if (slot == child)
        return;
    if (slot) {
        throwNameInUseException("Reinstantiating the entity with name " + child->name().str() +
                                " in " + fullName() + " where an entity of type " +
                                slot->typeName() + " already exists");
    }
    slot = child;
    child->parentIs(this);
}

void Dir::entityDel(const String8& name) {
    auto it = children_.find(name);
    if (it == children_.end())
        return;
    it->second->parentIs(nullptr);
    children_.erase(it);
}

Ptr<Dir> Dir::dirIs(const String8& name) {
    if (auto existing = entity(name)) {
        if (auto dir = ptrCast<Dir>(existing))
            return dir;
        throwNameInUseException("Reinstantiating the entity with name " + name.str() + " in " +
                                fullName() + " as a directory where an entity of type " +
                                existing->typeName() + " already exists");
    }
    auto dir = makePtr<Dir>(name);
    entityIs(dir);
    return dir;
}

Ptr<Entity> Dir::lookup(std::string_view path) const {
    Ptr<Entity> current(const_cast<Dir*>(this));
    for (auto part : splitPath(path)) {
        auto dir = ptrCast<Dir>(current);
        if (!dir)
            return {};
        current = dir->entity(String8(part));
        if (!current)
            return {};
    }
    return current;
}

void Dir::mount(std::string_view path, const Ptr<Entity>& entity) {
    auto parts = splitPath(path);
    Ptr<Dir> dir(this);
    for (size_t i = 0; i + 1 < parts.size(); ++i)
        dir = dir->dirIs(String8(parts[i]));
    if (!parts.empty() && parts.back() != entity->name().view()) {
        throwRangeException("mount path " + std::string(path) +
                            " does not end in the entity's name " + entity->name().str());
    }
    dir->entityIs(entity);
}

} // namespace Zim
