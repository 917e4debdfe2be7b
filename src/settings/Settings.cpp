#include <tarn/Settings.h>

#include "settings/AtomicFile.h"
#include "settings/PropertyTree.h"
#include "settings/XmlDocument.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace tarn {

struct Settings::PrivateData {
    std::shared_ptr<PropertyTree> tree = std::make_shared<PropertyTree>();
    tsignal::Signal<std::string, std::string> onSettingChanged;
};

namespace {

/// Whether a path names a node to write: its last name is not empty.
bool namesNode(const std::string& key) {
    assert(std::count(key.begin(), key.end(), '.') < Settings::maximumDepth);
    return !key.empty() && key.back() != '.';
}

/// Reads a whole file; false, with part of it in `content`, if that fails. Only a regular file has
/// an end that is certain to come: a device may go on for ever.
bool readFile(const std::string& fileName, std::string& content) {
    if (!std::filesystem::is_regular_file(fileName)) {
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
    if (namesNode(key)) {
        d_->tree->put(key, value);
        d_->onSettingChanged.emit(key, value);
    }
}

void Settings::addValue(const std::string& key, const std::string& value) {
    if (namesNode(key)) {
        d_->tree->add(key, value);
        d_->onSettingChanged.emit(key, value);
    }
}

std::string Settings::value(const std::string& key, const std::string& defaultValue) const {
    return d_->tree->get_optional<std::string>(key).value_or(defaultValue);
}

std::list<std::string> Settings::valueList(const std::string& key) const {
    std::list<std::string> found;
    for (const auto& [name, child] : *d_->tree) {
        if (name == key) {
            found.push_back(child.data());
        }
    }
    return found;
}

std::map<std::string, std::string> Settings::values() const {
    std::map<std::string, std::string> found;
    for (const auto& [name, child] : *d_->tree) {
        found[name] = child.data();
    }
    return found;
}

std::shared_ptr<Settings> Settings::subSettings(const std::string& key) const {
    const auto node = d_->tree->get_child_optional(key);
    if (!node) {
        return nullptr;
    }
    auto view = std::make_shared<Settings>();
    view->d_->tree = std::shared_ptr<PropertyTree>(&*node, [](PropertyTree*) {});
    return view;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): pointers to stores are passed by value
void Settings::addSubSettings(const std::string& key, std::shared_ptr<Settings> settings) {
    assert(settings != nullptr);
    if (namesNode(key)) {
        // Copied first: the path may lead through, or replace, what is to be copied.
        PropertyTree copy = *settings->d_->tree;
        d_->tree->put_child(key, PropertyTree()).swap(copy);
    }
}

void Settings::remove(const std::string& key) { d_->tree->erase(key); }

void Settings::clear() { d_->tree->clear(); }

bool Settings::loadSettingsFromFile(const std::string& fileName) {
    try {
        std::string text;
        return readFile(fileName, text) && readDocument(text, *d_->tree, maximumDepth);
    } catch (const std::exception&) {
        return false;
    }
}

bool Settings::loadSettingsFromString(const std::string& text) {
    return readDocument(text, *d_->tree, maximumDepth);
}

bool Settings::saveSettingsToFile(const std::string& fileName) {
    try {
        std::string text;
        return writeDocument(*d_->tree, text, maximumDepth) && createDirectoryOf(fileName) &&
               replaceFile(fileName, text);
    } catch (const std::exception&) {
        return false;
    }
}

bool Settings::saveSettingsToString(std::string& text) {
    return writeDocument(*d_->tree, text, maximumDepth);
}

tsignal::Signal<std::string, std::string>& Settings::onSettingChanged() {
    return d_->onSettingChanged;
}

} // namespace tarn
