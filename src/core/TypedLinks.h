// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Object.h>

#include <list>
#include <string>
#include <typeinfo>

namespace tarn {

// Model objects find each other through their links, by dynamic type. These are the one place where
// that is done; they pass over null links. A look-up for one object stops at it and makes no list.

template <class T>
T* asTyped(Object* object) {
    // Most links are to exactly the type that is looked for, which is quicker to see.
    const bool exact = object != nullptr && typeid(*object) == typeid(T);
    return exact ? static_cast<T*>(object) : dynamic_cast<T*>(object);
}

/// Accepts objects by their object name; an empty name accepts any.
class HasObjectName {
public:
    explicit HasObjectName(const std::string& name) : name_(name) {}
    bool operator()(const Object* object) const {
        return name_.empty() || object->objectName() == name_;
    }

private:
    const std::string& name_;
};

template <class T, class Accepts>
T* firstOfType(const std::list<Object*>& links, const Accepts& accepts) {
    for (Object* const object : links) {
        T* const typed = asTyped<T>(object);
        if (typed != nullptr && accepts(typed)) {
            return typed;
        }
    }
    return nullptr;
}

/// The first child whose dynamic type is `T` and which `accepts(child)`, or null.
template <class T, class Accepts>
T* typedChildWhere(const Object& object, const Accepts& accepts) {
    return firstOfType<T>(object.children(), accepts);
}

/// The first child whose dynamic type is `T`, or null.
template <class T>
T* typedChild(const Object& object, const std::string& name = {}) {
    return typedChildWhere<T>(object, HasObjectName(name));
}

/// The first parent whose dynamic type is `T`, or null.
template <class T>
T* typedParent(const Object& object, const std::string& name = {}) {
    return firstOfType<T>(object.parents(), HasObjectName(name));
}

/// Every child whose dynamic type is `T` and which `accepts(child)`, in order, duplicates included,
/// in a container of the caller's choice.
template <class T, class Container = std::list<T*>, class Accepts>
Container typedChildrenWhere(const Object& object, const Accepts& accepts) {
    Container found;
    for (Object* const child : object.children()) {
        T* const typed = asTyped<T>(child);
        if (typed != nullptr && accepts(typed)) {
            found.push_back(typed);
        }
    }
    return found;
}

/// Every child whose dynamic type is `T`, in order, duplicates included.
template <class T, class Container = std::list<T*>>
Container typedChildren(const Object& object, const std::string& name = {}) {
    return typedChildrenWhere<T, Container>(object, HasObjectName(name));
}

} // namespace tarn
