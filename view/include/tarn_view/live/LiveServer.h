// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/session/Rate.h>
#include <tarn_view/Export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::view {

/// A body that a live page shows.
struct LivePerformer {
    std::string name;                    ///< any text
    std::shared_ptr<const kit::Rig> rig; ///< not null; its space says what lengths and axes mean
};

/// Markers that a live page shows.
struct LiveMarkers {
    std::string name;               ///< any text
    std::vector<std::string> names; ///< of the markers, in the order of frames
    double metresPerUnit = 1;       ///< of positions; greater than 0
    kit::UpAxis up = kit::UpAxis::Y;
};

/// What live pages show: all in one space.
struct LiveContent {
    std::string title; ///< any text
    std::vector<LivePerformer> performers;
    std::vector<LiveMarkers> markers;
    kit::Rate rate; ///< by which the page tells the time of a frame
};

/// Where to listen, and to how many.
struct LiveOptions {
    /// An IP address of this machine. The default can be reached from this machine alone; 0.0.0.0
    /// or :: from wherever the machine can be, by the numbers of its address. What is sent is not
    /// encrypted.
    std::string address = "127.0.0.1";
    std::uint16_t port = 0; ///< 0 for one that is free
    /// Pages that watch at once; further ones are refused.
    std::size_t mostPages = 8;
    /// Who says nothing for so long is cut off. Precondition: it is positive.
    std::chrono::milliseconds patience{10'000};
};

/// Serves a page over HTTP that shows a capture while it runs, and sends it frames over a
/// WebSocket.
///
/// Whoever shows frames never waits for a page: each page is sent the newest frame once it has
/// drawn those before, and what came in between is dropped, counted and stated on the page, as is
/// the time from `show` until a page has drawn the frame and that was heard of here.
///
/// Only who knows the token in `address()` is served, under a Host that is this server's own
/// address, and WebSockets only to a page of this server, by their Origin. Requests are at most
/// 8 KiB, 16 of them at once, and messages from pages at most 32 bytes; who says nothing for a
/// while is cut off.
///
/// Threads: it has one of its own, on which all traffic goes. Every member may be called from any
/// thread at any time; of content and frames it keeps copies and reads nothing else later.
class TARN_VIEW_EXPORT LiveServer {
public:
    /// Listens from now on. Throws `std::invalid_argument` if there is nothing to show, for a
    /// performer without a rig or joints, more than 65,535 joints or markers, or an address that is
    /// none, and `std::runtime_error` if it cannot listen there.
    explicit LiveServer(const LiveContent& content, const LiveOptions& options = {});
    /// Tells pages that the capture has ended; they keep showing the last frame. Waits for slow
    /// ones for at most a second.
    ~LiveServer();
    LiveServer(const LiveServer&) = delete;
    LiveServer& operator=(const LiveServer&) = delete;

    /// What to open in a browser: "http://127.0.0.1:8080/?token=" and 32 hexadecimal digits, other
    /// ones for every server.
    std::string address() const;
    std::uint16_t port() const;
    /// How many pages watch.
    std::size_t pages() const;

    /// Shows where a performer, by its index, is from now on. One whose segments are not those of
    /// the rig, or none, is not seen. Precondition: there is such a performer.
    void show(std::size_t performer, std::int64_t frame, const kit::BodyPose& body);
    /// The same of markers.
    void show(std::size_t markers, std::int64_t frame, const kit::MarkerFrame& frameOfMarkers);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d;
};

} // namespace tarn::view
