// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gtest/gtest.h>
#include <tarn/Settings.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace tarn::tests {

/// Takes, and a directory for what a session makes of them.
class SessionTest : public ::testing::Test {
protected:
    Outcome run(Arguments takes, const Arguments& more = {}) const {
        takes.insert(takes.begin(), "run");
        takes.insert(takes.end(), {"--out", out_});
        takes.insert(takes.end(), more.begin(), more.end());
        return capture(takes);
    }
    /// A take of `count` frames at 25 per second.
    std::string writeTake(const std::string& name, int count) const {
        TakeText take;
        take.rootPositions.assign(static_cast<std::size_t>(count), "0 0 0");
        writeFile(directory_ / name, take.text());
        return directory_ / name;
    }
    std::string output(const std::string& name) const { return out_ + "/" + name; }
    std::vector<std::string> outputs() const {
        std::vector<std::string> names;
        for (const std::filesystem::directory_entry& entry :
             std::filesystem::directory_iterator(out_)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    /// A value of the session's document.
    std::string session(const std::string& key) const {
        Settings settings;
        EXPECT_TRUE(settings.loadSettingsFromFile(output("session.xml")));
        return settings.value(key, "(not there)");
    }

    const TempDirectory directory_;
    const std::string out_ = directory_ / "out";
};

} // namespace tarn::tests
