// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Object.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarn {

struct Object::PrivateData {
    std::string name;
    tsignal::Signal<std::string> onNameChanged;
    std::list<Object*> children;
    tsignal::Signal<Object*> onChildAdded;
    tsignal::Signal<Object*> onChildWillRemove;
    std::list<Object*> parents;
    tsignal::Signal<Object*> onParentAdded;
    tsignal::Signal<Object*> onParentWillRemove;
    std::map<std::string, std::any> userObjects;
};

namespace {

using Predicate = std::function<bool(Object*)>;
using Links = std::list<Object*>;

/// The first entry from `from` on that `pred` accepts; `pred` is this walk's own copy.
Links::const_iterator findFrom(Links::const_iterator from, const Links& links, Predicate pred) {
    while (from != links.end() && !pred(*from)) {
        ++from;
    }
    return from;
}

Object* findFirst(const Links& links, const Predicate& pred) {
    const auto found = findFrom(links.begin(), links, pred);
    return found == links.end() ? nullptr : *found;
}

Links findAll(const Links& links, const Predicate& pred) {
    Links found;
    // Each walk to the next match starts with a fresh copy of the predicate and of its state.
    for (auto it = findFrom(links.begin(), links, pred); it != links.end();
         it = findFrom(std::next(it), links, pred)) {
        found.push_back(*it);
    }
    return found;
}

} // namespace

Object::Object() : Object(std::string()) {}

Object::Object(const std::string& name) : d_(std::make_unique<PrivateData>()) { d_->name = name; }

Object::~Object() {
    d_->children.clear();
    // What hosts have mounted may look at what is left of the object: it goes while that is whole.
    d_->userObjects.clear();
}

std::string Object::objectName() const { return d_->name; }

void Object::setObjectName(const std::string& name) {
    if (name == d_->name) {
        return;
    }
    d_->name = name;
    d_->onNameChanged.emit(d_->name);
}

void Object::addChild(Object* child) {
    d_->children.push_back(child);
    if (child != nullptr) {
        child->d_->parents.push_back(this);
        child->d_->onParentAdded.emit(this);
    }
    d_->onChildAdded.emit(child);
}

void Object::addParent(Object* parent) {
    if (parent != nullptr) {
        parent->addChild(this);
        return;
    }
    d_->parents.push_back(nullptr);
    d_->onParentAdded.emit(nullptr);
}

void Object::removeChild(Object* child) {
    if (std::find(d_->children.begin(), d_->children.end(), child) == d_->children.end()) {
        return;
    }
    d_->onChildWillRemove.emit(child);
    d_->children.remove(child);
    if (child != nullptr) {
        child->d_->onParentWillRemove.emit(this);
        child->d_->parents.remove(this);
    }
}

void Object::removeParent(Object* parent) {
    if (parent != nullptr) {
        parent->removeChild(this);
        return;
    }
    if (std::find(d_->parents.begin(), d_->parents.end(), nullptr) == d_->parents.end()) {
        return;
    }
    d_->onParentWillRemove.emit(nullptr);
    d_->parents.remove(nullptr);
}

const std::list<Object*>& Object::children() const { return d_->children; }

const std::list<Object*>& Object::parents() const { return d_->parents; }

Object* Object::parent() const { return d_->parents.empty() ? nullptr : d_->parents.front(); }

Object* Object::findChild(std::function<bool(Object*)> pred) const {
    return findFirst(d_->children, pred);
}

std::list<Object*> Object::findChildren(std::function<bool(Object*)> pred) {
    return findAll(d_->children, pred);
}

Object* Object::findParent(std::function<bool(Object*)> pred) const {
    return findFirst(d_->parents, pred);
}

std::list<Object*> Object::findParents(std::function<bool(Object*)> pred) {
    return findAll(d_->parents, pred);
}

bool Object::mountUserObject(const std::string& key, const std::any& value) {
    return d_->userObjects.try_emplace(key, value).second;
}

std::any Object::takeUserObject(const std::string& key) {
    const auto found = d_->userObjects.find(key);
    if (found == d_->userObjects.end()) {
        return {};
    }
    std::any value = found->second;
    d_->userObjects.erase(found);
    return value;
}

bool Object::hasUserObject(const std::string& key) { return d_->userObjects.count(key) != 0; }

const std::map<std::string, std::any>& Object::userObjects() { return d_->userObjects; }

tsignal::Signal<std::string>& Object::onNameChanged() { return d_->onNameChanged; }

tsignal::Signal<Object*>& Object::onChildAdded() { return d_->onChildAdded; }

tsignal::Signal<Object*>& Object::onChildWillRemove() { return d_->onChildWillRemove; }

tsignal::Signal<Object*>& Object::onParentAdded() { return d_->onParentAdded; }

tsignal::Signal<Object*>& Object::onParentWillRemove() { return d_->onParentWillRemove; }

} // namespace tarn
