// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dData.h"
#include "files/c3d/C3dSection.h"

#include <tarn_kit/files/C3d.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace tarn::kit {

/// The bytes of a file, and what was read from them: the writer keeps what is still the same.
class C3dSource {
public:
    C3dSource(std::shared_ptr<const char> bytes, std::uint64_t size, C3dSection section,
              const C3dData& data, C3dInfo info)
        : bytes_(std::move(bytes)), size_(size), section_(std::move(section)), data_(data),
          info_(std::move(info)) {}

    std::string_view bytes() const noexcept { return {bytes_.get(), size_}; }
    const C3dSection& section() const noexcept { return section_; }
    const C3dData& data() const noexcept { return data_; }
    const C3dInfo& info() const noexcept { return info_; }

private:
    std::shared_ptr<const char> bytes_;
    std::uint64_t size_;
    C3dSection section_;
    C3dData data_;
    C3dInfo info_;
};

} // namespace tarn::kit
