// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "live/LiveView.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/files/Text.h>

#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

std::int64_t numberOf(const Frame& frame) {
    return static_cast<std::int64_t>(frame.time().frameIndex());
}

std::uint16_t parsePort(const std::string& text) {
    const auto port = kit::numberIn<std::uint16_t>(text);
    if (!port) {
        throw UsageError(fmt::format("--view '{}': expected a port, from 0 to 65535", text));
    }
    return *port;
}

} // namespace

void addLiveView(CLI::App& command, LiveChoice& choice) {
    CLI::Option* const port =
        command
            .add_option_function<std::string>(
                "--view", [&choice](const std::string& text) { choice.port = parsePort(text); },
                "Serve a page that shows what streams, and print its address; if no PORT is given, "
                "at one that is free")
            ->type_name("PORT")
            ->expected(0, 1)
            ->default_str("0");
    command
        .add_option("--view-address", choice.address,
                    "The IP address of this machine to serve the page at; if not given, "
                    "127.0.0.1, which others cannot reach; 0.0.0.0 for all")
        ->type_name("IP")
        ->needs(port);
}

LiveView::LiveView(LiveChoice choice, std::string title, kit::Rate rate)
    : choice_(std::move(choice)) {
    content_.title = std::move(title);
    content_.rate = rate;
}

LiveView::~LiveView() {
    connections_.clear(); // from here on nobody shows anything
}

void LiveView::add(Port& port, Show show) { ports_.emplace_back(&port, std::move(show)); }

void LiveView::addBodies(Port& port, const std::string& name, std::shared_ptr<const kit::Rig> rig) {
    add(port, [index = content_.performers.size()](view::LiveServer& server, const auto& frame) {
        if (const auto* const body = kit::payloadIf<kit::BodyPose>(frame)) {
            server.show(index, numberOf(*frame), *body);
        }
    });
    content_.performers.push_back({name, std::move(rig)});
}

void LiveView::addPoses(Port& port, const std::string& name, std::shared_ptr<const kit::Rig> rig) {
    add(port,
        [rig, index = content_.performers.size()](view::LiveServer& server, const auto& frame) {
            const auto* const pose = kit::payloadIf<kit::Pose>(frame);
            if (pose != nullptr && pose->values.size() == rig->valueCount()) {
                server.show(index, numberOf(*frame), kit::worldPose(*rig, *pose));
            }
        });
    content_.performers.push_back({name, std::move(rig)});
}

void LiveView::addMarkers(Port& port, view::LiveMarkers markers) {
    add(port, [index = content_.markers.size()](view::LiveServer& server, const auto& frame) {
        if (const auto* const seen = kit::payloadIf<kit::MarkerFrame>(frame)) {
            server.show(index, numberOf(*frame), *seen);
        }
    });
    content_.markers.push_back(std::move(markers));
}

std::string LiveView::start() {
    view::LiveOptions options;
    options.address = choice_.address;
    options.port = choice_.port.value_or(0);
    try {
        server_ = std::make_unique<view::LiveServer>(content_, options);
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("--view: {}", error.what()));
    }
    for (const auto& [port, show] : ports_) {
        connections_.emplace_back(port->connect(
            [this, show = show](const std::shared_ptr<Frame>& frame) { show(*server_, frame); }));
    }
    return server_->address();
}

} // namespace tarn::capture
