// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/PageHead.h"

namespace tarn::draw {

void drawPageHead(Canvas& canvas, Point corner, const std::string& title,
                  const std::string& facts) {
    constexpr Font titleFont{42, true};
    constexpr Font factsFont{22};
    canvas.text({corner.x, corner.y + titleFont.size},
                canvas.fitted(title, titleFont, page::contentWidth), titleFont, Align::left,
                colours::ink);
    canvas.text({corner.x, corner.y + 86}, facts, factsFont, Align::left, colours::note);
}

} // namespace tarn::draw
