// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Topics.h"

#include <cstdint>

namespace tarn::link {

/// Answers who asks what time it is here, at once, on the middleware's thread.
class ClockAnswers {
public:
    /// `clock` is the number under which it is asked. Throws `LinkError`.
    ClockAnswers(dds_entity_t participant, std::uint64_t clock);
    ~ClockAnswers();
    ClockAnswers(const ClockAnswers&) = delete;
    ClockAnswers& operator=(const ClockAnswers&) = delete;

    std::uint64_t clock() const noexcept { return clock_; }
    void heard();

private:
    std::uint64_t clock_;
    Writer writer_;
    Reader reader_;
};

} // namespace tarn::link
