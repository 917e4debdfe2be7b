// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "lookups/LiteralMaps.h"

#include <utility>

namespace tarn_benchmark {

struct LiteralMaps::PrivateData {
    std::map<int, Getter> getters;
    std::map<int, Setter> setters;
    std::map<int, Port> ports;
    std::map<std::string, std::any> userObjects;
};

LiteralMaps::LiteralMaps() : d_(std::make_unique<PrivateData>()) {}

LiteralMaps::~LiteralMaps() = default;

void LiteralMaps::addFactor(int id, const Getter& getter, const Setter& setter) {
    if (getter) {
        d_->getters[id] = getter;
    }
    if (setter) {
        d_->setters[id] = setter;
    }
}

std::any LiteralMaps::query(int id) const {
    const auto found = d_->getters.find(id);
    return found != d_->getters.end() ? found->second() : std::any();
}

bool LiteralMaps::set(int id, const std::any& value) {
    const auto found = d_->setters.find(id);
    if (found == d_->setters.end()) {
        return false;
    }
    found->second(value);
    return d_->getters.count(id) != 0;
}

bool LiteralMaps::isSettable(int id) const { return d_->setters.count(id) != 0; }

LiteralMaps::Port& LiteralMaps::port(int id) const { return d_->ports[id]; }

bool LiteralMaps::hasPort(int id) const { return d_->ports.count(id) != 0; }

bool LiteralMaps::mount(const std::string& key, const std::any& value) {
    return d_->userObjects.try_emplace(key, value).second;
}

std::any LiteralMaps::take(const std::string& key) {
    const auto found = d_->userObjects.find(key);
    if (found == d_->userObjects.end()) {
        return {};
    }
    std::any value = found->second;
    d_->userObjects.erase(found);
    return value;
}

bool LiteralMaps::has(const std::string& key) { return d_->userObjects.count(key) != 0; }

} // namespace tarn_benchmark
