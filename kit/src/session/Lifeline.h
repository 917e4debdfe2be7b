// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Object.h>

#include <functional>
#include <string>

namespace tarn::kit {

/// Tells when an object is destroyed, which the model itself does not: it keeps a user object on
/// it, and those go with their object while its links and signals are still whole.
class Lifeline {
public:
    /// `onEnd` is called at the end of the object's life, with what is left of it: an `Object`. It
    /// must not throw.
    Lifeline(Object& object, std::function<void(Object&)> onEnd);
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;
    /// Lets the object go unobserved, if it still lives.
    ~Lifeline();

    /// Whether the object still lives.
    explicit operator bool() const noexcept { return object_ != nullptr; }
    /// Precondition: it still lives.
    Object& object() const noexcept { return *object_; }

private:
    struct End;

    Object* object_;
    std::string key_;
    End* end_; ///< owned by the object, as a user object
};

} // namespace tarn::kit
