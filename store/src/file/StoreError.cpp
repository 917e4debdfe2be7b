// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/StoreError.h>

#include <tarn_kit/files/Text.h>

#include <utility>

namespace tarn::store {

StoreError::StoreError(std::filesystem::path file, StoreProblem problem, const std::string& reason)
    : std::runtime_error(kit::printable(file.string()) + ": " + reason), file_(std::move(file)),
      problem_(problem), reason_(reason) {}

StoreError::~StoreError() = default;

} // namespace tarn::store
