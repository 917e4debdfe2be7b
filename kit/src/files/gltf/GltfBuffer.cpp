// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/gltf/GltfBuffer.h"

#include <utility>

namespace tarn::kit {

int GltfBuffer::add(const std::vector<std::array<std::uint16_t, 4>>& joints) {
    Json accessor = addBytes(joints.data(), joints.size() * sizeof(joints[0]), Use::Vertices);
    accessor["componentType"] = 5123;
    accessor["count"] = joints.size();
    accessor["type"] = "VEC4";
    return addAccessor(std::move(accessor));
}

const char* GltfBuffer::typeOf(std::size_t size) {
    switch (size) {
    case 1:
        return "SCALAR";
    case 3:
        return "VEC3";
    case 4:
        return "VEC4";
    default:
        return "MAT4";
    }
}

// The kit runs on little-endian machines only; numbers go into the file as they are in memory.
Json GltfBuffer::addBytes(const void* data, std::size_t size, Use use) {
    bytes_.resize((bytes_.size() + 3) / 4 * 4, '\0');
    Json view = {{"buffer", 0}, {"byteOffset", bytes_.size()}, {"byteLength", size}};
    if (use != Use::Data) {
        view["target"] = static_cast<int>(use);
    }
    bytes_.append(static_cast<const char*>(data), size);
    views_.push_back(std::move(view));
    return {{"bufferView", views_.size() - 1}};
}

int GltfBuffer::addAccessor(Json accessor) {
    accessors_.push_back(std::move(accessor));
    return static_cast<int>(accessors_.size()) - 1;
}

} // namespace tarn::kit
