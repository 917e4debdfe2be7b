// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>
#include <tarn/Frame.h>
#include <tarn_view/live/LiveServer.h>
#include <tsignal/Signal.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// What --view and --view-address say.
struct LiveChoice {
    std::optional<std::uint16_t> port; ///< 0 for any; none where nothing is to be served
    std::string address = view::LiveOptions().address;
};

/// --view [PORT] and --view-address IP
void addLiveView(CLI::App& command, LiveChoice& choice);

/// What --view does: a page that shows what comes out of some ports while it streams. It never
/// holds them up.
class LiveView {
public:
    using Port = tsignal::Signal<std::shared_ptr<Frame>>;

    LiveView(LiveChoice choice, std::string title, kit::Rate rate);
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;
    /// Pages are told that this was all.
    ~LiveView();

    // Shows what a port, which lives longer, sends; before `start`. Frames that hold something else
    // are passed over.

    void addBodies(Port& port, const std::string& name, std::shared_ptr<const kit::Rig> rig);
    void addPoses(Port& port, const std::string& name, std::shared_ptr<const kit::Rig> rig);
    void addMarkers(Port& port, view::LiveMarkers markers);

    /// Listens, and returns what to open in a browser. Throws `std::runtime_error` if it cannot.
    std::string start();

private:
    using Show = std::function<void(view::LiveServer& server, const std::shared_ptr<Frame>& frame)>;

    void add(Port& port, Show show);

    const LiveChoice choice_;
    view::LiveContent content_;
    std::vector<std::pair<Port*, Show>> ports_;
    std::unique_ptr<view::LiveServer> server_;
    std::vector<tsignal::ScopedConnection> connections_; ///< go before the server
};

} // namespace tarn::capture
