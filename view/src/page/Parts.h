// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>

namespace tarn::view {

// The parts of every page, compiled in from view/page.

extern const std::string_view pageStyle;    ///< CSS
extern const std::string_view pageBody;     ///< HTML
extern const std::string_view pageScript;   ///< JavaScript, with all that it needs
extern const std::string_view pageLicences; ///< of the libraries in the script

} // namespace tarn::view
