// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace tsignal::detail {

/// How `emit` takes an argument: not copied before it is known that somebody listens.
template <class Arg>
using Passed = std::conditional_t<std::is_class_v<Arg>, const Arg&, Arg>;

/// An argument of a running emission, on its way to the slots: each gets a copy of its own, or the
/// reference that it is.
template <class Arg>
class Argument {
public:
    explicit Argument(Arg& argument) : argument_(argument) {}
    Arg forNextSlot(bool /*isLast*/) { return argument_; }
    /// Ends the life of what the last call was given.
    void dropCopy() {}

private:
    Arg& argument_;
};

/// The last slot may have the emission's own string: nobody can tell.
template <class Char>
class Argument<std::basic_string<Char>> {
public:
    using Text = std::basic_string<Char>;

    explicit Argument(Text& argument) : argument_(argument) {}
    Text forNextSlot(bool isLast) { return isLast ? std::move(argument_) : argument_; }
    void dropCopy() {}

private:
    Text& argument_;
};

/// The holders of a shared pointer are counted, so there is a copy during each call. But when a
/// slot has left its copy alone, the next one may have it: nobody can tell.
template <class T>
class Argument<std::shared_ptr<T>> {
public:
    explicit Argument(std::shared_ptr<T>& argument) : argument_(argument), copy_(argument) {}
    std::shared_ptr<T>&& forNextSlot(bool /*isLast*/) {
        if (copy_ != argument_ || copy_.owner_before(argument_) || argument_.owner_before(copy_)) {
            copy_ = argument_;
        }
        return std::move(copy_);
    }
    void dropCopy() { copy_.reset(); }

private:
    std::shared_ptr<T>& argument_;
    std::shared_ptr<T> copy_;
};

/// How a connection takes an argument that is for it alone.
template <class Arg>
using Given = std::conditional_t<std::is_class_v<Arg>, Arg&&, Arg>;

} // namespace tsignal::detail
