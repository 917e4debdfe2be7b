// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tsignal/Signal.h>

#include <any>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

namespace tarn {

/// The root of all model objects: a name, links to parents and children, and host data by key.
///
/// Ownership: links are plain pointers and own nothing. The destructor tells nobody and unlinks
/// nothing: the destroyed object's address stays in the lists of its parents and children. Whoever
/// destroys an object that others are linked to removes its links first.
///
/// Threads: only the signals lock; everything else is used from one thread at a time.
class TARN_EXPORT Object {
public:
    /// An object without a name.
    Object();
    explicit Object(const std::string& name);
    virtual ~Object();
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    std::string objectName() const;
    /// Announces `onNameChanged` when the name differs from the current one; otherwise does
    /// nothing.
    void setObjectName(const std::string& name);

    /// Links this object as parent and `child` as child, at the end of both lists, then emits the
    /// child's `onParentAdded` and this object's `onChildAdded`, in that order. Nothing is checked:
    /// a pair linked twice has two entries in each list. A null child is stored and announced on
    /// this side alone.
    void addChild(Object* child);
    /// The same as `parent->addChild(this)`. A null parent is stored and announced on this side
    /// alone.
    void addParent(Object* parent);

    /// Breaks every link to `child`: announces `onChildWillRemove` here, empties this side, then
    /// announces the child's `onParentWillRemove` and empties that side. Does nothing when `child`
    /// is not among the children, even if it lists this object as a parent.
    void removeChild(Object* child);
    /// The same as `parent->removeChild(this)`.
    void removeParent(Object* parent);

    /// The children, in the order in which they were linked; may hold duplicates and null.
    const std::list<Object*>& children() const;
    /// The parents, in the order in which they were linked; may hold duplicates and null.
    const std::list<Object*>& parents() const;
    /// The oldest remaining parent link, or null when there is none.
    Object* parent() const;

    /// The first child that `pred` accepts, or null. Searches direct links only, as all four do,
    /// and hands `pred` every entry, null links included. `pred` must not change the links it
    /// walks; an empty one throws `std::bad_function_call` as soon as there is an entry to test.
    Object* findChild(std::function<bool(Object*)> pred) const;
    /// Every child that `pred` accepts, in order, duplicates included. A predicate that keeps state
    /// starts afresh after each match.
    std::list<Object*> findChildren(std::function<bool(Object*)> pred);
    /// As `findChild`, over the parents.
    Object* findParent(std::function<bool(Object*)> pred) const;
    /// As `findChildren`, over the parents.
    std::list<Object*> findParents(std::function<bool(Object*)> pred);

    /// Stores host data under `key`; returns false, and keeps the old value, if the key is taken.
    bool mountUserObject(const std::string& key, const std::any& value);
    /// Removes and returns what is stored under `key`; an empty `std::any` if there is nothing.
    std::any takeUserObject(const std::string& key);
    bool hasUserObject(const std::string& key);
    /// All host data, ordered by key.
    const std::map<std::string, std::any>& userObjects();

    /// After the name changed, with the new name.
    tsignal::Signal<std::string>& onNameChanged();
    /// After a child was linked, with the child.
    tsignal::Signal<Object*>& onChildAdded();
    /// Before a child link is broken, with the child.
    tsignal::Signal<Object*>& onChildWillRemove();
    /// After a parent was linked, with the parent.
    tsignal::Signal<Object*>& onParentAdded();
    /// Before a parent link is broken, with the parent.
    tsignal::Signal<Object*>& onParentWillRemove();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
