// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/BodyNamesDocument.h"

#include <fmt/format.h>
#include <tarn/Settings.h>
#include <tarn_kit/files/SettingsFile.h>

#include <stdexcept>

namespace tarn::capture {

std::shared_ptr<const kit::BodyNames> loadBodyNames(const std::optional<std::string>& document) {
    auto names = std::make_shared<kit::BodyNames>();
    if (!document) {
        return names;
    }
    Settings settings;
    kit::loadSettings(settings, *document);
    try {
        names->add(settings);
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(fmt::format("{}: {}", *document, error.what()));
    }
    return names;
}

} // namespace tarn::capture
