// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Object.h>

#include <list>
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

struct AcceptsAny {
    bool operator()(const Object* /*object*/) const { return true; }
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
T* typedChild(const Object& object) {
    return typedChildWhere<T>(object, AcceptsAny());
}

/// The first parent whose dynamic type is `T`, or null.
template <class T>
T* typedParent(const Object& object) {
    return firstOfType<T>(object.parents(), AcceptsAny());
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
Container typedChildren(const Object& object) {
    return typedChildrenWhere<T, Container>(object, AcceptsAny());
}

} // namespace tarn
