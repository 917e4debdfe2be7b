// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Object.h>
#include <tsignal/Signal.h>

#include <list>
#include <map>
#include <memory>
#include <string>

namespace tarn {

/// A tree of text values under text keys, read from and written to XML documents.
///
/// A node has a value, child nodes in the order in which they were added, or both; a node that is
/// used for its children is called a group. Siblings may share a name, which makes a list.
///
/// Keys: `setValue`, `addValue`, `value`, `subSettings` and `addSubSettings` take a path: names
/// joined by ".", followed down from this store through the first child of each name. `remove` and
/// `valueList` take a plain name, in which "." means nothing. An empty path means this node itself,
/// and a "." at the end of a path means nothing: "a." is "a", in `value`, `subSettings` and
/// `setValue`. No node is made for such a path: where there is none, and in `addValue` and
/// `addSubSettings`, a call changes nothing and announces nothing.
///
/// Ownership: a store owns its tree. A store that `subSettings` returned is a view: it reads and
/// writes its parent's tree and keeps nothing alive. It must not be used once its node is gone:
/// after the parent was destroyed, or after the node was removed, replaced by `addSubSettings`,
/// cleared away or replaced by a load.
///
/// Documents: each child is an element, its value the element's text, one TAB of indentation per
/// level, encoding "utf-8"; there is no root element. Loading trims texts and collapses white space
/// inside them to one blank; attributes become the children of a child named "<xmlattr>", comments
/// children named "<xmlcomment>". Documents may come from anywhere: time and memory of a load are
/// linear in the size of the input.
///
/// Threads: no lock of its own; use one store, its views included, from one thread at a time.
class TARN_EXPORT Settings : public Object {
public:
    /// How deep a document's elements may nest: a load refuses a deeper one and a save writes none.
    /// Paths may lead deeper. Reading, copying, writing and destroying a tree take stack for each
    /// level; this many levels fit a thread with 512 KiB of stack.
    static constexpr int maximumDepth = 1000;

    /// An empty store.
    Settings();
    ~Settings() override;

    /// Sets the value at a path, keeping the children of the node if there is one, and creating
    /// what is missing of the path otherwise. Then emits `onSettingChanged`: on every call that
    /// stores something, also when the value was the same.
    void setValue(const std::string& key, const std::string& value);
    /// Appends a further node with that value at a path, whether or not there are nodes of that
    /// name already, then emits `onSettingChanged`.
    void addValue(const std::string& key, const std::string& value);
    /// The value at a path: empty for a group without a value of its own, `defaultValue` only when
    /// there is no node.
    std::string value(const std::string& key, const std::string& defaultValue) const;
    /// The values of all direct children of that name, in order; an empty list if there are none.
    std::list<std::string> valueList(const std::string& key) const;
    /// The names and values of all direct children, groups included; of several children of one
    /// name, the last.
    std::map<std::string, std::string> values() const;

    /// A view of the node at a path, with signals of its own: writing through it does not fire this
    /// store's. An empty pointer, and nothing created, if there is no such node.
    std::shared_ptr<Settings> subSettings(const std::string& key) const;
    /// Puts a deep copy of `settings` at a path, in place of the first node there or as a new one.
    /// `settings` may be this store, or a view of it or into it. No signal.
    /// Precondition: `settings` is not empty.
    void addSubSettings(const std::string& key, std::shared_ptr<Settings> settings);

    /// Destroys every direct child of that name. No signal.
    void remove(const std::string& key);
    /// Empties this node: its children and its value. No signal.
    void clear();

    /// Replaces the content with a document's. Returns false, and changes nothing, if the file
    /// cannot be read or is neither a regular file nor a pipe, or if the document is malformed,
    /// holds a zero byte or is nested deeper than `maximumDepth`. (The parser does not compare the
    /// name of an end tag with that of its start tag.) A pipe is read until its writers have closed
    /// it; the call waits for them. No signal.
    bool loadSettingsFromFile(const std::string& fileName);
    /// As above, from the text of a document.
    bool loadSettingsFromString(const std::string& text);

    /// Writes the content as a document, creating the directories that are missing on the way, and
    /// otherwise as `OutputFile` writes: the document is moved into place once it is complete on
    /// the disk, and until then, and when the result is false, a file that was there stays as it
    /// was. Links stay links, and permissions, owner and group are kept as far as the user may.
    /// What cannot be replaced is written in place; a pipe that nobody reads is an error.
    ///
    /// Returns false if the file cannot be written, or if a load would not give the content back,
    /// white space aside: for a value or attributes at the top level, an element name that is
    /// empty, begins with "!" or holds white space, "/", ">" or "?", a character that XML excludes,
    /// such as most control characters, or more than `maximumDepth` levels.
    bool saveSettingsToFile(const std::string& fileName);
    /// As above, into `text`, which is left as it was when the result is false.
    bool saveSettingsToString(std::string& text);

    /// After `setValue` or `addValue`, with the path and the value as they were given.
    tsignal::Signal<std::string, std::string>& onSettingChanged();

private:
    friend struct SettingsTree; // for the library's own classes
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
