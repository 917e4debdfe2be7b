// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Settings.h>

#include "settings/PropertyTree.h"
#include "settings/SettingsTree.h"
#include "settings/XmlDocument.h"

#include <tarn/OutputFile.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace tarn {

struct Settings::PrivateData {
    /// The node whose children are the store's keys.
    PropertyTree& tree() {
        if (shown == nullptr) {
            own = std::make_unique<PropertyTree>();
            shown = own.get();
        }
        return *shown;
    }

    std::unique_ptr<PropertyTree> own; ///< made when it is needed: views come and go, and need none
    PropertyTree* shown = nullptr;     ///< `own`, or the node that a view shows
    tsignal::Signal<std::string, std::string> onSettingChanged;
};

namespace {

/// Whether there can be a new node at a path: its last name is not empty.
bool canBeMadeAt(const std::string& key) { return !key.empty() && key.back() != '.'; }

/// Reads a whole file; false, with part of it in `content`, if that fails. A device may go on for
/// ever: only a regular file, or a pipe that somebody writes, has an end.
bool readFile(const std::string& fileName, std::string& content) {
    const std::filesystem::file_status status = std::filesystem::status(fileName);
    if (!std::filesystem::is_regular_file(status) && !std::filesystem::is_fifo(status)) {
        return false;
    }
    std::ifstream file(fileName, std::ios::binary);
    std::array<char, 16384> block{};
    while (file) {
        file.read(block.data(), block.size());
        content.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    return file.eof(); // anything but the end of the file that stops it is a failure
}

/// The node at a path, or null. Found as the tree library finds it, the first child of each name,
/// without its copies of the path.
PropertyTree* nodeAt(PropertyTree& tree, std::string_view path) {
    PropertyTree* node = &tree;
    while (!path.empty()) {
        const std::size_t length = std::min(path.find('.'), path.size());
        const auto child = node->find(std::string(path.substr(0, length)));
        if (child == node->not_found()) {
            return nullptr;
        }
        node = &child->second;
        path.remove_prefix(std::min(length + 1, path.size()));
    }
    return node;
}

/// The same, made if it is missing; null if it is and cannot be made.
PropertyTree* nodeMadeAt(PropertyTree& tree, const std::string& path) {
    PropertyTree* const node = nodeAt(tree, path);
    return node != nullptr || !canBeMadeAt(path) ? node : &tree.put_child(path, PropertyTree());
}

/// Whether a node is `tree` or below it. As deep as documents may nest.
bool contains(const PropertyTree& tree, const PropertyTree* node) {
    return &tree == node || std::any_of(tree.begin(), tree.end(), [node](const auto& child) {
        return contains(child.second, node);
    });
}

bool createDirectoryOf(const std::string& fileName) {
    const std::filesystem::path directory = std::filesystem::path(fileName).parent_path();
    std::error_code error;
    if (!directory.empty()) {
        std::filesystem::create_directories(directory, error);
    }
    return !error;
}

} // namespace

Settings::Settings() : d_(std::make_unique<PrivateData>()) {}

Settings::~Settings() = default;

void Settings::setValue(const std::string& key, const std::string& value) {
    // Where the path ends in an empty name, the node before it is meant.
    if (PropertyTree* const node = nodeMadeAt(d_->tree(), key)) {
        node->data() = value;
        d_->onSettingChanged.emit(key, value);
    }
}

void Settings::addValue(const std::string& key, const std::string& value) {
    if (canBeMadeAt(key)) {
        d_->tree().add(key, value);
        d_->onSettingChanged.emit(key, value);
    }
}

std::string Settings::value(const std::string& key, const std::string& defaultValue) const {
    const PropertyTree* const node = nodeAt(d_->tree(), key);
    return node != nullptr ? node->data() : defaultValue;
}

std::list<std::string> Settings::valueList(const std::string& key) const {
    std::list<std::string> found;
    for (const auto& [name, child] : d_->tree()) {
        if (name == key) {
            found.push_back(child.data());
        }
    }
    return found;
}

std::map<std::string, std::string> Settings::values() const {
    std::map<std::string, std::string> found;
    for (const auto& [name, child] : d_->tree()) {
        found[name] = child.data();
    }
    return found;
}

std::shared_ptr<Settings> Settings::subSettings(const std::string& key) const {
    PropertyTree* const node = nodeAt(d_->tree(), key);
    if (node == nullptr) {
        return nullptr;
    }
    auto view = std::make_shared<Settings>();
    view->d_->shown = node;
    return view;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): pointers to stores are passed by value
void Settings::addSubSettings(const std::string& key, std::shared_ptr<Settings> settings) {
    assert(settings != nullptr);
    if (canBeMadeAt(key)) {
        // Copied first: the path may lead through, or replace, what is to be copied.
        PropertyTree copy = settings->d_->tree();
        nodeMadeAt(d_->tree(), key)->swap(copy);
    }
}

void Settings::remove(const std::string& key) { d_->tree().erase(key); }

void Settings::clear() { d_->tree().clear(); }

bool Settings::loadSettingsFromFile(const std::string& fileName) {
    try {
        std::string text;
        return readFile(fileName, text) && readDocument(text, d_->tree(), maximumDepth);
    } catch (const std::exception&) {
        return false;
    }
}

bool Settings::loadSettingsFromString(const std::string& text) {
    return readDocument(text, d_->tree(), maximumDepth);
}

bool Settings::saveSettingsToFile(const std::string& fileName) {
    try {
        std::string text;
        if (!writeDocument(d_->tree(), text, maximumDepth) || !createDirectoryOf(fileName)) {
            return false;
        }
        OutputFile file(fileName);
        file.write(text);
        file.commit();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool Settings::saveSettingsToString(std::string& text) {
    return writeDocument(d_->tree(), text, maximumDepth);
}

tsignal::Signal<std::string, std::string>& Settings::onSettingChanged() {
    return d_->onSettingChanged;
}

bool SettingsTree::isInside(const Settings& part, const Settings& whole, const std::string& name) {
    const PropertyTree* const shown = &part.d_->tree();
    const auto [first, last] = whole.d_->tree().equal_range(name);
    return std::any_of(first, last,
                       [shown](const auto& child) { return contains(child.second, shown); });
}

} // namespace tarn
