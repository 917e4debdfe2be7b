// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What a host does first: includes everything, links objects, hears a take move. Exits 0 when all
// of it works. With the kit it also reads a take, with the
// drawing library it draws a page.
#include <tarn/tarn.h>
#ifdef WITH_KIT
#include <tarn_kit/files/Bvh.h>

#include <sstream>
#endif
#ifdef WITH_DRAW
#include <tarn_draw/tarn_draw.h>
#endif
#ifdef WITH_STORE
#include <tarn_store/tarn_store.h>
#endif
#ifdef WITH_LINK
#include <tarn_link/tarn_link.h>
#endif
#ifdef WITH_VIEW
#include <tarn_view/tarn_view.h>

#include <sstream>
#endif

#include <iostream>

int main() {
    tarn::Object scene("scene");
    tarn::Object character("character");
    scene.addChild(&character);

    tarn::Tracks take;
    int heard = -1;
    take.onCurrentTimeChanged().connect([&heard](int index) { heard = index; });
    take.setFps(120);
    take.setCurrentTime(60);
    std::cout << scene.children().size() << " child, frame " << heard << " is "
              << tarn::to_string(take.getTime(heard)) << '\n';

#ifdef WITH_KIT
    std::istringstream file("HIERARCHY ROOT Hips\n{ OFFSET 0 0 0 CHANNELS 1 Yrotation }\n"
                            "MOTION Frames: 1 Frame Time: 0.01\n90\n");
    if (tarn::kit::readBvh(file).tracks->fps() != 100) {
        return 1;
    }
#endif
#ifdef WITH_DRAW
    const tarn::draw::Picture page = tarn::draw::poseSheet({});
    if (tarn::draw::renderPng(page).empty()) {
        return 1;
    }
#endif
#ifdef WITH_STORE
    try {
        const tarn::store::TakeReader reader("no such file");
        return 1;
    } catch (const tarn::store::StoreError&) { // as it should be
    }
#endif
#ifdef WITH_LINK
    try {
        const tarn::link::Link link({0, {"no such host"}, false});
        return 1;
    } catch (const tarn::link::LinkError&) { // as it should be
    }
#endif
#ifdef WITH_VIEW
    try {
        std::ostringstream html;
        tarn::view::writePage({}, html);
        return 1;
    } catch (const std::invalid_argument&) { // as it should be
    }
#endif
    return character.parent() == &scene && heard == 60 ? 0 : 1;
}
