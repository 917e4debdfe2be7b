#pragma once

#include <tarn/Object.h>

#include <list>
#include <string>

namespace tarn {

// Model objects find each other through their links, by dynamic type. These are the one place where
// that is done; they pass over null links. A `name` that is not empty also asks for that object
// name.

template <class T>
T* asTyped(Object* object, const std::string& name) {
    T* const typed = dynamic_cast<T*>(object);
    return typed != nullptr && (name.empty() || typed->objectName() == name) ? typed : nullptr;
}

template <class T>
T* firstOfType(const std::list<Object*>& links, const std::string& name) {
    for (Object* const object : links) {
        if (T* const typed = asTyped<T>(object, name)) {
            return typed;
        }
    }
    return nullptr;
}

/// The first child whose dynamic type is `T`, or null.
template <class T>
T* typedChild(const Object& object, const std::string& name = {}) {
    return firstOfType<T>(object.children(), name);
}

/// The first parent whose dynamic type is `T`, or null.
template <class T>
T* typedParent(const Object& object, const std::string& name = {}) {
    return firstOfType<T>(object.parents(), name);
}

/// Every child whose dynamic type is `T`, in order, duplicates included.
template <class T>
std::list<T*> typedChildren(const Object& object, const std::string& name = {}) {
    std::list<T*> found;
    for (Object* const child : object.children()) {
        if (T* const typed = asTyped<T>(child, name)) {
            found.push_back(typed);
        }
    }
    return found;
}

} // namespace tarn
