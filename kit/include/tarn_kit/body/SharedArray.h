// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cassert>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::kit {

/// Values that never change, shared by all copies: a copy costs a reference count, whatever it
/// holds, and copies may be read on different threads. Payloads that are large or come in great
/// numbers are made of it: a live source moves a vector in, a reader of files lets all frames of a
/// take point into one block.
template <class T>
class SharedArray {
public:
    /// No values.
    SharedArray() noexcept = default;
    explicit SharedArray(std::vector<T> values) : size_(values.size()) {
        const auto owner = std::make_shared<const std::vector<T>>(std::move(values));
        first_ = std::shared_ptr<const T>(owner, owner->data());
    }
    /// `size` values from `first` on, in a block that `first` keeps alive. Precondition: nobody
    /// changes them any more.
    SharedArray(std::shared_ptr<const T> first, std::size_t size) noexcept
        : first_(std::move(first)), size_(size) {}

    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    /// Precondition: `index` < `size()`.
    const T& operator[](std::size_t index) const noexcept {
        assert(index < size_);
        return first_.get()[index];
    }
    /// All values, one after the other; may be null when there are none.
    const T* data() const noexcept { return first_.get(); }
    const T* begin() const noexcept { return first_.get(); }
    const T* end() const noexcept { return first_.get() + size_; }
    /// A copy to change.
    std::vector<T> toVector() const { return std::vector<T>(begin(), end()); }

private:
    std::shared_ptr<const T> first_;
    std::size_t size_ = 0;
};

} // namespace tarn::kit
