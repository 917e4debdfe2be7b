// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn::view {

/// 32 hexadecimal digits that nobody can guess.
std::string newToken();

/// Decides who is served. A page of another site could make its visitor's browser ask, under a name
/// of its own that it lets stand for this machine; it knows neither the token nor the address.
class Guard {
public:
    Guard(std::string token, std::uint16_t port);

    const std::string& token() const { return token_; }
    /// Whether a Host header names this server: the address that the request came to, or
    /// "localhost" where that is a loopback address.
    bool isHost(std::string_view host, const std::string& address, bool isLoopback) const;
    /// Whether a request's target has the token, as its query's part "token".
    bool hasToken(std::string_view target) const;

private:
    const std::string token_;
    const std::uint16_t port_;
};

/// Whether an Origin header is that of pages of this host.
bool isOriginOf(std::string_view origin, std::string_view host);

/// A target without its query.
std::string_view pathOf(std::string_view target);

/// "127.0.0.1:80" and "[::1]:80"
std::string withPort(const std::string& address, std::uint16_t port);

} // namespace tarn::view
