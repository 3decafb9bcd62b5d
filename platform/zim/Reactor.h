#pragma once
// Reactors observe one entity each. The entity tells them of a changed attribute, or of one
// changed member of a collection, by calling their on... hooks; a reactor can be re-pointed at
// another entity (notifierIs) and muted (hasNotificationActiveIs).
//
// An observable type N declares `class Notifiee : public Zim::Reactor<N>` with its hooks and
// keeps a `Zim::NotifierList<Notifiee>` returned by `notifiees()`.
#include "platform/zim/Ptr.h"

#include <algorithm>
#include <vector>

namespace Zim {

template <class Notifiee> class NotifierList {
public:
    void attach(Notifiee* n) { list_.push_back(n); }
    void detach(Notifiee* n) { std::erase(list_, n); }
    bool empty() const noexcept { return list_.empty(); }
    size_t size() const noexcept { return list_.size(); }

    // Reactors may detach themselves, or others, while they are being told.
    template <class F> void notify(F&& f) const {
        if (list_.empty())
            return;
        auto snapshot = list_;
        for (Notifiee* n : snapshot) {
            if (std::find(list_.begin(), list_.end(), n) == list_.end())
                continue;
            if (n->notificationActive())
                f(*n);
        }
    }

private:
    std::vector<Notifiee*> list_;
};

template <class N> class Reactor {
public:
    using Notifier = N;

    Reactor() = default;
    Reactor(const Reactor&) = delete;
    Reactor& operator=(const Reactor&) = delete;
    virtual ~Reactor() { detach(); }

    const Ptr<const N>& notifier() const noexcept { return notifier_; }
    void notifierIs(const Ptr<const N>& n) {
        if (n == notifier_)
            return;
        detach();
        notifier_ = n;
        if (notifier_) {
            attached_ = static_cast<typename N::Notifiee*>(this);
            notifier_->notifiees().attach(attached_);
        }
        onNotifierIs();
    }

    bool notificationActive() const noexcept { return active_; }
    void hasNotificationActiveIs(bool active) noexcept { active_ = active; }

protected:
    // Runs after the reactor was pointed at another entity (or at none).
    virtual void onNotifierIs() {}

private:
    // Detaches through the pointer kept at attach time: in ~Reactor the Notifiee part is
    // already gone, so converting `this` down to it there would be undefined.
    void detach() {
        if (notifier_ && attached_)
            notifier_->notifiees().detach(attached_);
        attached_ = nullptr;
    }

    Ptr<const N> notifier_;
    typename N::Notifiee* attached_ = nullptr;
    bool active_ = true;
};

} // namespace Zim
