// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"
#include "support/OwnDomain.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <utility>

namespace tarn::tests {

/// Programs that run at once, in a domain of this test's own, on the network of this machine.
class LinkedTest : public ::testing::Test {
protected:
    Arguments linked(Arguments arguments) const {
        arguments.insert(arguments.end(), {"--domain", domain_});
        return arguments;
    }
    std::future<Outcome> captureMeanwhile(Arguments arguments) const {
        return std::async(std::launch::async, capture, linked(std::move(arguments)));
    }

    const TempDirectory directory_;
    const std::string domain_ = std::to_string(ownDomain());
    const std::string walk_ = sampleTake("cmu_131_01_walk");
};

} // namespace tarn::tests
