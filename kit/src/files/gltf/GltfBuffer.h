// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tarn::kit {

using Json = nlohmann::ordered_json;

/// The numbers of a glTF file, and the accessors by which its other parts name them. Little-endian,
/// each accessor in a view of its own that starts at a multiple of four bytes.
class GltfBuffer {
public:
    /// What a view is for, where glTF wants to know.
    enum class Use : int { Data = 0, Vertices = 34962 };

    /// Vectors of `Size` numbers, or single ones. `withBounds` states the least and greatest of
    /// each component, as some uses demand. Returns the number of the accessor.
    template <std::size_t Size>
    int add(const std::vector<std::array<float, Size>>& values, Use use = Use::Data,
            bool withBounds = false) {
        Json accessor = addBytes(values.data(), values.size() * sizeof(values[0]), use);
        accessor["componentType"] = 5126;
        accessor["count"] = values.size();
        accessor["type"] = typeOf(Size);
        if (withBounds) {
            for (std::size_t i = 0; i < Size; ++i) {
                float low = values.at(0)[i];
                float high = low;
                for (const auto& value : values) {
                    low = value[i] < low ? value[i] : low;
                    high = value[i] > high ? value[i] : high;
                }
                accessor["min"].push_back(static_cast<double>(low));
                accessor["max"].push_back(static_cast<double>(high));
            }
        }
        return addAccessor(std::move(accessor));
    }
    /// Four joint numbers per vertex.
    int add(const std::vector<std::array<std::uint16_t, 4>>& joints);

    const std::string& bytes() const { return bytes_; }
    const Json& views() const { return views_; }
    const Json& accessors() const { return accessors_; }

private:
    static const char* typeOf(std::size_t size);
    Json addBytes(const void* data, std::size_t size, Use use);
    int addAccessor(Json accessor);

    std::string bytes_;
    Json views_ = Json::array();
    Json accessors_ = Json::array();
};

} // namespace tarn::kit
