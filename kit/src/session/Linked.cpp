// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Linked.h>

#include "session/Lifeline.h"

#include <algorithm>
#include <utility>

namespace tarn::kit {

namespace {

/// Who is being destroyed speaks to nobody: what would listen has gone with the derived class.
void silence(Object& object) {
    object.onChildAdded().disconnectAll();
    object.onChildWillRemove().disconnectAll();
    object.onParentAdded().disconnectAll();
    object.onParentWillRemove().disconnectAll();
}

bool areLinked(const Object& parent, const Object& child) {
    const auto& children = parent.children();
    return std::find(children.begin(), children.end(), &child) != children.end();
}

} // namespace

struct Linked::PrivateData {
    PrivateData(Object& parentObject, Object& childObject)
        : parent(parentObject, [this](Object& dead) { endParent(dead); }),
          child(childObject, [this](Object& dead) { endChild(dead); }) {}

    void endParent(Object& dead) {
        if (std::exchange(isKept, false) && child) {
            Object& survivor = child.object(); // whose slots may destroy the guard
            silence(dead);
            // Its own list is empty by now, the child's is not: a full link can be removed on both
            // sides.
            dead.addChild(&survivor);
            dead.removeChild(&survivor);
        }
    }

    void endChild(Object& dead) {
        if (std::exchange(isKept, false) && parent) {
            Object& survivor = parent.object();
            silence(dead);
            survivor.removeChild(&dead);
        }
    }

    bool isKept = true;
    Lifeline parent;
    Lifeline child;
};

Linked::Linked() noexcept = default;

Linked::Linked(Object& parent, Object& child) {
    if (!areLinked(parent, child)) {
        parent.addChild(&child);
    }
    d_ = std::make_shared<PrivateData>(parent, child);
}

Linked::Linked(Linked&& other) noexcept = default;

Linked& Linked::operator=(Linked&& other) noexcept {
    if (this != &other) {
        unlink();
        d_ = std::move(other.d_);
    }
    return *this;
}

Linked::~Linked() { unlink(); }

bool Linked::isLinked() const noexcept { return d_ != nullptr && d_->isKept; }

void Linked::unlink() {
    const auto link = std::move(d_); // a slot that hears of it finds the guard empty
    if (link != nullptr && std::exchange(link->isKept, false)) {
        link->parent.object().removeChild(&link->child.object());
    }
}

void Linked::release() { d_ = nullptr; }

} // namespace tarn::kit
