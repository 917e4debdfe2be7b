// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "live/Guard.h"

#include <cstddef>
#include <random>
#include <utility>

namespace tarn::view {

namespace {

constexpr std::uint16_t portOfHttp = 80; ///< browsers leave it out

/// Takes as long wherever the difference is, so that its place cannot be measured.
bool isEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    unsigned differences = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        differences += a[i] == b[i] ? 0U : 1U;
    }
    return differences == 0;
}

} // namespace

std::string newToken() {
    constexpr std::string_view digits = "0123456789abcdef";
    constexpr int length = 32;
    std::random_device source; // the system's own, made for secrets
    std::uniform_int_distribution<std::size_t> digit(0, digits.size() - 1);
    std::string token;
    for (int i = 0; i < length; ++i) {
        token += digits[digit(source)];
    }
    return token;
}

Guard::Guard(std::string token, std::uint16_t port) : token_(std::move(token)), port_(port) {}

bool Guard::isHost(std::string_view host, const std::string& address, bool isLoopback) const {
    const auto names = [this, host](const std::string& name) {
        const std::string full = withPort(name, port_);
        return host == full || (port_ == portOfHttp && host == full.substr(0, full.rfind(':')));
    };
    return names(address) || (isLoopback && names("localhost"));
}

bool Guard::hasToken(std::string_view target) const {
    constexpr std::string_view key = "token=";
    const std::size_t query = target.find('?');
    std::string_view rest = query == std::string_view::npos ? "" : target.substr(query + 1);
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find('&'));
        if (part.substr(0, key.size()) == key) {
            return isEqual(part.substr(key.size()), token_);
        }
        rest.remove_prefix(part.size() == rest.size() ? part.size() : part.size() + 1);
    }
    return false;
}

bool isOriginOf(std::string_view origin, std::string_view host) {
    constexpr std::string_view scheme = "http://";
    return origin.substr(0, scheme.size()) == scheme && origin.substr(scheme.size()) == host;
}

std::string_view pathOf(std::string_view target) { return target.substr(0, target.find('?')); }

std::string withPort(const std::string& address, std::uint16_t port) {
    const bool isSix = address.find(':') != std::string::npos;
    return (isSix ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

} // namespace tarn::view
