// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Settings.h>

#include <gtest/gtest.h>

#include <string>

/// Settings documents as the tests write and read them.
namespace documents {

const char* const declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

/// The document of a store; it must be one that can be saved.
inline std::string documentOf(tarn::Settings& settings) {
    std::string text;
    EXPECT_TRUE(settings.saveSettingsToString(text));
    return text;
}

/// As above, without the first line.
inline std::string elementsOf(tarn::Settings& settings) {
    const std::string text = documentOf(settings);
    EXPECT_EQ(text.rfind(declaration, 0), 0U);
    return text.substr(std::string(declaration).size());
}

inline std::string repeated(const std::string& part, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += part;
    }
    return text;
}

/// `depth` elements inside each other, the innermost with the text "core".
inline std::string nested(int depth, const std::string& name = "a") {
    return repeated("<" + name + ">", depth) + "core" + repeated("</" + name + ">", depth);
}

/// "a.a.a", with `names` names.
inline std::string pathOf(int names) { return "a" + repeated(".a", names - 1); }

} // namespace documents
