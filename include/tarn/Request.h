// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>

#include <any>
#include <string>

namespace tarn {

/// One command for a communication interface: an identifier, and a payload where the command takes
/// one. Which identifiers there are, and what each takes, is up to the device; the library defines
/// none. A value: copies copy the payload.
class TARN_EXPORT Request {
public:
    /// Without `data`, a command without payload.
    explicit Request(const std::string& id, const std::any& data = std::any());
    Request(const Request& other);
    /// Takes identifier and payload; the other request's identifier is left empty.
    Request(Request&& other) noexcept;
    Request& operator=(const Request& other);
    /// Takes identifier and payload; the other request's identifier is left empty.
    Request& operator=(Request&& other) noexcept;
    ~Request();

    const std::string& id() const;
    /// Whether there is a payload.
    bool hasData() const;
    /// The payload; empty when the command was made without one.
    const std::any& data() const;
    /// The payload as a `T`. Throws `std::bad_any_cast` when it is of another type, or empty.
    template <class T>
    const T& dataAs() const {
        return std::any_cast<const T&>(data_);
    }

private:
    std::string id_;
    std::any data_;
};

} // namespace tarn
