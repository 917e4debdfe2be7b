// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Request.h>

#include <utility>

namespace tarn {

Request::Request(const std::string& id, const std::any& data) : id_(id), data_(data) {}

Request::Request(const Request& other) = default;

// A moved-from string may hold anything; what is promised is an empty identifier.
Request::Request(Request&& other) noexcept
    : id_(std::exchange(other.id_, std::string())), data_(std::move(other.data_)) {}

Request& Request::operator=(const Request& other) = default;

Request& Request::operator=(Request&& other) noexcept {
    if (this != &other) {
        id_ = std::exchange(other.id_, std::string());
        data_ = std::move(other.data_);
    }
    return *this;
}

Request::~Request() = default;

const std::string& Request::id() const { return id_; }

bool Request::hasData() const { return data_.has_value(); }

const std::any& Request::data() const { return data_; }

} // namespace tarn
